// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CliFixture.h"
#include "ForeignFile.h"

#include <VELMOImage/ImageGeometry.h>
#include <VELMOImageFile/PixelTypeNames.h>
#include <VELMOImageFile/TiffImageFileUtils.h>
#include <cmath>
#include <fstream>
#include <nlohmann/json.hpp>
#include <regex>
#include <set>

namespace velmo::test {

using nlohmann::json;

namespace {

boost::filesystem::path getImportFolder() {
    return getForeignFolder().parent_path() / "import";
}

/// What every import has to give, by the name of the file and its options.
json readExpected() {
    std::ifstream stream((getImportFolder() / "expected.json").string());
    return json::parse(stream);
}

class ImportTable : public CliTest {
  protected:
    Arguments toArguments(json const& entry) const {
        Arguments const options = entry.at("options");
        std::string const file = (getImportFolder() / entry.at("file").get<std::string>()).string();
        return Arguments{"import", file, path("out.tif"), "--overwrite", "--json"} + options;
    }

    void expectImported(json const& entry) const {
        ToolResult const result = runTool(toArguments(entry));
        ASSERT_EQ(0, result.status) << result.err;
        EXPECT_EQ("", result.err);
        json const report = json::parse(result.out);
        expectReport(report, entry);
        expectImage(*image::file::openTiffImageFile(path("out.tif"), image::file::TiffReadOptions()), entry);
    }

    void expectReport(json const& report, json const& entry) const {
        EXPECT_TRUE(report.at("error").is_null());
        for (char const* const key :
             {"sizeX", "sizeY", "sizeZ", "sizeC", "sizeT", "pixelType", "color", "minIsBlack"}) {
            EXPECT_EQ(report.at(key), entry.at(key)) << key;
        }
        expectCalibration(report.at("calibration"), entry.at("calibration"));
        std::vector<std::string> kinds;
        for (json const& change : report.at("changes")) {
            kinds.push_back(change.at("kind"));
            if (entry.contains("greatestError") && kinds.back() == "rounding") {
                std::string const text = change.at("text");
                std::string const announced = "greatest error: ";
                double const error = std::stod(text.substr(text.find(announced) + announced.size()));
                EXPECT_DOUBLE_EQ(error, entry.at("greatestError").get<double>());
            }
        }
        std::sort(kinds.begin(), kinds.end());
        EXPECT_EQ(json(kinds), entry.at("changes")) << report.at("changes");
    }

    static void expectCalibration(json const& found, json const& expected) {
        ASSERT_EQ(found.is_null(), expected.is_null()) << found << expected;
        if (found.is_null()) {
            return;
        }
        EXPECT_EQ(found.at("unit"), expected.at("unit"));
        for (char const* const axis : {"x", "y", "z"}) {
            ASSERT_EQ(found.at(axis).is_null(), expected.at(axis).is_null()) << axis << found;
            if (!found.at(axis).is_null()) {
                double const value = expected.at(axis);
                EXPECT_NEAR(found.at(axis).get<double>(), value, value * 1e-6) << axis;
            }
        }
    }

    static void expectImage(image::BaseImage const& image, json const& entry) {
        image::BaseImageGeometry const& geometry = image.getGeometry();
        ASSERT_EQ(geometry.getSizeZ(), entry.at("sizeZ"));
        ASSERT_EQ(geometry.getSizeC(), entry.at("sizeC"));
        ASSERT_EQ(geometry.getSizeT(), entry.at("sizeT"));
        ASSERT_EQ(image::file::getPixelTypeName(geometry.getBufferType()), entry.at("pixelType"));
        for (vlUInt64 number = 0; number < geometry.getNbPlans(); ++number) {
            SCOPED_TRACE("plane " + std::to_string(number));
            std::string bytes(geometry.getPlanMemorySize(0), '\x55');
            BoolResult const result = image.readPixels(geometry.getPlanIndexes(number), 0,
                                                       geometry.getPlanNbPixels(), bytes.data());
            ASSERT_TRUE(result) << result.getMessage();
            if (entry.contains("tolerance")) {
                expectNear(bytes, entry.at("pixels").at(number), entry.at("tolerance"));
            } else {
                std::uint32_t const crc = static_cast<std::uint32_t>(
                    std::stoul(entry.at("planes").at(number).get<std::string>(), nullptr, 16));
                EXPECT_EQ(getCrc(bytes), crc);
            }
        }
    }

    /// Of pixels of 8 bits.
    static void expectNear(std::string const& bytes, json const& expected, int tolerance) {
        ASSERT_EQ(bytes.size(), expected.size());
        int greatest = 0;
        for (std::size_t pixel = 0; pixel < bytes.size(); ++pixel) {
            int const difference = static_cast<unsigned char>(bytes[pixel]) - expected.at(pixel).get<int>();
            greatest = std::max(greatest, std::abs(difference));
        }
        EXPECT_LE(greatest, tolerance);
    }
};

} // namespace

TEST_F(ImportTable, EachKindOpensAsOtherReadersSeeItWithAllChangesReportedOrIsRefusedByName) {
    json const expected = readExpected();
    ASSERT_FALSE(expected.empty());
    for (auto const& [name, entry] : expected.items()) {
        SCOPED_TRACE(name + ": " + entry.at("shows").get<std::string>());
        if (!entry.contains("refused")) {
            expectImported(entry);
            boost::filesystem::remove(_folder / "out.tif");
            continue;
        }
        ToolResult const result = runTool(toArguments(entry));
        expectFailure(result, 1, entry.at("refused").get<std::string>());
        EXPECT_THAT(list(), testing::IsEmpty()) << "a refused import leaves no file";
        EXPECT_FALSE(json::parse(result.out).at("error").is_null());
    }
}

TEST_F(ImportTable, ThePageHasTheSameKinds) {
    std::set<std::string> inTable = {"many-pages"}; // a file of them would be large: ImportTest.cpp makes one
    json const expected = readExpected();
    for (auto const& [name, entry] : expected.items()) {
        inTable.insert(entry.at("kind"));
    }
    boost::filesystem::path const root = getForeignFolder().parent_path().parent_path().parent_path();
    std::string const page = readFile(root / "docs/formats/import.md");
    std::size_t const start = page.find("## Kinds");
    std::string const kinds = page.substr(start, page.find("## Axes") - start);
    std::set<std::string> onPage;
    std::regex const row("\\n\\| `([a-z0-9-]+)` \\|");
    for (std::sregex_iterator found(kinds.begin(), kinds.end(), row), end; found != end; ++found) {
        onPage.insert((*found)[1]);
    }
    EXPECT_EQ(inTable, onPage);
    EXPECT_GE(onPage.size(), 38U);
}

TEST_F(ImportTable, EveryFileOfTheFolderIsInIt) {
    std::set<std::string> inTable;
    json const expected = readExpected();
    for (auto const& [name, entry] : expected.items()) {
        inTable.insert(entry.at("file"));
    }
    std::set<std::string> inFolder;
    for (auto const& file : boost::filesystem::directory_iterator(getImportFolder())) {
        if (file.path().extension() == ".tif") {
            inFolder.insert(file.path().filename().string());
        }
    }
    EXPECT_EQ(inTable, inFolder);
}

} // namespace velmo::test
