// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "planes/TiffPlaneFixture.h"

namespace velmo::image::file {

namespace {

/// Planes of 100 x 200 pixels: strips of 81, 81 and 38 rows.
constexpr vlUInt64 g_nbBoundsPixels = 20000;
constexpr vlUInt64 g_huge = vlUInt64(1) << 40U;

constexpr PixelRun g_runsBeyond[] = {{0, 0, 0, NumericLimits<vlUInt64>::s_max - 9, 20},
                                     {0, 0, 0, g_nbBoundsPixels - 10, 20},
                                     {0, 0, 0, 16200, 3801},
                                     {0, 0, 0, 0, g_nbBoundsPixels + 1},
                                     {0, 0, 0, g_nbBoundsPixels - 10, 9000},
                                     {0, 0, 0, g_nbBoundsPixels, 1},
                                     {0, 0, 0, g_nbBoundsPixels + 5000, 1},
                                     {0, 0, 0, g_huge * 20000000, 3},
                                     {0, 0, 0, g_huge, 100}};

vlUInt64 lastStripOf(PixelRun const& run) {
    return std::max<vlUInt64>(run.start / 8100, 2); // where the plane ends, or where the run begins behind it
}

class TiffPlaneDataBoundsTest : public TiffTest, public testing::WithParamInterface<std::uint16_t> {
  protected:
    /// Two pages whose last strips have their true size, with what follows them directly behind.
    void writeExample(std::uint16_t samples) const {
        Directory directory = stripDirectory(100, 200, 81, GetParam(), samples);
        directory.pixels = noise(directory.countBytes());
        writeTiff(_path, {directory, directory});
    }

