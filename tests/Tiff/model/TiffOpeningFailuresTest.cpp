// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CapturedLog.h"
#include "TiffFixture.h"

#include <VELMOImageFile/VELMOImageFileLog.h>
#include <VELMOUtil/Logging.h>
#include <boost/filesystem/operations.hpp>
#include <boost/make_shared.hpp>
#include <fcntl.h>

namespace velmo::image::file {

namespace {

namespace fs = boost::filesystem;
using velmo::test::CapturedLog;

std::string openFailed(path const& path, std::string const& words) {
    return "Failed to open tiff image file " + path.string() + "\n" + words;
}

std::string tagFailed(std::string const& tag, path const& path, std::string const& words) {
    return "Error while getting tiff tag " + tag + " for file " + path.string() + "\n" + words;
}

class TiffOpeningFailures : public TiffTest {
  protected:
    /// A file of one directory, and of it as the second behind a plain one.
    void writeAsFirst(RawDirectory const& directory) const { writeRawTiff(_path, {directory}); }
    void writeAsSecond(RawDirectory const& directory) const {
        writeRawTiff(_path, {greyDirectory(), directory});
    }
};

} // namespace

TEST_F(TiffOpeningFailures, AMissingFileFailsInEveryAccessWithTheWordsOfTheSystem) {
    for (eImageAccessMode const access : {eIAM_ReadOnly, eIAM_ReadWrite}) {
        OpenedTiff const file(_path, {access});
        EXPECT_THAT(file.result, FailsWith(openFailed(_path, "Tiff Error : " + _path.string() +
                                                                 ": No such file or directory")));
        EXPECT_FALSE(fs::exists(_path));
    }
}

TEST_F(TiffOpeningFailures, AFileThatIsNoTiffFailsWithTheWordsOfLibtiff) {
    writeFile(_path, "P5 4 3 255\n" + countingBytes(12));
    for (eImageAccessMode const access : {eIAM_ReadOnly, eIAM_ReadWrite}) {
        EXPECT_THAT(OpenedTiff(_path, {access}).result,
                    FailsWith(openFailed(_path, "Tiff Error : Not a TIFF or MDI file, bad magic number 13648 "
                                                "(0x3550)")));
    }
}

TEST_F(TiffOpeningFailures, AFolderFails) {
    for (eImageAccessMode const access : {eIAM_ReadOnly, eIAM_ReadWrite}) {
        OpenedTiff const file(_folder.getPath(), {access});
        EXPECT_THAT(file.result, FailsLike(openFailed(_folder.getPath(), "Tiff Error : ")));
        EXPECT_EQ(file.pTiff, nullptr);
    }
}

TEST_F(TiffOpeningFailures, AFileThatMayNotBeWrittenOpensForReadingAlone) {
    writeAsFirst(greyDirectory());
    fs::permissions(_path, fs::owner_read | fs::group_read | fs::others_read);
    fs::permissions(_folder.getPath(), fs::all_all);
    std::string const outcome = asOrdinaryUser([&]() -> std::string {
        BoolResult const reading = OpenedTiff(_path).result;
        return reading.getMessage() + "|" + OpenedTiff(_path, {eIAM_ReadWrite}).result.getMessage();
    });
    if (outcome == g_noSuchUser) {
        GTEST_SKIP() << "the process cannot become a user without rights";
    }
    EXPECT_EQ(outcome, "|" + openFailed(_path, "Tiff Error : " + _path.string() + ": Permission denied"));
}

TEST_F(TiffOpeningFailures, OnlyReadOnlyOpensForReading) {
    writeAsFirst(greyDirectory());
    struct Row {
        vlUInt64 access;
        int mode;
    };
    for (Row const& row : {Row{0, O_RDONLY}, Row{1, O_RDWR}, Row{2, O_RDWR}, Row{9, O_RDWR}}) {
        OpenedTiff const file(_path, {static_cast<eImageAccessMode>(row.access)});
        ASSERT_THAT(file.result, Succeeds());
        EXPECT_EQ(TIFFGetMode(file.pTiff), row.mode) << row.access;
    }
}

TEST_F(TiffOpeningFailures, WhatWasPassedInIsResetByAFailure) {
    auto pTiff = reinterpret_cast<TIFF*>(this); // must be neither used nor closed
    auto pGeometry = geometry3d(eIBT_UInt8, 1, 1, 1);
    auto pCalibration = boost::make_shared<GeometricCalibration>();
    std::string properties = "untouched";
    BoolResult const result = openTiffFile(_path, eIAM_ReadOnly, eTDM_Volume, eTBM_Default, pTiff, pGeometry,
                                           pCalibration, &properties);
    EXPECT_FALSE(result);
    EXPECT_EQ(pTiff, nullptr);
    EXPECT_FALSE(pGeometry);
    EXPECT_FALSE(pCalibration);
    EXPECT_EQ(properties, "untouched");
}

TEST_F(TiffOpeningFailures, AFileWithoutSizesIsNotOpenedByLibtiff) {
    for (std::uint16_t const tag : {std::uint16_t(TIFFTAG_IMAGEWIDTH), std::uint16_t(TIFFTAG_IMAGELENGTH)}) {
        writeAsFirst(greyDirectory().without(tag));
        EXPECT_THAT(OpenedTiff(_path).result,
                    FailsLike(openFailed(_path, "Tiff Error : Cannot handle zero ")));
    }
    writeAsFirst(greyDirectory().without(TIFFTAG_IMAGEWIDTH).without(TIFFTAG_IMAGELENGTH));
    EXPECT_THAT(OpenedTiff(_path).result, FailsLike("required \"ImageLength\" field"));
}

TEST_F(TiffOpeningFailures, AbsentBitsPerSampleAreNamedInBothPlaces) {
    writeAsFirst(greyDirectory().without(TIFFTAG_BITSPERSAMPLE));
    for (eImageAccessMode const access : {eIAM_ReadOnly, eIAM_ReadWrite}) {
        OpenedTiff const file(_path, {access});
        EXPECT_THAT(file.result, FailsWith(tagFailed("TIFFTAG_BITSPERSAMPLE", _path, "")));
        EXPECT_EQ(file.pTiff, nullptr);
        EXPECT_EQ(countDescriptors(_path), 0U);
    }
    writeAsSecond(greyDirectory().without(TIFFTAG_BITSPERSAMPLE));
    EXPECT_THAT(OpenedTiff(_path).result, FailsWith(tagFailed("TIFFTAG_BITSPERSAMPLE", _path, "")));
}

TEST_F(TiffOpeningFailures, AbsentSamplesPerPixelFailInAFurtherDirectoryAlone) {
    RawDirectory const directory = greyDirectory().without(TIFFTAG_SAMPLESPERPIXEL);
    writeAsFirst(directory);
    EXPECT_THAT(OpenedTiff(_path).result, Succeeds());
    writeAsSecond(directory);
    OpenedTiff const file(_path);
    EXPECT_THAT(file.result, FailsWith(tagFailed("TIFFTAG_SAMPLESPERPIXEL", _path, "")));
    EXPECT_EQ(file.pTiff, nullptr);
    EXPECT_EQ(countDescriptors(_path), 0U);
}

TEST_F(TiffOpeningFailures, AnAbsentPhotometricOfColorsIsNamedInAFurtherDirectory) {
    writeRawTiff(_path, {colorDirectory(), colorDirectory().without(TIFFTAG_PHOTOMETRIC)});
    EXPECT_THAT(
        OpenedTiff(_path).result,
        FailsWith(tagFailed("TIFFTAG_PHOTOMETRIC", _path,
                            "Tiff Warning : Sum of Photometric type-related color channels and "
                            "ExtraSamples doesn't match SamplesPerPixel. Defining non-color channels as "
                            "ExtraSamples.")));
    writeAsSecond(greyDirectory().without(TIFFTAG_PHOTOMETRIC));
    EXPECT_THAT(OpenedTiff(_path).result, Succeeds());
}

TEST_F(TiffOpeningFailures, SubFileTypesOtherThanPageAreRefusedInEveryDirectory) {
    for (unsigned int const type : {1U, 3U, 4U, 5U, 6U, 7U, 8U, 0x100U, 0x40000002U}) {
        RawDirectory const directory = greyDirectory().set(TIFFTAG_SUBFILETYPE, longs({type}));
        std::string const text =
            "Un supported sub file type value " + std::to_string(type) + " for file " + _path.string();
        writeAsFirst(directory);
        EXPECT_THAT(OpenedTiff(_path).result, FailsWith(text));
        writeAsSecond(directory);
        EXPECT_THAT(OpenedTiff(_path).result, FailsWith(text));
    }
}

TEST_F(TiffOpeningFailures, FullImagesAndPagesAreAcceptedInEveryDirectory) {
    for (unsigned int const type : {0U, 2U}) {
        RawDirectory const directory = greyDirectory().set(TIFFTAG_SUBFILETYPE, longs({type}));
        writeRawTiff(_path, {directory, directory});
        OpenedTiff const file(_path);
        ASSERT_THAT(file.result, Succeeds());
        EXPECT_EQ(file.pGeometry->getSizeZ(), 2U);
    }
}

TEST_F(TiffOpeningFailures, NoFailureIsLoggedAndNoneLeavesTheFileOpen) {
    std::vector<RawDirectory> const refused = {
        greyDirectory().set(TIFFTAG_SUBFILETYPE, longs({1})),
        greyDirectory().without(TIFFTAG_BITSPERSAMPLE),
        greyDirectory(4, 3, 64),
        colorDirectory(2),
        colorDirectory(3).set(TIFFTAG_BITSPERSAMPLE, shorts({1, 1, 1})),
        greyDirectory().set(TIFFTAG_SOFTWARE, ascii("VELMO_Library")),
        greyDirectory().set(TIFFTAG_IMAGEDESCRIPTION, ascii("ImageJ=\nimages=x"))};
    CapturedLog const log(getBaseLogger());
    for (RawDirectory const& directory : refused) {
        writeAsFirst(directory);
        OpenedTiff const file(_path);
        EXPECT_FALSE(file.result);
        EXPECT_FALSE(file.result.getMessage().empty());
        EXPECT_EQ(file.pTiff, nullptr);
        EXPECT_FALSE(file.pGeometry);
        EXPECT_EQ(countDescriptors(_path), 0U);
    }
    EXPECT_TRUE(log.getRecords().empty());
}

TEST_F(TiffOpeningFailures, TheWordsOfAnEarlierFailureStandInOneOfWhichLibtiffSaysNothing) {
    OpenedTiff const missing(_path);
    std::string const former = lastTiffMessage();
    EXPECT_THAT(former, testing::EndsWith("No such file or directory"));
    path const second = _folder / "second.tif";
    writeRawTiff(second, {greyDirectory().set(TIFFTAG_SOFTWARE, ascii("VELMO_Library"))});
    EXPECT_THAT(OpenedTiff(second).result, FailsWith(tagFailed("TIFFTAG_PHOTOSHOP", second, former)));
}

TEST_F(TiffOpeningFailures, APathStandsBareInTheText) {
    path const odd = _folder / "a \"quoted\" & 50%s name.tif";
    writeRawTiff(odd, {colorDirectory(2)});
    EXPECT_THAT(
        OpenedTiff(odd).result,
        FailsWith("Un supported photometric interpretation value 2  with 2 samples per pixels for file " +
                  odd.string()));
}

} // namespace velmo::image::file
