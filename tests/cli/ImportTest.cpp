// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CliFixture.h"
#include "ForeignFile.h"
#include "InfoEntries.h"
#include "Sanitizers.h"
#include "TiffSample.h"

#include <VELMOImage/ImageGeometry.h>
#include <VELMOImage/PixelAccess.h>
#include <VELMOImageFile/TiffImageFileUtils.h>
#include <regex>
#include <tiffio.h>

namespace velmo::test {

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

std::string getImportSample(std::string const& name) {
    return (getForeignFolder().parent_path() / "import" / name).string();
}

/// Appends the bytes of a number in little-endian order.
void append(std::string& bytes, std::uint32_t value, int nbBytes) {
    for (int byte = 0; byte < nbBytes; ++byte) {
        bytes += static_cast<char>(value >> (8 * byte) & 0xffU);
    }
}

/// An ImageJ stack of 2 x 1 pixels in one directory. Plane p has the values p and p + 1, modulo 256.
std::string makeStack(std::uint32_t nbPlanes, std::string const& axes) {
    std::string const description =
        "ImageJ=1.53t\nimages=" + std::to_string(nbPlanes) + '\n' + axes + std::string(1, '\0');
    struct Tag {
        std::uint32_t code, type, count, value;
    };
    std::uint32_t const nbTags = 9;
    std::uint32_t const afterDirectory = 8 + 2 + nbTags * 12 + 4;
    auto const length = static_cast<std::uint32_t>(description.size());
    Tag const tags[nbTags] = {{256, 4, 1, 2},
                              {257, 4, 1, 1},
                              {258, 4, 1, 8},
                              {259, 4, 1, 1},
                              {262, 4, 1, 1},
                              {270, 2, length, afterDirectory},
                              {273, 4, 1, afterDirectory + length},
                              {278, 4, 1, 1},
                              {279, 4, 1, 2}};
    std::string bytes = "II*";
    append(bytes, 0, 1);
    append(bytes, 8, 4);
    append(bytes, nbTags, 2);
    for (Tag const& tag : tags) {
        append(bytes, tag.code, 2);
        append(bytes, tag.type, 2);
        append(bytes, tag.count, 4);
        append(bytes, tag.value, 4);
    }
    append(bytes, 0, 4);
    bytes += description;
    for (std::uint32_t plane = 0; plane < nbPlanes; ++plane) {
        append(bytes, plane & 0xffU, 1);
        append(bytes, (plane + 1) & 0xffU, 1);
    }
    return bytes;
}

class Import : public CliTest {
  protected:
    ToolResult import(std::string const& file, Arguments const& options = {}) const {
        return runTool(Arguments{"import", file, path("out.tif")} + options);
    }
};

} // namespace

TEST_F(Import, PrintsTheOutputAndALineForEachChange) {
    ToolResult const result = import(getImportSample("tf-float16-all-be.tif"));
    expectDone(result);
    EXPECT_THAT(result.out,
                hasWords(" -> " + path("out.tif") + '\n', "  pixels      real32\n",
                         "  change      tiles of 256 x 16", "  change      float16 became real32"));
    EXPECT_THAT(list(), ElementsAre("out.tif"));
}

TEST_F(Import, KeepsAnExistingFileUnlessItIsToBeReplaced) {
    create("out.tif", "old");
    expectFailure(import(getImportSample("tf-rgba.tif")), 1, "--overwrite");
    EXPECT_EQ("old", read("out.tif"));
    expectFailure(import(getImportSample("tf-u8-large.tif"), {"--overwrite"}), 1, "4294967296");
    EXPECT_EQ("old", read("out.tif"));
    expectDone(import(getImportSample("tf-rgba.tif"), {"--overwrite"}));
    EXPECT_NE("old", read("out.tif"));
    EXPECT_THAT(list(), ElementsAre("out.tif"));
}

TEST_F(Import, DoesNotReplaceItsInputOrAFileOfItsSet) {
    for (int index = 0; index < 4; ++index) {
        std::string const name = "tf-set-" + std::to_string(index) + ".ome.tif";
        create(name, readFile(getImportSample(name)));
    }
    std::string const first = path("tf-set-0.ome.tif");
    expectFailure(runTool({"import", first, first, "--overwrite"}), 1, "it is the input");
    expectFailure(runTool({"import", first, path("tf-set-3.ome.tif"), "--overwrite"}), 1, "it is the input");
    EXPECT_EQ(readFile(getImportSample("tf-set-3.ome.tif")), read("tf-set-3.ome.tif"));
}

