// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "TiffFilesFixture.h"

namespace velmo::test {

using namespace image;
using namespace image::file;

namespace {

class TiffFilesTemporal : public TiffFiles {
  protected:
    std::vector<ImagePtr> loadAndOpen(eTiffBufferMode bufferMode = eTBM_Default) const {
        return {load(eTDM_Temporal, g_numbered, bufferMode), open(eTDM_Temporal, g_numbered, bufferMode)};
    }

    void expectJoined(std::vector<Part> const& parts) const {
        vlUInt64 sizeT = 0;
        for (Part const& part : parts) {
            sizeT += part.pGeometry->getSizeT();
        }
        BaseImageGeometry const& first = *parts.front().pGeometry;
        for (ImagePtr const& pImage : loadAndOpen()) {
            EXPECT_EQ(pImage->getGeometry().getSizeT(), sizeT);
            EXPECT_EQ(pImage->getTemporalGeometryType(), eTGT_Sequence);
            EXPECT_EQ(pImage->getGeometry().getSizeZ(), first.getSizeZ());
            EXPECT_EQ(pImage->getGeometry().getVolumeGeometryType(), first.getVolumeGeometryType());
            EXPECT_EQ(pImage->getGeometry().getColorGeometryType(), first.getColorGeometryType());
            EXPECT_EQ(readPixels(*pImage), joinAlongT(parts));
        }
    }

