// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CliFixture.h"

#include <boost/crc.hpp>
#include <iomanip>
#include <nlohmann/json.hpp>
#include <sstream>

namespace velmo {
namespace test {

using nlohmann::json;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

boost::filesystem::path const g_folder = VELMO_FOREIGN_TIFFS;

json readExpectations() {
    return json::parse(readFile(g_folder / "expected.json"));
}

std::string getCrc(std::string const& bytes) {
    boost::crc_32_type crc;
    crc.process_bytes(bytes.data(), bytes.size());
    std::ostringstream text;
    text << std::hex << std::setw(8) << std::setfill('0') << crc.checksum();
    return text.str();
}

/// Checksums of the planes that lie one behind the other.
std::vector<std::string> getCrcs(std::string const& bytes, std::size_t nbPlanes) {
    std::vector<std::string> crcs;
    for (std::size_t plane = 0; plane < nbPlanes; ++plane) {
        std::size_t const size = bytes.size() / nbPlanes;
        crcs.push_back(getCrc(bytes.substr(plane * size, size)));
    }
    return crcs;
}

class ForeignTiff : public CliTest {
  protected:
    ToolResult convert(std::string const& name) const {
        return runTool({"convert", (g_folder / name).string(), path("out.raw"), "--overwrite"});
    }
};

} // namespace

TEST_F(ForeignTiff, InfoTellsOfEachFileWhatItsMakerPutIn) {
    json const expectations = readExpectations();
    Arguments arguments = {"info", "--json"};
    for (auto const& item : expectations.items()) {
        arguments.push_back((g_folder / item.key()).string());
    }
    ToolResult const result = runTool(arguments);
    json const files = json::parse(result.out).at("files");
    ASSERT_EQ(expectations.size(), files.size());
    std::size_t index = 0;
    for (auto const& [name, expected] : expectations.items()) {
        SCOPED_TRACE(name);
        json const& entry = files.at(index++);
        if (!expected.at("opens").get<bool>()) {
            ASSERT_TRUE(entry.at("error").is_string());
            EXPECT_THAT(entry.at("error").get<std::string>(),
                        StartsWith(expected.at("message").get<std::string>()));
            continue;
        }
        EXPECT_EQ(json(nullptr), entry.at("error"));
        for (char const* const key :
             {"sizeX", "sizeY", "sizeZ", "sizeC", "sizeT", "colorGeometry", "minIsBlack"}) {
            EXPECT_EQ(expected.at(key), entry.at(key)) << key;
        }
        char const* const type = expected.count("bufferTypes") != 0 ? "bufferTypes" : "bufferType";
        EXPECT_EQ(expected.at(type), entry.at(type));
    }
}

TEST_F(ForeignTiff, ConversionGivesThePixelsThatTheMakersReadInThem) {
    json const expectations = readExpectations();
    std::size_t nbCompared = 0;
    for (auto const& [name, expected] : expectations.items()) {
        SCOPED_TRACE(name);
        ToolResult const result = convert(name);
        if (expected.value("loads", expected.at("opens").get<bool>()) && !expected.count("bufferTypes")) {
            ASSERT_EQ(0, result.status) << result.err;
            std::vector<std::string> const planes = expected.at("planes");
            EXPECT_EQ(planes, getCrcs(read("out.raw"), planes.size()));
            ++nbCompared;
        } else if (!expected.at("opens").get<bool>()) {
            EXPECT_EQ(1, result.status);
            EXPECT_THAT(result.err, HasSubstr(expected.at("message").get<std::string>()));
        } else if (expected.count("message") != 0) {
            EXPECT_THAT(result.err, testing::AnyOf(HasSubstr("Failed to read "), HasSubstr(": warning: ")));
        }
    }
    EXPECT_GT(nbCompared, 100U);
}

} // namespace test
} // namespace velmo