TEST_F(Import, WritesRawFilesAndCompressedOnes) {
    std::string const file = getImportSample("tf-planar-le.tif");
    expectDone(runTool({"import", file, path("a.raw")}));
    expectDone(import(file, {"--compression", "deflate"}));
    expectDone(runTool({"convert", path("out.tif"), path("b.raw")}));
    EXPECT_EQ(37U * 17 * 2 * 3, read("a.raw").size());
    EXPECT_EQ(read("a.raw"), read("b.raw"));
}

TEST_F(Import, CopiesAFileOfThisLibraryAsItIs) {
    expectDone(import(getImportSample("tf-ome-le.ome.tif")));
    expectDone(runTool({"import", path("out.tif"), path("copy.tif")}));
    json const copy = describe({path("copy.tif")});
    EXPECT_EQ(2, copy.at("sizeC"));
    EXPECT_EQ(2, copy.at("sizeT"));
    expectFailure(runTool({"import", path("out.tif"), path("other.tif"), "--series", "0"}), 1,
                  "written by this library");
}

TEST_F(Import, ListsTheSeriesOfAFileAsTextAndAsJson) {
    std::string const file = getImportSample("tf-two-series.tif");
    expectFailure(import(file), 1, "2 series", "--series N",
                  "series 0: 37 x 17, uint8, grey; 2 pages: directories 0-1",
                  "series 1: 20 x 9, uint16, grey; 1 page: directory 2");
    json const report = json::parse(import(file, {"--json"}).out);
    ASSERT_EQ(2U, report.at("series").size());
    EXPECT_EQ(json({0, 1}), report.at("series").at(0).at("directories"));
    EXPECT_TRUE(report.at("sizeX").is_null());
}

TEST_F(Import, DividesMorePlanesThanAFileHoldsIntoFilesThatStackJoins) {
    constexpr std::uint32_t nbPlanes = 40000;
    std::string const file = create("many.tif", makeStack(nbPlanes, "slices=40000\n"));
    ToolResult const result = import(file);
    expectDone(result);
    std::smatch line;
    std::regex const pattern("velmo-image (stack .* )'(.*)' OUTPUT.raw\n");
    ASSERT_TRUE(std::regex_search(result.out, line, pattern)) << result.out;
    EXPECT_THAT(list(), ElementsAre("many.tif", "out-0.tif", "out-1.tif"));
    expectDone(runTool({"stack", _folder.getPath().string(), line[2], path("all.raw")}));
    std::string const whole = read("many.tif");
    EXPECT_TRUE(read("all.raw") == whole.substr(whole.size() - nbPlanes * 2));
}

TEST_F(Import, DividesTimeStepsAlongTAndKeepsAllFilesOrNone) {
    std::string const file = create("many.tif", makeStack(33000, "slices=3\nframes=11000\n"));
    create("out-1.tif", "old");
    expectFailure(import(file), 1, "out-1.tif", "already exists");
    EXPECT_THAT(list(), ElementsAre("many.tif", "out-1.tif"));
    json const report = json::parse(import(file, {"--overwrite", "--json"}).out);
    EXPECT_EQ(json({path("out-0.tif"), path("out-1.tif")}), report.at("outputs"));
    EXPECT_EQ(10922, describe({path("out-0.tif")}).at("sizeT"));
    EXPECT_EQ(78, describe({path("out-1.tif")}).at("sizeT"));
    EXPECT_EQ(3, describe({path("out-1.tif")}).at("sizeZ"));
}

TEST_F(Import, RejectsValuesOfOptionsThatDoNotFit) {
    std::string const file = getImportSample("tf-imagej-u1-le.tif");
    for (Arguments const& options : {Arguments{"--page", "3:1"},
                                     {"--page", "a"},
                                     {"--axes", "czz=1,2,3"},
                                     {"--axes", "q"},
                                     {"--axes", "cz"},
                                     {"--axes", "c=0"},
                                     {"--axes", "c=2,3"},
                                     {"--palette", "red"},
                                     {"--series", "-1"}}) {
        expectFailure(import(file, options), 2, options.front());
    }
    expectFailure(import(file, {"--axes", "cz=5"}), 1, "--axes", "12 pages");
    EXPECT_THAT(list(), testing::IsEmpty());
}

TEST_F(Import, RejectsWhatIsNoTiffFile) {
    expectFailure(import(path("missing.tif")), 1, "missing.tif", "No such file");
    expectFailure(import(create("text.tif", "no TIFF file")), 1, "text.tif", "TIFF");
    expectFailure(import(_folder.getPath().string()), 1, "Is a directory");
}

