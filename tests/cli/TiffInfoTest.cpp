// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "DamagedTiff.h"
#include "InfoEntries.h"
#include "TiffSample.h"

namespace velmo::test {

using nlohmann::json;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

/// A file whose planes can be read, and a word of the warning about it, if there is one.
struct Suspect {
    char const* name;
    void (*write)(boost::filesystem::path const& path);
    char const* warning;
};

namespace {

class TiffInfo : public CliTest {
  protected:
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
        return test::describe(Arguments{path("in.tif")} + options);
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
                           {"pixelType", "uint16"},
                           {"dtype", "uint16"},
                           {"shape", {1, 1, 5, 2, 3}},
                           {"axes", "TCZYX"},
                           {"type", "number"},
                           {"color", "grey"},
                           {"isVolume", true},
                           {"isSequence", false},
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
                  "\n  format      tiff\n  size        X 3, Y 2, Z 1, C 3, T 1\n  pixels      uint8\n"
                  "  colour      rgb, minimum is black\n  kind        plane, single time step\n"
                  "  pixel size  0.25 x 0.125 cm\n  bytes       18\n",
              result.out);
}

TEST_F(TiffInfo, DirectoriesArePlanesOrTimeStepsAsTheOptionSays) {
    std::vector<TiffPage> const pages(4, page(8));
    json const volume = describe(pages, {"--directories", "z"});
    EXPECT_EQ(4, volume.at("sizeZ"));
    EXPECT_EQ(false, volume.at("isSequence"));
    json const sequence = describe(pages, {"--directories", "t"});
    EXPECT_EQ(1, sequence.at("sizeZ"));
    EXPECT_EQ(4, sequence.at("sizeT"));
    EXPECT_EQ(false, sequence.at("isVolume"));
    EXPECT_EQ(true, sequence.at("isSequence"));
}

TEST_F(TiffInfo, PixelsAreNumbersOrLabelsAsTheOptionSays) {
    for (PixelType const& type : {PixelType{1, SAMPLEFORMAT_UINT, "binary", "binary"},
                                  {8, SAMPLEFORMAT_UINT, "uint8", "label8"},
                                  {16, SAMPLEFORMAT_UINT, "uint16", "label16"},
                                  {32, SAMPLEFORMAT_UINT, "uint32", "label32"},
                                  {8, SAMPLEFORMAT_INT, "int8", ""},
                                  {16, SAMPLEFORMAT_INT, "int16", ""},
                                  {32, SAMPLEFORMAT_INT, "int32", ""},
                                  {32, SAMPLEFORMAT_IEEEFP, "real32", ""}}) {
        TiffPage const plane = page(type.bits, type.sampleFormat);
        EXPECT_EQ(type.byDefault, describe({plane}).at("pixelType"));
        EXPECT_EQ(type.byDefault, describe({plane}, {"--pixels", "default"}).at("pixelType"));
        if (*type.asLabel != '\0') {
            EXPECT_EQ(type.asLabel, describe({plane}, {"--pixels", "label"}).at("pixelType"));
        }
    }
    EXPECT_EQ("binary", describe({page(8)}, {"--pixels", "binary"}).at("pixelType"));
}

TEST_F(TiffInfo, PixelsThatTheOptionDoesNotFitAreRefused) {
    writeTiff(_folder / "in.tif", {page(16)});
    expectFailure(runTool({"info", path("in.tif"), "--pixels", "binary"}), 1, path("in.tif"),
                  "bitsPerSamples=16, sampleFormat=1", "eTBM_Binary");
}

TEST_F(TiffInfo, ColoursAndTheirSenseAreTold) {
    EXPECT_EQ("rgb", describe({colorPage(3)}).at("color"));
    json const rgba = describe({colorPage(4), colorPage(4)});
    EXPECT_EQ("rgba", rgba.at("color"));
    EXPECT_EQ(4, rgba.at("sizeC"));
    EXPECT_EQ(48, rgba.at("bytes"));
    TiffPage white = page(8);
    white.photometric = PHOTOMETRIC_MINISWHITE;
    EXPECT_EQ(false, describe({white}).at("minIsBlack"));
}

TEST_F(TiffInfo, DirectoriesOfDifferentTypesHaveOneTypeEach) {
    json const entry = describe({page(8), page(16), page(8)});
    EXPECT_EQ(0U, entry.count("bufferType"));
    EXPECT_THAT(entry.at("pixelTypes"), ElementsAre("uint8", "uint16", "uint8"));
    EXPECT_THAT(entry.at("dtype"), ElementsAre("uint8", "uint16", "uint8"));
    EXPECT_EQ("number", entry.at("type"));
}

TEST_F(TiffInfo, AFileIsOpenedForReadingAndStaysAsItIs) {
    writeTiff(_folder / "in.tif", {page(1)}); // packed bits cannot be opened for writing
    std::string const bytes = read("in.tif");
    EXPECT_EQ("binary", test::describe({path("in.tif"), "--check"}).at("pixelType"));
    EXPECT_EQ(bytes, read("in.tif"));
}

TEST_F(TiffInfo, AnyNameIsReadAsTiffWhereTheFormatSaysSo) {
    writeTiff(_folder / "in.dat", {page(8)});
    EXPECT_EQ("tiff", test::describe({path("in.dat"), "--format", "tiff"}).at("format"));
}

TEST_F(TiffInfo, RawAndTiffFilesAreToldInOneRun) {
    writeTiff(_folder / "b.tif", {page(16)});
    json const files = describeAll(Arguments{create("a.raw", "xxxx"), path("b.tif")} + raw("2,2", "uint8"));
    EXPECT_EQ("raw", files.at(0).at("format"));
    EXPECT_EQ("uint8", files.at(0).at("pixelType"));
    EXPECT_EQ("tiff", files.at(1).at("format"));
    EXPECT_EQ("uint16", files.at(1).at("pixelType"));
}

TEST_F(TiffInfo, AFileThatFailsHasItsEntryWithLibtiffsWordsAndTheOthersAreTold) {
    std::string const broken = create("broken.tif", "no image at all");
    writeTiff(_folder / "good.tif", {page(8)});
    ToolResult const result = runTool({"info", "--json", path("none.tif"), broken, path("good.tif")});
    EXPECT_EQ(1, result.status);
    json const files = getEntries(result);
    EXPECT_THAT(files.at(0).at("error").get<std::string>(), hasWords(path("none.tif"), "\nTiff Error : "));
    EXPECT_THAT(files.at(1).at("error").get<std::string>(), hasWords(broken, "\nTiff Error : Not a TIFF"));
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
    expectFailure(runTool({"info", "--check", path("in.tif")}), 1, '"' + path("in.tif") + '"',
                  "1 cannot be read", "plane z=1 c=0 t=0",
                  "16 bits, the image has planes of 3 x 2 pixels of 8 bits");
}

TEST_F(TiffInfo, OfAFileThatFailsTheCheckAllKeysAreThereWithTheWarnings) {
    writeTiff(_folder / "in.tif", {page(8), tiledPage(), page(8)});
    ToolResult const result = runTool({"info", "--json", "--check", path("in.tif")});
    EXPECT_EQ(1, result.status);
    json const entry = getEntries(result).at(0);
    EXPECT_EQ(3, entry.at("sizeZ"));
    ASSERT_EQ(1U, entry.at("warnings").size());
    EXPECT_THAT(entry.at("warnings").at(0).get<std::string>(), hasWords("1 of 3 directories", "tiled"));
    EXPECT_THAT(entry.at("error").get<std::string>(), hasWords("1 cannot be read", "plane z=1 c=0 t=0"));
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
    std::string const word = GetParam().warning;
    json const warnings = test::describe({path("in.tif"), "--check"}).at("warnings");
    EXPECT_EQ(json::array(), test::describe({path("in.tif")}).at("warnings"));
    ToolResult const converted = runTool({"convert", path("in.tif"), path("out.raw")});
    if (word.empty()) {
        EXPECT_EQ(json::array(), warnings);
        expectDone(converted);
        return;
    }
    ASSERT_EQ(1U, warnings.size());
    EXPECT_THAT(warnings.at(0).get<std::string>(), HasSubstr(word));
    expectWarning(converted, '"' + path("in.tif") + "\": " + warnings.at(0).get<std::string>());
}

INSTANTIATE_TEST_SUITE_P(
    Files, TiffCheck,
    testing::Values(Suspect{"GoodVolume",
                            [](auto const& path) {
                                writeTiff(path, {page(16), page(16)}, "wb");
                            },
                            ""},
                    Suspect{"GoodStack", [](auto const& path) { writeImageJStack(path, 3, stackPage(3)); },
                            ""},
                    Suspect{"DescriptionOfAsManyPlanes",
                            [](auto const& path) {
                                writeTiff(path, {announcing(2), page(8)}, "wb");
                            },
                            ""},
                    Suspect{"BigEndianStackOfBytes",
                            [](auto const& path) { writeImageJStack(path, 3, stackPage(3), "wb"); }, ""},
                    Suspect{"BigEndianStack",
                            [](auto const& path) { writeImageJStack(path, 3, stackPage(3, 16), "wb"); }, ""},
                    Suspect{"FewerPlanesThanDirectories",
                            [](auto const& path) {
                                writeTiff(path, {announcing(1), page(8), page(8)});
                            },
                            ""},
                    Suspect{"WhiteLeastValue",
                            [](auto const& path) {
                                TiffPage white = page(8);
                                white.photometric = PHOTOMETRIC_MINISWHITE;
                                writeTiff(path, {white, white});
                            },
                            "minimum is white"},
                    Suspect{"TurnedDirectory",
                            [](auto const& path) {
                                TiffPage turned = page(8);
                                turned.orientation = ORIENTATION_BOTRIGHT;
                                writeTiff(path, {page(8), turned});
                            },
                            "1 of 2 directories"}),
    getName<Suspect>);

} // namespace velmo::test
