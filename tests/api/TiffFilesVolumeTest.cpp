// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "TiffFilesFixture.h"

#include <boost/filesystem/operations.hpp>

namespace velmo::test {

namespace fs = boost::filesystem;
using namespace image;
using namespace image::file;

namespace {

class TiffFilesVolume : public TiffFiles {
  protected:
    std::vector<ImagePtr> loadAndOpen(eTiffBufferMode bufferMode = eTBM_Default) const {
        return {load(eTDM_Volume, g_numbered, bufferMode), open(eTDM_Volume, g_numbered, bufferMode)};
    }

    void expectJoined(std::vector<Part> const& parts) const {
        vlUInt64 sizeZ = 0;
        for (Part const& part : parts) {
            sizeZ += part.pGeometry->getSizeZ();
        }
        for (ImagePtr const& pImage : loadAndOpen()) {
            EXPECT_EQ(pImage->getGeometry().getSizeZ(), sizeZ);
            EXPECT_EQ(pImage->getGeometry().getVolumeGeometryType(), eVGT_3d);
            EXPECT_EQ(pImage->getTemporalGeometryType(), eTGT_Single);
            EXPECT_EQ(pImage->getBufferType(), parts.front().pGeometry->getBufferType());
            EXPECT_EQ(pImage->getGeometry().getColorGeometryType(),
                      parts.front().pGeometry->getColorGeometryType());
            EXPECT_EQ(readPixels(*pImage), joinAlongZ(parts));
        }
    }