TEST_F(Import, LeavesNothingOfATruncatedFile) {
    std::string const whole = readFile(getImportSample("tf-tiled-u2-deflate-be.tif"));
    for (std::size_t size = 0; size < whole.size(); size += 97) {
        std::string const file = create("cut.tif", whole.substr(0, size));
        expectFailure(import(file), 1, "cut.tif");
        EXPECT_THAT(list(), ElementsAre("cut.tif")) << size;
    }
}

TEST_F(Import, HoldsAtMostTwoPlanes) {
    if (g_bSanitized) {
        GTEST_SKIP() << "a sanitizer holds more memory than the tool";
    }
    TiffPage page;
    page.sizeX = 4096;
    page.sizeY = 4096;
    page.bits = 16;
    page.tileSize = 256;
    for (int const compression : {COMPRESSION_NONE, COMPRESSION_ADOBE_DEFLATE}) {
        page.compression = static_cast<std::uint16_t>(compression);
        writeTiff(_folder / "in.tif", {page, page, page, page});
        ToolResult const result = import(path("in.tif"), {"--overwrite"});
        expectDone(result);
        constexpr long planeKiB = 32 * 1024;
        constexpr long ofTheProgram = 28 * 1024;
        EXPECT_LT(result.maxRss, 2 * planeKiB + ofTheProgram);
    }
}

// The suggestion to import

TEST_F(Import, InfoSaysThatAFileIsTiledOrFlattenedWithoutBeingAskedToCheck) {
    std::string const tiled = getImportSample("tf-tiled-u1-le.tif");
    json const warnings = describe({tiled}).at("warnings");
    ASSERT_EQ(1U, warnings.size());
    EXPECT_THAT(warnings.at(0).get<std::string>(),
                hasWords("1 of 1 directories are tiled", "velmo-image import " + tiled));
    std::string const flat = getImportSample("tf-imagej-u2-be.tif");
    EXPECT_THAT(describe({flat}).at("warnings").at(0).get<std::string>(),
                hasWords("Z 3, C 2, T 2", "velmo-image import " + flat));
    std::string const ome = getImportSample("tf-ome-le.ome.tif");
    json const ofOme = describe({ome}).at("warnings");
    ASSERT_EQ(1U, ofOme.size());
    EXPECT_THAT(ofOme.at(0).get<std::string>(),
                hasWords("describes the axes Z", "velmo-image import " + ome));
    EXPECT_EQ(json::array(), describe({getImportSample("pil-u2.tif")}).at("warnings"));
}

namespace {

/// The import command at the end of a message, with `output` in the place of the suggested output.
Arguments findSuggestion(std::string const& message, std::string const& output) {
    std::size_t const start = message.rfind("velmo-image import ");
    if (start == std::string::npos) {
        return {};
    }
    Arguments words;
    std::istringstream stream(message.substr(start));
    for (std::string word; stream >> word;) {
        words.push_back(word);
    }
    words.erase(words.begin());
    words.at(2) = output;
    return words;
}

} // namespace

TEST_F(Import, RefusalsOfOtherCommandsEndWithTheLineThatImportsTheFile) {
    for (char const* const name :
         {"tf-tiled-f4-le.tif", "tf-planar-be.tif", "gdal-12-bit-le.tif", "pil-cmyk.tif", "tf-float64-le.tif",
          "tf-two-series.tif", "tf-imagej-cut-7-be.tif"}) {
        SCOPED_TRACE(name);
        std::string const file = create("file.tif", readFile(getImportSample(name)));
        ToolResult const converted = runTool({"convert", file, path("c.tif")});
        ToolResult const stacked = runTool({"stack", _folder.getPath().string(), "fil?.tif", path("s.tif")});
        ToolResult const described = runTool({"info", "--check", file});
        for (ToolResult const& result : {converted, stacked, described}) {
            EXPECT_EQ(1, result.status);
            Arguments const suggested = findSuggestion(result.err, path("imported.tif"));
            ASSERT_FALSE(suggested.empty()) << result.err;
            expectDone(runTool(suggested));
            expectDone(runTool({"info", "--check", path("imported.tif")}));
            boost::filesystem::remove(_folder / "imported.tif");
        }
        EXPECT_THAT(list(), ElementsAre("file.tif"));
    }
}

TEST_F(Import, IsNotSuggestedForAFileThatItCannotCure) {
    for (char const* const name : {"tf-complex64.tif", "py-loop.tif", "py-huge.tif"}) {
        ToolResult const result = runTool({"convert", getImportSample(name), path("c.tif")});
        EXPECT_EQ(1, result.status);
        EXPECT_THAT(result.err, testing::Not(HasSubstr("velmo-image import"))) << name;
    }
}

} // namespace velmo::test
