// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CliFixture.h"

#include <boost/crc.hpp>
#include <iomanip>
#include <nlohmann/json.hpp>
#include <sstream>

namespace velmo::test {

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

/// What calls with options give, where they differ from the plain ones: all planes that the file holds, in
/// native order, and a bilevel image where BitsPerSample is left out.
json readTrueExpectations() {
    json expectations = readExpectations();
    for (auto const& item : expectations.items()) {
        json& expected = item.value();
        if (expected.count("checkedPlanes") != 0) {
            expected["planes"] = expected.at("checkedPlanes");
            expected["sizeZ"] = expected.at("planes").size() / expected.at("sizeC").get<std::size_t>();
            expected.erase("loads");
        }
    }
    expectations.at("tf-bilevel-without-bits.tif") = expectations.at("lt-bilevel-37.tif");
    return expectations;
}

/// Whose pixels come out of every command as the file's maker shows them. They are big-endian stacks of
/// ImageJ's kind, with a directory for each plane or with a single one.
char const* const g_bigEndianStacks[] = {"ij-stack-16-bit.tif", "tf-imagej-single-u2-be.tif",
                                         "tf-imagej-single-f4-be.tif", "tf-imagej-stack-u2-be.tif"};

class ForeignTiff : public CliTest {
  protected:
    ToolResult convert(std::string const& name) const {
        return runTool({"convert", (g_folder / name).string(), path("out.raw"), "--overwrite"});
    }
};

} // namespace

TEST_F(ForeignTiff, InfoTellsOfEachFileWhatItsMakerPutIn) {
    json const expectations = readTrueExpectations();
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
                        StartsWith("Error while loading tiff image file \"" + (g_folder / name).string() +
                                   "\"\n" + expected.at("message").get<std::string>()));
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
    json const expectations = readTrueExpectations();
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
            EXPECT_EQ(1, result.status);
            EXPECT_THAT(result.err, HasSubstr("Failed to read "));
        }
    }
    EXPECT_GT(nbCompared, 100U);
}

TEST_F(ForeignTiff, TheCheckFailsWhereAConversionDoes) {
    json const expectations = readTrueExpectations();
    for (auto const& item : expectations.items()) {
        SCOPED_TRACE(item.key());
        ToolResult const checked = runTool({"info", "--check", (g_folder / item.key()).string()});
        EXPECT_EQ(convert(item.key()).status, checked.status) << checked.err;
    }
}

TEST_F(ForeignTiff, BigEndianStacksGiveNumbersOfThisMachineInEveryCommand) {
    json const expectations = readTrueExpectations();
    for (char const* const name : g_bigEndianStacks) {
        SCOPED_TRACE(name);
        std::vector<std::string> const planes = expectations.at(name).at("planes");
        ToolResult const checked = runTool({"info", "--json", "--check", (g_folder / name).string()});
        expectDone(checked);
        EXPECT_EQ(json::array(), json::parse(checked.out).at("files").at(0).at("warnings"));
        expectDone(convert(name));
        std::string const pixels = read("out.raw");
        EXPECT_EQ(planes, getCrcs(pixels, planes.size()));

        boost::filesystem::create_directories(_folder / name);
        boost::filesystem::copy_file(g_folder / name, _folder / name / "a1.tif");
        boost::filesystem::copy_file(g_folder / name, _folder / name / "a2.tif");
        expectDone(runTool({"stack", path(name), "a<INDEX>.tif", path("out.raw"), "--overwrite"}));
        EXPECT_EQ(pixels + pixels, read("out.raw"));
        expectDone(runTool({"stack", path(name), "a1.tif", path("out.raw"), "--overwrite"}));
        EXPECT_EQ(pixels, read("out.raw"));
    }
}

TEST_F(ForeignTiff, PicturesOfBigEndianStacksAreThoseOfTheirPixels) {
    json const expectations = readExpectations();
    for (char const* const name : g_bigEndianStacks) {
        SCOPED_TRACE(name);
        expectDone(convert(name));
        json const& expected = expectations.at(name);
        std::string const size = "37,17," + std::to_string(expected.at("sizeZ").get<int>());
        std::string const type = expected.at("bufferType") == "eIBT_Real32" ? "real32" : "uint16";
        Arguments const options = {path("out.png"), "--montage", "--overwrite"};
        expectDone(runTool(Arguments{"preview", (g_folder / name).string()} + options));
        std::string const picture = read("out.png");
        expectDone(runTool(Arguments{"preview", path("out.raw")} + options + raw(size, type)));
        EXPECT_TRUE(picture == read("out.png"));
    }
}

} // namespace velmo::test