    Planes openAs(ImageGeometryPtr const& pGeometry) const {
        Planes planes = openPlanesForWriting(_path);
        planes.pGeometry = pGeometry;
        return planes;
    }
};

using TiffPlaneDataForeignHandleTest = TiffTest;

} // namespace

TEST_P(TiffPlaneDataBoundsTest, ARunThatLeavesItsPlaneIsAFailureAndChangesNothing) {
    writeExample(1);
    std::string const before = readFile(_path);
    {
        Planes const planes = openPlanesForWriting(_path);
        for (PixelRun const& run : g_runsBeyond) {
            EXPECT_THAT(planes.tryRead(run), FailsLike(readStripFailed(lastStripOf(run), run, _path)))
                << run.start << '+' << run.count;
            if (run.start >= 16200) { // what lies before is written
                EXPECT_FALSE(planes.tryWrite(run)) << run.start << '+' << run.count;
            }
        }
    }
    EXPECT_TRUE(readFile(_path) == before);
    expectDirectories(_path, {noise(g_nbBoundsPixels), noise(g_nbBoundsPixels)});
}

TEST_P(TiffPlaneDataBoundsTest, ARunThatLeavesItsPageOverrunsNothing) {
    writeExample(3);
    {
        Planes const planes = openPlanesForWriting(_path);
        for (PixelRun const& run : g_runsBeyond) {
            EXPECT_FALSE(planes.tryReadRgb(run)) << run.start << '+' << run.count;
            planes.tryRead(run);
            if (run.start >= 16200) {
                planes.tryWriteRgb(run);
                planes.tryWrite(run);
            }
        }
    }
    std::string const page = noise(3 * g_nbBoundsPixels);
    EXPECT_TRUE(readDirectoryPixels(_path, 1) == page);
    EXPECT_TRUE(readDirectoryPixels(_path, 0).substr(0, 3 * 16200) == page.substr(0, 3 * 16200));
    EXPECT_EQ(countDirectories(_path), 2U);
}

TEST_P(TiffPlaneDataBoundsTest, AGeometryThatIsNotTheFilesOverrunsNothing) {
    for (PlaneSizes const& sizes : {PlaneSizes{100, 400}, PlaneSizes{300, 200}, PlaneSizes{50, 200},
                                    PlaneSizes{100, 20}, PlaneSizes{3, 3}, PlaneSizes{1000, 1000}}) {
        for (eImageBufferType const bufferType : {eIBT_UInt8, eIBT_Real32}) {
            ImageGeometryPtr const pGrey = makeGeometry(bufferType, sizes);
            ImageGeometryPtr const pRgba = makeColorGeometry(eCGT_Rgba, bufferType, sizes);
            bool const bLarger = sizes.x * sizes.y > g_nbBoundsPixels;
            writeExample(1);
            std::string const before = readFile(_path);
            EXPECT_FALSE(bLarger && plainPlanes(_path, "r", pGrey).tryRead({0, 0, 0, 0, sizes.x * sizes.y}));
            EXPECT_FALSE(bLarger && openAs(pGrey).tryRead({0, 0, 0, 0, sizes.x * sizes.y}));
            EXPECT_TRUE(readFile(_path) == before);
            openAs(pGrey).tryWrite({0, 0, 0, 0, sizes.x * sizes.y});
            writeExample(4);
            EXPECT_FALSE(bLarger && openAs(pRgba).tryReadRgb({0, 0, 0, 0, sizes.x * sizes.y}));
            openAs(pRgba).tryRead({0, 3, 0, 0, sizes.x * sizes.y});
            if (GetParam() != COMPRESSION_NONE) { // for which libtiff itself loses its way
                openAs(pRgba).tryWriteRgb({0, 0, 0, 0, sizes.x * sizes.y});
                openAs(pRgba).tryWrite({0, 3, 0, 0, sizes.x * sizes.y});
            }
            EXPECT_TRUE(readDirectoryPixels(_path, 1) == noise(4 * g_nbBoundsPixels))
                << sizes.x << 'x' << sizes.y;
        }
    }
}

TEST_P(TiffPlaneDataBoundsTest, GeometriesWithoutPixelsHaveACleanOutcome) {
    writeExample(3);
    std::string const before = readFile(_path);
    for (PlaneSizes const& sizes : {PlaneSizes{0, 3}, PlaneSizes{4, 0}, PlaneSizes{0, 0}}) {
        Planes const planes = openAs(makeColorGeometry(eCGT_Rgb, eIBT_UInt8, sizes));
        planes.read({0, 0, 0, 0, 0});
        planes.readRgb({0, 0, 0, 0, 0});
        for (vlUInt64 const start : {0U, 5U}) {
            planes.tryRead({0, 0, 0, start, 1}); // black, or a failure
            EXPECT_FALSE(planes.tryReadRgb({0, 0, 0, start, 1}));
            EXPECT_FALSE(planes.tryWrite({0, 0, 0, start, 1}));
        }
    }
    EXPECT_TRUE(readFile(_path) == before);
}

INSTANTIATE_TEST_SUITE_P(Compressions, TiffPlaneDataBoundsTest,
                         testing::Values(std::uint16_t(COMPRESSION_NONE), std::uint16_t(COMPRESSION_LZW),
                                         std::uint16_t(COMPRESSION_ADOBE_DEFLATE)));

TEST_F(TiffPlaneDataForeignHandleTest, TheHandleOfACreatedFileIsATargetOfLibtiffItself) {
    for (eTiffCompression const compression : {eTC_None, eTC_Lzw, eTC_Deflate}) {
        Planes const planes = createPlanes(_path, makeGeometry(eIBT_UInt8, {100, 200, 3}), compression);
        ASSERT_EQ(TIFFSetDirectory(planes.pTiff.get(), 1), 1);
        std::string strip = noise(8100);
        EXPECT_EQ(TIFFWriteEncodedStrip(planes.pTiff.get(), 1, strip.data(), 8100), 8100);
        EXPECT_EQ(TIFFFlush(planes.pTiff.get()), 1);
        EXPECT_TRUE(planes.read({1, 0, 0, 8100, 8100}) == noise(8100));
        ASSERT_EQ(TIFFSetDirectory(planes.pTiff.get(), 2), 1);
        EXPECT_EQ(findText(planes.pTiff, TIFFTAG_PAGENAME), "T=0 C=0 Z=2");
        EXPECT_TRUE(planes.readPlane(2) == std::string(g_nbBoundsPixels, '\0'));
    }
}

TEST_F(TiffPlaneDataForeignHandleTest, ADirectoryThatTheCallerAddsIsReached) {
    Planes const planes = createPlanes(_path, makeGeometry(eIBT_UInt8, {4, 3, 1}));
    planes.writePlane("abcdefghijkl");
    ASSERT_EQ(TIFFSetDirectory(planes.pTiff.get(), 0), 1);
    TIFFFreeDirectory(planes.pTiff.get());
    TIFFCreateDirectory(planes.pTiff.get());
    for (auto const& [tag, value] : std::map<std::uint32_t, int>{{TIFFTAG_IMAGEWIDTH, 4},
                                                                 {TIFFTAG_IMAGELENGTH, 3},
                                                                 {TIFFTAG_BITSPERSAMPLE, 8},
                                                                 {TIFFTAG_PHOTOMETRIC, 1},
                                                                 {TIFFTAG_ROWSPERSTRIP, 3}}) {
        TIFFSetField(planes.pTiff.get(), tag, value);
    }
    std::string strip = "mnopqrstuvwx";
    EXPECT_EQ(TIFFWriteEncodedStrip(planes.pTiff.get(), 0, strip.data(), 12), 12);
    EXPECT_EQ(TIFFWriteDirectory(planes.pTiff.get()), 1);
    ASSERT_EQ(TIFFSetDirectory(planes.pTiff.get(), 0), 1);
    EXPECT_EQ(planes.readPlane(1), "mnopqrstuvwx");
    EXPECT_EQ(planes.readPlane(0), "abcdefghijkl");
}

} // namespace velmo::image::file
