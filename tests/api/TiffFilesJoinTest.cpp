// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "TiffFilesFixture.h"

#include <boost/filesystem/operations.hpp>

namespace velmo::test {

namespace fs = boost::filesystem;
using namespace image;
using namespace image::file;

namespace {

using Types = std::vector<eImageBufferType>;

/// Files joined along Z or T, loaded and opened.
class TiffFilesJoin : public TiffFiles {
  protected:
    std::vector<ImagePtr> loadAndOpen(eTiffDirectoryMode mode,
                                      eTiffBufferMode bufferMode = eTBM_Default) const {
        return {load(mode, g_numbered, bufferMode), open(mode, g_numbered, bufferMode)};
    }

    void expectJoined(eTiffDirectoryMode mode, std::vector<Part> const& parts) const {
        BaseImageGeometry const& first = *parts.front().pGeometry;
        vlUInt64 sizeZ = 0;
        vlUInt64 sizeT = 0;
        for (Part const& part : parts) {
            sizeZ += part.pGeometry->getSizeZ();
            sizeT += part.pGeometry->getSizeT();
        }
        bool const bAlongZ = mode == eTDM_Volume;
        for (ImagePtr const& pImage : loadAndOpen(mode)) {
            BaseImageGeometry const& geometry = pImage->getGeometry();
            EXPECT_EQ(geometry.getSizeZ(), bAlongZ ? sizeZ : first.getSizeZ());
            EXPECT_EQ(geometry.getSizeT(), bAlongZ ? 1 : sizeT);
            EXPECT_EQ(geometry.getVolumeGeometryType(), bAlongZ ? eVGT_3d : first.getVolumeGeometryType());
            EXPECT_EQ(pImage->getTemporalGeometryType(), bAlongZ ? eTGT_Single : eTGT_Sequence);
            EXPECT_EQ(geometry.getColorGeometryType(), first.getColorGeometryType());
            EXPECT_EQ(pImage->getBufferType(), first.getBufferType());
            EXPECT_EQ(readPixels(*pImage), bAlongZ ? joinAlongZ(parts) : joinAlongT(parts));
        }
    }

    void saveAndExpectJoined(eTiffDirectoryMode mode, std::vector<Part> const& parts) const {
        save(parts);
        expectJoined(mode, parts);
    }