    void saveAndExpectJoined(std::vector<Part> const& parts) const {
        save(parts);
        expectJoined(parts);
    }
};

Part makeForeignPart(fs::path const& path, std::size_t nbPages, unsigned int first,
                     std::string const& mode = "w") {
    std::vector<Directory> pages(nbPages);
    Part part{geometry3d(eIBT_UInt8, 4, 3, nbPages), countingBytes(12 * nbPages, first)};
    for (std::size_t page = 0; page < nbPages; ++page) {
        pages[page].pixels = part.pixels.substr(12 * page, 12);
    }
    writeTiff(path, pages, mode);
    return part;
}

} // namespace

// Depths and channels

TEST_F(TiffFilesVolume, FilesOfDifferentDepthsJoinIntoAVolumeOfTheSummedDepth) {
    saveAndExpectJoined({makePart(makeVolume(3), 1), makePart(makeVolume(1), 2), makePart(makeVolume(4), 3)});
}

TEST_F(TiffFilesVolume, EachChannelIsJoinedByItself) {
    saveAndExpectJoined({makePart(makeVolume(2, 5), 1), makePart(makeVolume(3, 5), 2)});
}

TEST_F(TiffFilesVolume, SinglePlanesOf2dImagesBecomeAVolume) {
    ImageGeometryPtr const pPlane =
        geometry(eIBT_Real32, 5, 3, VolumeGeometry(), ColorGeometry(), TemporalGeometry());
    saveAndExpectJoined({makePart(pPlane, 1), makePart(pPlane, 2), makePart(pPlane, 3)});
}

TEST_F(TiffFilesVolume, PlanesJoinVolumesWhateverCameFirst) {
    ImageGeometryPtr const pPlane =
        geometry(eIBT_UInt16, 5, 3, VolumeGeometry(), ColorGeometry(), TemporalGeometry());
    saveAndExpectJoined({makePart(pPlane, 1), makePart(makeVolume(3), 2)});
    saveAndExpectJoined({makePart(makeVolume(3), 3), makePart(pPlane, 4)});
}

TEST_F(TiffFilesVolume, TheDirectoriesOfAForeignFileAreItsPlanes) {
    expectJoined({makeForeignPart(numbered(0), 2, 1), makeForeignPart(numbered(1), 3, 101)});
}

TEST_F(TiffFilesVolume, EveryPixelTypeJoins) {
    for (unsigned int type = eIBT_Int8; type <= eIBT_Label8; ++type) {
        SCOPED_TRACE(type);
        auto const bufferType = static_cast<eImageBufferType>(type);
        saveAndExpectJoined(
            {makePart(makeVolume(2, 2, bufferType), 1), makePart(makeVolume(1, 2, bufferType), 2)});
    }
}

TEST_F(TiffFilesVolume, ColoursThatLieSideBySideInTheFileJoinChannelByChannel) {
    for (eColorGeometryType const colours : {eCGT_Rgb, eCGT_Rgba, eCGT_HSV}) {
        SCOPED_TRACE(colours);
        std::vector<Part> parts;
        for (vlUInt64 const sizeZ : {2U, 1U}) {
            ImageGeometryPtr const pGeometry = makeVolume(sizeZ);
            pGeometry->getColorGeometry().init(colours);
            parts.push_back(makePart(pGeometry, static_cast<unsigned int>(sizeZ)));
        }
        saveAndExpectJoined(parts);
    }
}

// What is not compared

TEST_F(TiffFilesVolume, CompressionOrderOfBytesAndKindOfTiffMayDiffer) {
    std::vector<Part> const parts = {makePart(makeVolume(1), 1), makePart(makeVolume(1), 2),
                                     makePart(makeVolume(1), 3)};
    save(numbered(0), parts[0], eTC_None);
    save(numbered(1), parts[1], eTC_Lzw);
    save(numbered(2), parts[2], eTC_Deflate);
    expectJoined(parts);
    expectJoined({makeForeignPart(numbered(0), 1, 1, "wl"), makeForeignPart(numbered(1), 2, 50, "wb8"),
                  makeForeignPart(numbered(2), 1, 99, "w8")});
}

TEST_F(TiffFilesVolume, WhatIsBlackAndNamesOfChannelsMayDifferAndAreTheFirstFiles) {
    std::vector<Part> parts = {makePart(makeVolume(1, 2), 1), makePart(makeVolume(2, 2), 2)};
    parts[0].pGeometry->getColorGeometry().setMinIsBlack(false);
    parts[0].pGeometry->getColorGeometry().setChannelName("red", 1);
    parts[1].pGeometry->getColorGeometry().setChannelName("green", 1);
    saveAndExpectJoined(parts);
    for (ImagePtr const& pImage : loadAndOpen()) {
        EXPECT_FALSE(pImage->getGeometry().getColorGeometry().minIsBlack());
        EXPECT_EQ(pImage->getGeometry().getColorGeometry().getChannelName(1), "red");
    }
}

TEST_F(TiffFilesVolume, AFileOfThisModuleJoinsAForeignOne) {
    Part const own = makePart(geometry3d(eIBT_UInt8, 4, 3, 2));
    save(numbered(0), own);
    expectJoined({own, makeForeignPart(numbered(1), 3, 7)});
}

// The order

TEST_F(TiffFilesVolume, TheFilesStandInTheOrderOfTheirNumbers) {
    std::vector<Part> const parts = {makePart(makeVolume(1), 1), makePart(makeVolume(2), 2),
                                     makePart(makeVolume(3), 3)};
    save(at("a10.tif"), parts[2]);
    save(at("a2.tif"), parts[1]);
    save(at("a1.tif"), parts[0]);
    expectJoined(parts);
}

TEST_F(TiffFilesVolume, WithoutAKeywordTheyStandInLexicographicOrder) {
    std::vector<Part> const parts = {makePart(makeVolume(1), 1), makePart(makeVolume(2), 2)};
    save(at("a2.tif"), parts[0]);
    save(at("a10.tif"), parts[1]);
    for (std::string const& pattern : {std::string("a*.tif"), std::string("a?.tif|a??.tif"), std::string()}) {
        SCOPED_TRACE(pattern);
        EXPECT_EQ(readPixels(*load(eTDM_Volume, pattern)), parts[1].pixels + parts[0].pixels);
        EXPECT_EQ(readPixels(*open(eTDM_Volume, pattern)), parts[1].pixels + parts[0].pixels);
    }
    EXPECT_EQ(readPixels(*load(eTDM_Volume, g_numbered)), parts[0].pixels + parts[1].pixels);
}

TEST_F(TiffFilesVolume, OfTwoFilesWithEqualNumbersOneIsThere) {
    std::vector<Part> const parts = {makePart(makeVolume(1), 1), makePart(makeVolume(1), 2),
                                     makePart(makeVolume(1), 3)};
    save(at("a7.tif"), parts[0]);
    save(at("a007.tif"), parts[1]);
    save(at("a8.tif"), parts[2]);
    bool bShortFirst = false;
    for (fs::directory_entry const& entry : fs::directory_iterator(_folder)) {
        if (entry.path().filename() != "a8.tif") {
            bShortFirst = entry.path().filename() == "a7.tif";
            break;
        }
    }
    expectJoined({parts[bShortFirst ? 0 : 1], parts[2]});
}

// Modes

TEST_F(TiffFilesVolume, AnyOtherDirectoryModeThanTemporalIsTheVolume) {
    std::vector<Part> const parts = {makePart(makeVolume(1), 1), makePart(makeVolume(2), 2)};
    save(parts);
    for (vlUInt64 const mode : {0U, 2U, 77U}) {
        auto const directoryMode = static_cast<eTiffDirectoryMode>(mode);
        for (ImagePtr const& pImage : {load(directoryMode), open(directoryMode)}) {
            EXPECT_EQ(pImage->getGeometry().getSizeZ(), 3U);
            EXPECT_EQ(readPixels(*pImage), joinAlongZ(parts));
        }
    }
}

TEST_F(TiffFilesVolume, TheBufferModeReachesEveryFile) {
    std::vector<Part> const parts = {makeForeignPart(numbered(0), 1, 1), makeForeignPart(numbered(1), 2, 50)};
    std::map<eTiffBufferMode, eImageBufferType> const expected = {
        {eTBM_Default, eIBT_UInt8}, {eTBM_Binary, eIBT_Binary}, {eTBM_Label, eIBT_Label8}};
    for (auto const& [bufferMode, bufferType] : expected) {
        for (ImagePtr const& pImage : loadAndOpen(bufferMode)) {
            EXPECT_EQ(pImage->getBufferType(), bufferType);
            EXPECT_EQ(readPixels(*pImage), joinAlongZ(parts));
        }
    }
}

TEST_F(TiffFilesVolume, FilesOfPackedBitsJoinAndOpenForTheyAreOnlyRead) {
    std::vector<Directory> pages = makePages(1);
    pages[0].bits = 1;
    pages[0].pixels = "\x50\xA0\xF0";
    writeTiff(numbered(0), pages);
    pages[0].pixels = "\xF0\x50\xA0";
    writeTiff(numbered(1), pages);
    for (ImagePtr const& pImage : loadAndOpen()) {
        EXPECT_EQ(pImage->getBufferType(), eIBT_Binary);
        EXPECT_EQ(readPixels(*pImage),
                  std::string("\0\1\0\1\1\0\1\0\1\1\1\1", 12) + std::string("\1\1\1\1\0\1\0\1\1\0\1\0", 12));
    }
}

TEST_F(TiffFilesVolume, ImageJStacksOfOneDirectoryJoin) {
    std::vector<Part> parts;
    for (vlUInt64 const nbPlanes : {3U, 2U}) {
        RawDirectory directory = greyDirectory(4, 3, 8);
        directory.set(TIFFTAG_IMAGEDESCRIPTION,
                      ascii("ImageJ=1.53\nimages=" + std::to_string(nbPlanes) + "\n"));
        directory.pixels = countingBytes(12 * nbPlanes, static_cast<unsigned int>(nbPlanes));
        writeRawTiff(numbered(parts.size()), {directory});
        parts.push_back({geometry3d(eIBT_UInt8, 4, 3, nbPlanes), directory.pixels});
    }
    expectJoined(parts);
}

} // namespace velmo::test