    void saveAndExpectJoined(std::vector<Part> const& parts) const {
        save(parts);
        expectJoined(parts);
    }
};

std::vector<eImageBufferType> getTypes(BaseImage const& image) {
    std::vector<eImageBufferType> types;
    for (vlUInt64 t = 0; t < image.getGeometry().getSizeT(); ++t) {
        types.push_back(image.getGeometry().getPlanGeometry(t).getBufferType());
    }
    return types;
}

/// 5 x 2 pixels in 2 planes of RGB, like makeHeterogeneous.
ImageGeometryPtr makeRgbVolume(eImageBufferType bufferType) {
    VolumeGeometry volume;
    volume.init3d(2);
    ColorGeometry color;
    color.initRgb();
    return geometry(bufferType, 5, 2, volume, color, TemporalGeometry());
}

} // namespace

// Time steps

TEST_F(TiffFilesTemporal, EachFileIsATimeStep) {
    saveAndExpectJoined(
        {makePart(makeVolume(3, 2), 1), makePart(makeVolume(3, 2), 2), makePart(makeVolume(3, 2), 3)});
}

TEST_F(TiffFilesTemporal, PlanesOf2dImagesStay2d) {
    ImageGeometryPtr const pPlane =
        geometry(eIBT_UInt8, 5, 3, VolumeGeometry(), ColorGeometry(), TemporalGeometry());
    saveAndExpectJoined({makePart(pPlane, 1), makePart(pPlane, 2)});
}

TEST_F(TiffFilesTemporal, FilesOfSeveralTimeStepsFollowEachOther) {
    saveAndExpectJoined({makePart(makeVolumes(2, 3), 1), makePart(makeVolume(2), 2),
                         makePart(makeVolumes(2, 2), 3), makePart(makeVolumes(2, 1), 4)});
}

TEST_F(TiffFilesTemporal, TheDirectoriesOfEachForeignFileAreAVolumeOfOneTimeStep) {
    std::vector<Part> parts;
    for (unsigned int index = 0; index < 2; ++index) {
        std::vector<Directory> pages = makePages(3);
        Part part{geometry3d(eIBT_UInt8, 4, 3, 3), countingBytes(36, 1 + 100 * index)};
        for (std::size_t page = 0; page < 3; ++page) {
            pages[page].pixels = part.pixels.substr(12 * page, 12);
        }
        writeTiff(numbered(index), pages);
        parts.push_back(part);
    }
    expectJoined(parts);
}

TEST_F(TiffFilesTemporal, ColoursThatLieSideBySideJoin) {
    saveAndExpectJoined({makePart(makeRgbVolume(eIBT_UInt8), 1), makePart(makeRgbVolume(eIBT_UInt8), 2)});
}

TEST_F(TiffFilesTemporal, ImageJStacksOfOneDirectoryAreVolumes) {
    std::vector<Part> parts;
    for (unsigned int index = 0; index < 3; ++index) {
        RawDirectory directory = greyDirectory(4, 3, 16);
        directory.set(TIFFTAG_IMAGEDESCRIPTION, ascii("ImageJ=1.53\nimages=2\n"));
        directory.pixels = countingBytes(48, 1 + 48 * index);
        writeRawTiff(numbered(index), {directory});
        parts.push_back({geometry3d(eIBT_UInt16, 4, 3, 2), directory.pixels});
    }
    expectJoined(parts);
}

// Pixel types

TEST_F(TiffFilesTemporal, EveryTimeStepKeepsThePixelTypeOfItsFile) {
    saveAndExpectJoined({makePart(makeVolume(2, 2, eIBT_UInt8), 1),
                         makePart(makeVolume(2, 2, eIBT_Real32), 2),
                         makePart(makeVolume(2, 2, eIBT_Label16), 3)});
    for (ImagePtr const& pImage : loadAndOpen()) {
        EXPECT_EQ(getTypes(*pImage), (std::vector<eImageBufferType>{eIBT_UInt8, eIBT_Real32, eIBT_Label16}));
    }
}

TEST_F(TiffFilesTemporal, FilesWhoseTimeStepsDifferAmongThemselvesJoin) {
    ImageGeometryPtr const pSteps = makeHeterogeneous(); // UInt8, Real32, Label16
    saveAndExpectJoined({makePart(pSteps, 1), makePart(makeRgbVolume(eIBT_Int16), 2), makePart(pSteps, 3)});
    for (ImagePtr const& pImage : loadAndOpen()) {
        EXPECT_EQ(getTypes(*pImage),
                  (std::vector<eImageBufferType>{eIBT_UInt8, eIBT_Real32, eIBT_Label16, eIBT_Int16,
                                                 eIBT_UInt8, eIBT_Real32, eIBT_Label16}));
    }
}

TEST_F(TiffFilesTemporal, FilesOfOneTypeGiveAnImageOfOneType) {
    save({makePart(makeVolume(1), 1), makePart(makeVolumes(1, 2), 2)});
    for (ImagePtr const& pImage : loadAndOpen()) {
        EXPECT_NE(dynamic_cast<HomogeneousImageGeometry const*>(&pImage->getGeometry()), nullptr);
    }
}

TEST_F(TiffFilesTemporal, TheBufferModeReachesEveryFile) {
    std::vector<Directory> pages = makePages(1);
    writeTiff(numbered(0), pages);
    pages[0].bits = 16;
    writeTiff(numbered(1), pages);
    std::map<eTiffBufferMode, std::vector<eImageBufferType>> const expected = {
        {eTBM_Default, {eIBT_UInt8, eIBT_UInt16}}, {eTBM_Label, {eIBT_Label8, eIBT_Label16}}};
    for (auto const& [bufferMode, types] : expected) {
        for (ImagePtr const& pImage : loadAndOpen(bufferMode)) {
            EXPECT_EQ(getTypes(*pImage), types);
        }
    }
}

TEST_F(TiffFilesTemporal, PackedBitsAndBytesJoin) {
    std::vector<Directory> pages = makePages(1);
    std::string const bytes = pages[0].pixels;
    writeTiff(numbered(0), pages);
    pages[0].bits = 1;
    pages[0].pixels = "\x50\xA0\xF0";
    writeTiff(numbered(1), pages);
    for (ImagePtr const& pImage : loadAndOpen()) {
        EXPECT_EQ(getTypes(*pImage), (std::vector<eImageBufferType>{eIBT_UInt8, eIBT_Binary}));
        EXPECT_EQ(readPixels(*pImage), bytes + std::string("\0\1\0\1\1\0\1\0\1\1\1\1", 12));
    }
}

// The order

TEST_F(TiffFilesTemporal, TheFilesStandInTheOrderOfTheirNumbersOrOfTheirNames) {
    std::vector<Part> const parts = {makePart(makeVolume(1), 1), makePart(makeVolumes(1, 2), 2)};
    save(at("a2.tif"), parts[0]);
    save(at("a10.tif"), parts[1]);
    expectJoined(parts);
    EXPECT_EQ(readPixels(*load(eTDM_Temporal, "a*")), parts[1].pixels + parts[0].pixels);
    EXPECT_EQ(readPixels(*open(eTDM_Temporal, "a*")), parts[1].pixels + parts[0].pixels);
}

} // namespace velmo::test