    void saveAndExpectJoined(std::vector<Part> const& parts) const {
        saveAndExpectJoined(eTDM_Volume, parts);
        saveAndExpectJoined(eTDM_Temporal, parts);
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

Types getTypes(BaseImage const& image) {
    Types types;
    for (vlUInt64 t = 0; t < image.getGeometry().getSizeT(); ++t) {
        types.push_back(image.getGeometry().getPlanGeometry(t).getBufferType());
    }
    return types;
}

ImageGeometryPtr makePlane() {
    return geometry(eIBT_UInt16, 5, 3, VolumeGeometry(), ColorGeometry(), TemporalGeometry());
}

} // namespace

// Depths, time steps and channels

TEST_F(TiffFilesJoin, FilesOfDifferentDepthsBecomeAVolumeOfTheSummedDepth) {
    saveAndExpectJoined(eTDM_Volume, {makePart(makePlane(), 1), makePart(makeVolume(3), 2)});
    saveAndExpectJoined(eTDM_Volume, {makePart(makeVolume(3), 3), makePart(makePlane(), 4)});
    saveAndExpectJoined(eTDM_Volume,
                        {makePart(makeVolume(3), 1), makePart(makeVolume(1), 2), makePart(makeVolume(4), 3)});
}

TEST_F(TiffFilesJoin, FilesOfSeveralTimeStepsFollowEachOther) {
    saveAndExpectJoined(eTDM_Temporal, {makePart(makeVolumes(2, 3), 1), makePart(makeVolume(2), 2),
                                        makePart(makeVolumes(2, 2), 3), makePart(makeVolumes(2, 1), 4)});
}

TEST_F(TiffFilesJoin, PlanesOf2dImagesBecomeAVolumeOrStay2d) {
    saveAndExpectJoined({makePart(makePlane(), 1), makePart(makePlane(), 2), makePart(makePlane(), 3)});
}

TEST_F(TiffFilesJoin, EachChannelIsJoinedByItselfWhateverTheColours) {
    saveAndExpectJoined({makePart(makeVolume(2, 5), 1), makePart(makeVolume(2, 5), 2)});
    for (eColorGeometryType const colours : {eCGT_Rgb, eCGT_Rgba, eCGT_HSV}) {
        ImageGeometryPtr const pGeometry = makeVolume(2);
        pGeometry->getColorGeometry().init(colours);
        saveAndExpectJoined({makePart(pGeometry, 1), makePart(pGeometry, 2)});
    }
}

TEST_F(TiffFilesJoin, EveryPixelTypeJoins) {
    for (unsigned int type = eIBT_Int8; type <= eIBT_Label8; ++type) {
        SCOPED_TRACE(type);
        ImageGeometryPtr const pGeometry = makeVolume(2, 2, static_cast<eImageBufferType>(type));
        saveAndExpectJoined(eTDM_Volume, {makePart(pGeometry, 1), makePart(pGeometry, 2)});
    }
}

// Files of other programs

TEST_F(TiffFilesJoin, DirectoriesOfForeignFilesAreTheirPlanes) {
    expectJoined(eTDM_Volume, {makeForeignPart(numbered(0), 2, 1), makeForeignPart(numbered(1), 3, 101)});
    expectJoined(eTDM_Temporal, {makeForeignPart(numbered(0), 3, 1), makeForeignPart(numbered(1), 3, 101)});
    Part const own = makePart(geometry3d(eIBT_UInt8, 4, 3, 2));
    save(numbered(0), own);
    expectJoined(eTDM_Volume, {own, makeForeignPart(numbered(1), 3, 7)});
}

TEST_F(TiffFilesJoin, ImageJStacksOfOneDirectoryAreVolumes) {
    std::vector<Part> parts;
    for (unsigned int index = 0; index < 3; ++index) {
        parts.push_back({geometry3d(eIBT_UInt16, 4, 3, 2), countingBytes(48, 1 + 48 * index)});
        writeRawTiff(numbered(index), {imageJStack("2", parts[index].pixels, greyDirectory(4, 3, 16))});
    }
    expectJoined(eTDM_Volume, parts);
    expectJoined(eTDM_Temporal, parts);
}

TEST_F(TiffFilesJoin, CompressionOrderOfBytesAndKindOfTiffMayDiffer) {
    std::vector<Part> const parts = {makePart(makeVolume(1), 1), makePart(makeVolume(1), 2),
                                     makePart(makeVolume(1), 3)};
    save(numbered(0), parts[0], eTC_None);
    save(numbered(1), parts[1], eTC_Lzw);
    save(numbered(2), parts[2], eTC_Deflate);
    expectJoined(eTDM_Volume, parts);
    expectJoined(eTDM_Volume,
                 {makeForeignPart(numbered(0), 1, 1, "wl"), makeForeignPart(numbered(1), 2, 50, "wb8"),
                  makeForeignPart(numbered(2), 1, 99, "w8")});
}

TEST_F(TiffFilesJoin, WhatIsBlackAndNamesOfChannelsMayDifferAndAreTheFirstFiles) {
    std::vector<Part> parts = {makePart(makeVolume(1, 2), 1), makePart(makeVolume(2, 2), 2)};
    parts[0].pGeometry->getColorGeometry().setMinIsBlack(false);
    parts[0].pGeometry->getColorGeometry().setChannelName("red", 1);
    parts[1].pGeometry->getColorGeometry().setChannelName("green", 1);
    saveAndExpectJoined(eTDM_Volume, parts);
    for (ImagePtr const& pImage : loadAndOpen(eTDM_Volume)) {
        EXPECT_FALSE(pImage->getGeometry().getColorGeometry().minIsBlack());
        EXPECT_EQ(pImage->getGeometry().getColorGeometry().getChannelName(1), "red");
    }
}

TEST_F(TiffFilesJoin, PackedBitsAreOnlyReadAndJoinBytesAlongT) {
    std::vector<Directory> pages = makePages(1);
    std::string const bytes = pages[0].pixels;
    writeTiff(numbered(0), pages);
    pages[0].bits = 1;
    pages[0].pixels = "\x50\xA0\xF0";
    writeTiff(numbered(1), pages);
    std::string const bits("\0\1\0\1\1\0\1\0\1\1\1\1", 12);
    for (ImagePtr const& pImage : loadAndOpen(eTDM_Temporal)) {
        EXPECT_EQ(getTypes(*pImage), (Types{eIBT_UInt8, eIBT_Binary}));
        EXPECT_EQ(readPixels(*pImage), bytes + bits);
    }
    writeTiff(numbered(0), pages);
    for (ImagePtr const& pImage : loadAndOpen(eTDM_Volume)) {
        EXPECT_EQ(pImage->getBufferType(), eIBT_Binary);
        EXPECT_EQ(readPixels(*pImage), bits + bits);
    }
}

// Pixel types

TEST_F(TiffFilesJoin, EveryTimeStepKeepsThePixelTypeOfItsFile) {
    saveAndExpectJoined(eTDM_Temporal, {makePart(makeVolume(2, 2, eIBT_UInt8), 1),
                                        makePart(makeVolume(2, 2, eIBT_Real32), 2),
                                        makePart(makeVolume(2, 2, eIBT_Label16), 3)});
    for (ImagePtr const& pImage : loadAndOpen(eTDM_Temporal)) {
        EXPECT_EQ(getTypes(*pImage), (Types{eIBT_UInt8, eIBT_Real32, eIBT_Label16}));
    }
}

TEST_F(TiffFilesJoin, FilesWhoseTimeStepsDifferAmongThemselvesJoin) {
    ImageGeometryPtr const pSteps = makeHeterogeneous(); // UInt8, Real32, Label16
    VolumeGeometry volume;
    volume.init3d(2);
    ImageGeometryPtr const pOne =
        geometry(eIBT_Int16, 5, 2, volume, pSteps->getColorGeometry(), TemporalGeometry());
    saveAndExpectJoined(eTDM_Temporal, {makePart(pSteps, 1), makePart(pOne, 2), makePart(pSteps, 3)});
    for (ImagePtr const& pImage : loadAndOpen(eTDM_Temporal)) {
        EXPECT_EQ(getTypes(*pImage), (Types{eIBT_UInt8, eIBT_Real32, eIBT_Label16, eIBT_Int16, eIBT_UInt8,
                                            eIBT_Real32, eIBT_Label16}));
    }
}

TEST_F(TiffFilesJoin, FilesOfOneTypeGiveAnImageOfOneType) {
    save({makePart(makeVolume(1), 1), makePart(makeVolumes(1, 2), 2)});
    for (ImagePtr const& pImage : loadAndOpen(eTDM_Temporal)) {
        EXPECT_NE(dynamic_cast<HomogeneousImageGeometry const*>(&pImage->getGeometry()), nullptr);
    }
}

// Modes and order

TEST_F(TiffFilesJoin, TheBufferModeReachesEveryFile) {
    std::vector<Directory> pages = makePages(1);
    writeTiff(numbered(0), pages);
    pages[0].bits = 16;
    writeTiff(numbered(1), pages);
    for (ImagePtr const& pImage : loadAndOpen(eTDM_Temporal, eTBM_Label)) {
        EXPECT_EQ(getTypes(*pImage), (Types{eIBT_Label8, eIBT_Label16}));
    }
    makeForeignPart(numbered(1), 2, 50);
    writeEvenSteps(3);
    std::vector<ImagePtr> images = loadAndOpen(eTDM_Volume, eTBM_Binary);
    images.push_back(loadCustomZStackImageFiles(_folder, getStepsPath(), 3, imaproc::attr::eIP_Linear,
                                                g_numbered, eTBM_Binary));
    for (ImagePtr const& pImage : images) {
        EXPECT_EQ(describeGeometry(pImage->getGeometry()), "x=4 y=3 z=3 c=1 t=1 eIBT_Binary");
    }
}

TEST_F(TiffFilesJoin, AnyOtherDirectoryModeThanTemporalIsTheVolume) {
    std::vector<Part> const parts = {makePart(makeVolume(1), 1), makePart(makeVolume(2), 2)};
    save(parts);
    for (vlUInt64 const mode : {2U, 77U}) {
        for (ImagePtr const& pImage : loadAndOpen(static_cast<eTiffDirectoryMode>(mode))) {
            EXPECT_EQ(readPixels(*pImage), joinAlongZ(parts));
        }
    }
}

TEST_F(TiffFilesJoin, TheFilesStandInTheOrderOfTheirNumbersOrOfTheirNames) {
    std::vector<Part> const parts = {makePart(makeVolume(1), 1), makePart(makeVolume(1), 2)};
    save(at("a2.tif"), parts[0]);
    save(at("a10.tif"), parts[1]);
    writeEvenSteps(2);
    expectJoined(eTDM_Volume, parts);
    expectJoined(eTDM_Temporal, parts);
    for (ImagePtr const& pImage : {load(eTDM_Volume, "a*.tif"), open(eTDM_Temporal, "a?.tif|a??.tif"),
                                   loadStack(2, imaproc::attr::eIP_Linear, "a*.tif")}) {
        EXPECT_EQ(readPixels(*pImage), parts[1].pixels + parts[0].pixels);
    }
}

} // namespace velmo::test
