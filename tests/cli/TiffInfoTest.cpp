// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CliFixture.h"
#include "DamagedTiff.h"
#include "TiffSample.h"

#include <nlohmann/json.hpp>

namespace velmo::test {

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

namespace {

class TiffInfo : public CliTest {
  protected:
    /// The entries of a run of `info --json` that does not fail.
    json describe(Arguments const& arguments) const {
        ToolResult const result = runTool(Arguments{"info", "--json"} + arguments);
        expectDone(result);
        return json::parse(result.out).at("files");
    }

    /// Gives an entry of the last directory of a little-endian file another tag.
    void replaceTag(std::string const& name, int tag, int newTag) const {
        auto const toStart = [](int value) {
            return std::string({static_cast<char>(value), static_cast<char>(value >> 8), '\3', '\0', '\1'});
        };
        std::string bytes = read(name);
        std::size_t const entry = bytes.rfind(toStart(tag));
        ASSERT_NE(std::string::npos, entry);
        create(name, bytes.replace(entry, 5, toStart(newTag)));
    }

    json describe(std::vector<TiffPage> const& pages, Arguments const& options = {}) const {
        writeTiff(_folder / "in.tif", pages);
        return describe(Arguments{path("in.tif")} + options).at(0);
    }
};

TiffPage page(std::uint16_t bits, std::uint16_t sampleFormat = SAMPLEFORMAT_UINT) {
    TiffPage result;
    result.bits = bits;
    result.sampleFormat = sampleFormat;
    return result;
}

TiffPage colorPage(std::uint16_t samples) {
    TiffPage result;
    result.samples = samples;
    result.photometric = PHOTOMETRIC_RGB;
    return result;
}

struct PixelType {
    std::uint16_t bits;
    std::uint16_t sampleFormat;
    char const* byDefault;
    char const* asLabel;
};

/// A file whose planes can be read, and what a check says of it.
struct Suspect {
    char const* name;
    void (*write)(boost::filesystem::path const& path);
    std::vector<std::string> warnings;
};

std::ostream& operator<<(std::ostream& os, Suspect const& suspect) {
    return os << suspect.name;
}

class TiffCheck : public TiffInfo, public testing::WithParamInterface<Suspect> {};

/// Planes of 30 x 20 pixels, which are longer than the directory that follows them.
TiffPage stackPage(unsigned int nbPlanesHeld, std::uint16_t bits = 8) {
    TiffPage result = page(bits);
    result.sizeX = 30;
    result.sizeY = 20;
    result.pixels.assign(nbPlanesHeld * result.countBytes(), 'x');
    return result;
}

TiffPage tiledPage() {
    TiffPage result = page(8);
    result.tileSize = 16;
    return result;
}

TiffPage announcing(unsigned int nbPlanes) {
    TiffPage result = page(8);
    result.description = "ImageJ=1.53t\nslices=" + std::to_string(nbPlanes) + "\n";
    return result;
}

} // namespace

TEST_F(TiffInfo, TheEntryOfAForeignVolumeHasItsGeometryAndItsCalibration) {
    TiffPage plane = page(16);
    plane.resolution = 4;
    json const expected = {{"file", path("in.tif")},
                           {"format", "tiff"},
                           {"sizeX", 3},
                           {"sizeY", 2},
                           {"sizeZ", 5},
                           {"sizeC", 1},
                           {"sizeT", 1},
                           {"bufferType", "eIBT_UInt16"},
                           {"colorGeometry", "eCGT_Grey"},
                           {"volumeGeometry", "eVGT_3d"},
                           {"temporalGeometry", "eTGT_Single"},
                           {"minIsBlack", true},
                           {"calibration", {{"x", 0.25}, {"y", 0.125}, {"z", 1.0}, {"unit", "cm"}}},
                           {"userProperties", ""},
                           {"bytes", 60},
                           {"warnings", json::array()},
                           {"error", nullptr}};
    EXPECT_EQ(expected, describe(std::vector<TiffPage>(5, plane)));
}

TEST_F(TiffInfo, TheTextTellsTheSame) {
    TiffPage plane = colorPage(3);
    plane.resolution = 4;
    writeTiff(_folder / "in.tiff", {plane});
    ToolResult const result = runTool({"info", path("in.tiff")});
    expectDone(result);
    EXPECT_EQ(path("in.tiff") +
                  "\n  format      tiff\n  size        X 3, Y 2, Z 1, C 3, T 1\n  pixels      eIBT_UInt8\n"
                  "  colour      eCGT_Rgb, the least value is black\n  volume      eVGT_2d\n"
                  "  time        eTGT_Single\n  pixel size  0.25 x 0.125 cm\n  bytes       18\n",
              result.out);
}

TEST_F(TiffInfo, DirectoriesArePlanesOrTimeStepsAsTheOptionSays) {
    std::vector<TiffPage> const pages(4, page(8));
    json const volume = describe(pages, {"--directories", "z"});
    EXPECT_EQ(4, volume.at("sizeZ"));
    EXPECT_EQ("eTGT_Single", volume.at("temporalGeometry"));
    json const sequence = describe(pages, {"--directories", "t"});
    EXPECT_EQ(1, sequence.at("sizeZ"));
    EXPECT_EQ(4, sequence.at("sizeT"));
    EXPECT_EQ("eVGT_2d", sequence.at("volumeGeometry"));
    EXPECT_EQ("eTGT_Sequence", sequence.at("temporalGeometry"));
}

TEST_F(TiffInfo, PixelsAreNumbersOrLabelsAsTheOptionSays) {
    for (PixelType const& type : {PixelType{1, SAMPLEFORMAT_UINT, "eIBT_Binary", "eIBT_Binary"},
                                  {8, SAMPLEFORMAT_UINT, "eIBT_UInt8", "eIBT_Label8"},
                                  {16, SAMPLEFORMAT_UINT, "eIBT_UInt16", "eIBT_Label16"},
                                  {32, SAMPLEFORMAT_UINT, "eIBT_UInt32", "eIBT_Label32"},
                                  {8, SAMPLEFORMAT_INT, "eIBT_Int8", ""},
                                  {16, SAMPLEFORMAT_INT, "eIBT_Int16", ""},
                                  {32, SAMPLEFORMAT_INT, "eIBT_Int32", ""},
                                  {32, SAMPLEFORMAT_IEEEFP, "eIBT_Real32", ""}}) {
        TiffPage const plane = page(type.bits, type.sampleFormat);
        EXPECT_EQ(type.byDefault, describe({plane}).at("bufferType"));
        EXPECT_EQ(type.byDefault, describe({plane}, {"--pixels", "default"}).at("bufferType"));
        if (*type.asLabel != '\0') {
            EXPECT_EQ(type.asLabel, describe({plane}, {"--pixels", "label"}).at("bufferType"));
        }
    }
    EXPECT_EQ("eIBT_Binary", describe({page(8)}, {"--pixels", "binary"}).at("bufferType"));
}

TEST_F(TiffInfo, PixelsThatTheOptionDoesNotFitAreRefusedWithTheLibrarysWords) {
    writeTiff(_folder / "in.tif", {page(16)});
    expectFailure(
        runTool({"info", path("in.tif"), "--pixels", "binary"}), 1,
        "Error while loading tiff image file \"" + path("in.tif") +
            "\"\nUn supported image buffer type with bitsPerSamples=16, sampleFormat=1 and image buffer "
            "mode eTBM_Binary for file " +
            path("in.tif"));
}

TEST_F(TiffInfo, ColoursAndTheirSenseAreTold) {
    EXPECT_EQ("eCGT_Rgb", describe({colorPage(3)}).at("colorGeometry"));
    json const rgba = describe({colorPage(4), colorPage(4)});
    EXPECT_EQ("eCGT_Rgba", rgba.at("colorGeometry"));
    EXPECT_EQ(4, rgba.at("sizeC"));
    EXPECT_EQ(48, rgba.at("bytes"));
    TiffPage white = page(8);
    white.photometric = PHOTOMETRIC_MINISWHITE;
    EXPECT_EQ(false, describe({white}).at("minIsBlack"));
}

TEST_F(TiffInfo, DirectoriesOfDifferentTypesHaveOneTypeEach) {
    json const entry = describe({page(8), page(16), page(8)});
    EXPECT_EQ(0U, entry.count("bufferType"));
    EXPECT_THAT(entry.at("bufferTypes"), ElementsAre("eIBT_UInt8", "eIBT_UInt16", "eIBT_UInt8"));
}

TEST_F(TiffInfo, AFileIsOpenedForReadingAndStaysAsItIs) {
    writeTiff(_folder / "in.tif", {page(1)}); // packed bits cannot be opened for writing
    std::string const bytes = read("in.tif");
    EXPECT_EQ("eIBT_Binary", describe({path("in.tif"), "--check"}).at(0).at("bufferType"));
    EXPECT_EQ(bytes, read("in.tif"));
}

TEST_F(TiffInfo, AnyNameIsReadAsTiffWhereTheFormatSaysSo) {
    writeTiff(_folder / "in.dat", {page(8)});
    EXPECT_EQ("tiff", describe({path("in.dat"), "--format", "tiff"}).at(0).at("format"));
}

TEST_F(TiffInfo, RawAndTiffFilesAreToldInOneRun) {
    writeTiff(_folder / "b.tif", {page(16)});
    json const files = describe(Arguments{create("a.raw", "xxxx"), path("b.tif")} + raw("2,2", "uint8"));
    EXPECT_EQ("raw", files.at(0).at("format"));
    EXPECT_EQ("eIBT_UInt8", files.at(0).at("bufferType"));
    EXPECT_EQ("tiff", files.at(1).at("format"));
    EXPECT_EQ("eIBT_UInt16", files.at(1).at("bufferType"));
}

TEST_F(TiffInfo, AFileThatFailsHasItsEntryWithLibtiffsWordsAndTheOthersAreTold) {
    std::string const broken = create("broken.tif", "no image at all");
    writeTiff(_folder / "good.tif", {page(8)});
    ToolResult const result = runTool({"info", "--json", path("none.tif"), broken, path("good.tif")});
    EXPECT_EQ(1, result.status);
    json const files = json::parse(result.out).at("files");
    EXPECT_THAT(files.at(0).at("error").get<std::string>(),
                StartsWith("Error while loading tiff image file \"" + path("none.tif") +
                           "\"\nFailed to open tiff image file " + path("none.tif") + "\nTiff Error : "));
    EXPECT_THAT(files.at(1).at("error").get<std::string>(),
                StartsWith("Error while loading tiff image file \"" + broken +
                           "\"\nFailed to open tiff image file " + broken + "\nTiff Error : Not a TIFF"));
    EXPECT_EQ("tiff", files.at(1).at("format"));
    EXPECT_TRUE(files.at(1).at("sizeX").is_null());
    EXPECT_TRUE(files.at(2).at("error").is_null());
    EXPECT_EQ("velmo-image: " + files.at(0).at("error").get<std::string>() +
                  "\nvelmo-image: " + files.at(1).at("error").get<std::string>() + '\n',
              result.err);
}

TEST_F(TiffInfo, WhatLibtiffWarnsOfIsNotOnStandardError) {
    writeTiff(_folder / "in.tif", {page(8)});
    std::string bytes = read("in.tif");
    std::size_t const sampleFormat = bytes.find(std::string("\x53\x01\x03\x00", 4));
    ASSERT_NE(std::string::npos, sampleFormat);
    create("in.tif", bytes.replace(sampleFormat, 2, "\x4c\xfe")); // a tag that libtiff does not know
    expectDone(runTool({"info", "--check", path("in.tif")}));
}

TEST_F(TiffInfo, TheCheckReadsThePlanesOfAFileThatLooksGood) {
    writeTiff(_folder / "in.tif", {page(8), page(16)}); // of a volume, the first type is that of all planes
    expectFailure(runTool({"info", "--check", path("in.tif")}), 1,
                  '"' + path("in.tif") +
                      "\": of 2 planes tried 1 cannot be read: plane z=1 c=0 t=0; the first one: Failed to "
                      "read data of strip 0 for directory z=1, c=0, t=0 of file " +
                      path("in.tif") +
                      "\nThe directory has planes of 3 x 2 pixels of 16 bits, the image has planes of 3 x 2 "
                      "pixels of 8 bits");
}

TEST_F(TiffInfo, OfAFileThatFailsTheCheckAllKeysAreThereWithTheWarnings) {
    writeTiff(_folder / "in.tif", {page(8), tiledPage(), page(8)});
    ToolResult const result = runTool({"info", "--json", "--check", path("in.tif")});
    EXPECT_EQ(1, result.status);
    json const entry = json::parse(result.out).at("files").at(0);
    EXPECT_EQ(3, entry.at("sizeZ"));
    EXPECT_THAT(entry.at("warnings"),
                ElementsAre("of 3 directories 1 are tiled: pixels in tiles cannot be read"));
    EXPECT_THAT(entry.at("error").get<std::string>(),
                HasSubstr("of 3 planes tried 1 cannot be read: plane z=1 c=0 t=0; the first one: "));
}

TEST_F(TiffInfo, TheReasonOfAFailureIsNotTheWarningOfTheFileBefore) {
    writeTiff(_folder / "warns.tif", {page(8)});
    replaceTag("warns.tif", TIFFTAG_SAMPLEFORMAT, 65100); // which libtiff does not know
    writeWithoutSamples(_folder / "fails.tif");           // of which libtiff has nothing to say
    std::string const alone = runTool({"info", path("fails.tif")}).err;
    EXPECT_THAT(alone, HasSubstr("TIFFTAG_SAMPLESPERPIXEL"));
    ToolResult const behind = runTool({"info", path("warns.tif"), path("fails.tif")});
    EXPECT_EQ(1, behind.status);
    EXPECT_EQ(alone, behind.err);
    EXPECT_THAT(behind.err, testing::Not(HasSubstr("65100")));
}

TEST_P(TiffCheck, WarnsOfItAndConversionWarnsAlike) {
    GetParam().write(_folder / "in.tif");
    json const checked = describe({path("in.tif"), "--check"}).at(0);
    EXPECT_EQ(json(GetParam().warnings), checked.at("warnings"));
    EXPECT_EQ(json(nullptr), checked.at("error"));
    EXPECT_EQ(json::array(), describe({path("in.tif")}).at(0).at("warnings"));
    ToolResult const converted = runTool({"convert", path("in.tif"), path("out.raw")});
    std::string expected;
    for (std::string const& warning : GetParam().warnings) {
        expected += "velmo-image: warning: \"" + path("in.tif") + "\": " + warning + '\n';
    }
    EXPECT_EQ(0, converted.status);
    EXPECT_EQ(expected, converted.err);
}

INSTANTIATE_TEST_SUITE_P(
    Files, TiffCheck,
    testing::Values(
        Suspect{"GoodVolume",
                [](auto const& path) {
                    writeTiff(path, {page(16), page(16)}, "wb");
                },
                {}},
        Suspect{"GoodStack", [](auto const& path) { writeImageJStack(path, 3, stackPage(3)); }, {}},
        Suspect{"DescriptionOfAsManyPlanes",
                [](auto const& path) {
                    writeTiff(path, {announcing(2), page(8)}, "wb");
                },
                {}},
        Suspect{"BigEndianStackOfBytes",
                [](auto const& path) { writeImageJStack(path, 3, stackPage(3), "wb"); },
                {}},
        Suspect{"BigEndianStack",
                [](auto const& path) { writeImageJStack(path, 3, stackPage(3, 16), "wb"); },
                {}},
        Suspect{"FewerPlanesThanDirectories",
                [](auto const& path) {
                    writeTiff(path, {announcing(1), page(8), page(8)});
                },
                {}},
        Suspect{"WhiteLeastValue",
                [](auto const& path) {
                    TiffPage white = page(8);
                    white.photometric = PHOTOMETRIC_MINISWHITE;
                    writeTiff(path, {white, white});
                },
                {"the least value is white: a copy has the same values, and other programs show it as a "
                 "negative"}},
        Suspect{"TurnedDirectory",
                [](auto const& path) {
                    TiffPage turned = page(8);
                    turned.orientation = ORIENTATION_BOTRIGHT;
                    writeTiff(path, {page(8), turned});
                },
                {"of 2 directories 1 are to be shown turned or mirrored: their rows are read as they lie"}}),
    getName<Suspect>);

} // namespace velmo::test
