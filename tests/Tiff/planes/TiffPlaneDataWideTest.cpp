// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "planes/TiffPlaneFixture.h"

namespace velmo::image::file {

using velmo::test::g_noMount;
using velmo::test::onPrivateDisk;

namespace {

/// Rows of 70000 pixels, each a strip. Zeros compress to sizes that 16 bits count, noise does not, so that a
/// directory has to be written anew in the middle of a write.
constexpr vlUInt64 g_wideSizeX = 70000;
constexpr vlUInt64 g_wideSizeY = 5;
constexpr vlUInt64 g_nbWidePixels = g_wideSizeX * g_wideSizeY;

class TiffPlaneDataWideTest : public TiffTest, public testing::WithParamInterface<eTiffCompression> {};

} // namespace

TEST_P(TiffPlaneDataWideTest, AllStripsOfAWriteArriveAndOtherPlanesStayReachable) {
    Planes const planes =
        createPlanes(_path, makeGeometry(eIBT_UInt8, {g_wideSizeX, g_wideSizeY, 4}), GetParam());
    std::vector<std::string> expected(4, std::string(g_nbWidePixels, '\0'));
    for (unsigned int const z : {1U, 3U, 0U, 2U}) {
        expected[z] = noise(g_nbWidePixels, z);
        planes.writePlane(expected[z], z);
        for (unsigned int other = 0; other < 4; ++other) {
            EXPECT_TRUE(planes.readPlane(other) == expected[other]) << other << " behind the write of " << z;
        }
    }
    expectDirectories(_path, expected);
}

TEST_P(TiffPlaneDataWideTest, AWriteFromTheMiddleOfAStripToTheMiddleOfAnotherArrives) {
    Planes const planes =
        createPlanes(_path, makeGeometry(eIBT_UInt8, {g_wideSizeX, g_wideSizeY, 3}), GetParam());
    std::string const pixels = noise(200000);
    planes.write({1, 0, 0, 50000, 200000}, pixels);
    std::string const zeros(g_nbWidePixels, '\0');
    expectDirectories(_path, {zeros, std::string(zeros).replace(50000, 200000, pixels), zeros});
}

TEST_P(TiffPlaneDataWideTest, StoredGeometryAndUserPropertiesOutliveTheNewDirectory) {
    TIFF* pTiff = nullptr;
    ImageGeometryPtr const pGeometry = makeGeometry(eIBT_Label8, {g_wideSizeX, g_wideSizeY, 2});
    ASSERT_THAT(createTiffFile(_path, *pGeometry, nullptr, "free text", GetParam(), pTiff), Succeeds());
    Planes{_path, TiffPtr(pTiff), pGeometry}.writePlane(noise(g_nbWidePixels));
    Planes const planes = openPlanes(_path);
    EXPECT_EQ(planes.pGeometry->getBufferType(), eIBT_Label8);
    EXPECT_TRUE(planes.readPlane() == noise(g_nbWidePixels));
    EXPECT_EQ(findText(openPlain(_path, "r", 1), TIFFTAG_PAGENAME), "T=0 C=0 Z=1");
    EXPECT_EQ(OpenedTiff(_path).userProperties, "free text");
}

TEST_P(TiffPlaneDataWideTest, AnOpenedFileIsWrittenAsWellAlsoThroughAHandleOfLibtiffAlone) {
    for (bool const bPlain : {false, true}) {
        createPlanes(_path, makeGeometry(eIBT_UInt8, {g_wideSizeX, g_wideSizeY, 3}), GetParam());
        {
            Planes planes = openPlanesForWriting(_path);
            if (bPlain) {
                planes.pTiff = openPlain(_path, "r+");
            }
            planes.writePlane(noise(g_nbWidePixels, 1), 1);
            planes.writePlane(noise(g_nbWidePixels, 0), 0);
            EXPECT_TRUE(planes.readPlane(1) == noise(g_nbWidePixels, 1));
        }
        expectDirectories(
            _path, {noise(g_nbWidePixels, 0), noise(g_nbWidePixels, 1), std::string(g_nbWidePixels, '\0')});
    }
}

TEST_P(TiffPlaneDataWideTest, AllChannelsOfRgbArrive) {
    Planes const planes =
        createPlanes(_path, makeColorGeometry(eCGT_Rgb, eIBT_UInt8, {30000, 4, 2}), GetParam());
    Channels const channels = {noise(120000, 1), noise(120000, 2), noise(120000, 3)};
    planes.writeRgb(planes.wholePlane(1), channels);
    EXPECT_TRUE(planes.readRgb(planes.wholePlane(1)) == channels);
    for (unsigned int channel = 0; channel < 3; ++channel) {
        planes.writePlane(channels[2 - channel], 0, channel);
    }
    expectDirectories(_path,
                      {interleave({channels[2], channels[1], channels[0]}, 1), interleave(channels, 1)});
}

INSTANTIATE_TEST_SUITE_P(Compressions, TiffPlaneDataWideTest,
                         testing::Values(eTC_None, eTC_Lzw, eTC_Deflate));

namespace {

class TiffPlaneDataSpaceTest : public TiffTest {
  protected:
    path const _disk = _folder / "disk";
};

std::string tryCreate(path const& path, PlaneSizes const& sizes, eTiffCompression compression) {
    TIFF* pTiff = nullptr;
    std::string const text =
        toText(createTiffFile(path, *makeGeometry(eIBT_UInt8, sizes), nullptr, compression, pTiff));
    return pTiff == nullptr && countDescriptors(path) == 0 ? text : "open";
}

} // namespace

TEST_F(TiffPlaneDataSpaceTest, CreatingAFileThatDoesNotFitNamesTheDirectory) {
    std::string const text = onPrivateDisk(_disk, std::size_t{256} << 10U, [&] {
        return tryCreate(_disk / "planes.tif", {300, 200, 8}, eTC_None);
    });
    if (text == g_noMount) {
        GTEST_SKIP() << text;
    }
    EXPECT_THAT(text,
                testing::MatchesRegex("Failed to initialize strip data of directory 4 for file .*planes.tif\n"
                                      "Tiff Error : Write error at scanline [0-9]+: No space left on "
                                      "device"));
}

TEST_F(TiffPlaneDataSpaceTest, UncompressedPlanesHaveTheirSpaceFromTheirCreation) {
    std::string const text = onPrivateDisk(_disk, std::size_t{256} << 10U, [&]() -> std::string {
        Planes const planes = createPlanes(_disk / "planes.tif", makeGeometry(eIBT_UInt8, {300, 200, 4}));
        velmo::test::fillDisk(_disk / "filler", 0); // takes what is left
        bool bWritten = true;
        for (vlUInt64 z = 0; z < 4; ++z) {
            bWritten = bWritten && planes.tryWrite(planes.wholePlane(z));
        }
        return bWritten && planes.readPlane(3) == noise(60000) ? "written" : "lost";
    });
    if (text == g_noMount) {
        GTEST_SKIP() << text;
    }
    EXPECT_EQ(text, "written");
}

} // namespace velmo::image::file
