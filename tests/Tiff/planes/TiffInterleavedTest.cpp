// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CapturedLog.h"
#include "ThrownText.h"
#include "planes/TiffPlaneFixture.h"
#include <VELMOImageFile/VELMOImageFileException.h>
#include <VELMOImageFile/VELMOImageFileLog.h>
#include <log4cplus/loglevel.h>

namespace velmo::image::file {

namespace {

constexpr eTiffCompression g_pageCompressions[] = {eTC_None, eTC_Lzw, eTC_Deflate};

/// Pages of 50 x 90 pixels of three bytes: strips of 54 and 36 rows.
constexpr PlaneSizes g_sizes{50, 90, 2, 1, 2};
constexpr vlUInt64 g_stripPixels = 2700;
constexpr vlUInt64 g_nbInterleavedPixels = 4500;

constexpr PixelRun g_runs[] = {{1, 0, 1, 0, 1},
                               {1, 0, 1, 17, 100},
                               {1, 0, 1, 0, g_stripPixels},
                               {1, 0, 1, g_stripPixels - 1, 2},
                               {1, 0, 1, g_stripPixels - 400, 1000},
                               {1, 0, 1, g_stripPixels, g_nbInterleavedPixels - g_stripPixels},
                               {1, 0, 1, g_stripPixels + 33, 400},
                               {1, 0, 1, g_nbInterleavedPixels - 1, 1},
                               {1, 0, 1, 3, g_nbInterleavedPixels - 3},
                               {1, 0, 1, 0, g_nbInterleavedPixels}};

Channels noiseOf(std::size_t nbChannels, vlUInt64 nbBytes, unsigned int seed = 1) {
    Channels channels;
    for (std::size_t channel = 0; channel < nbChannels; ++channel) {
        channels.push_back(noise(nbBytes, 10 * seed + static_cast<unsigned int>(channel)));
    }
    return channels;
}

Channels cut(Channels const& channels, vlUInt64 begin, vlUInt64 nbBytes) {
    Channels parts;
    for (std::string const& channel : channels) {
        parts.push_back(channel.substr(begin, nbBytes));
    }
    return parts;
}

class TiffInterleavedTest : public TiffTest, public testing::WithParamInterface<eTiffCompression> {
  protected:
    Planes createExample() const {
        return createPlanes(_path, makeColorGeometry(eCGT_Rgb, eIBT_UInt8, g_sizes), GetParam());
    }
};

using TiffInterleavedPagesTest = TiffTest;

} // namespace

TEST_P(TiffInterleavedTest, AllPagesAreWrittenAndReadBack) {
    Planes const planes = createExample();
    std::vector<std::string> expected;
    for (unsigned int page = 0; page < 4; ++page) {
        Channels const channels = noiseOf(3, g_nbInterleavedPixels, page);
        planes.writeRgb(planes.wholePlane(page % 2, 0, page / 2), channels);
        expected.push_back(interleave(channels, 1));
        EXPECT_TRUE(planes.readRgb(planes.wholePlane(page % 2, 0, page / 2)) == channels) << page;
    }
    expectDirectories(_path, expected);
    EXPECT_TRUE(openPlanes(_path).readRgb(planes.wholePlane(1, 0, 1)) ==
                noiseOf(3, g_nbInterleavedPixels, 3));
}

TEST_P(TiffInterleavedTest, PartsAreWrittenAndAllOtherPixelsStay) {
    Channels channels = noiseOf(3, g_nbInterleavedPixels);
    Planes const planes = createExample();
    planes.writeRgb(planes.wholePlane(1, 0, 1), channels);
    unsigned int seed = 10;
    for (PixelRun const& run : g_runs) {
        Channels const parts = noiseOf(3, run.count, ++seed);
        planes.writeRgb(run, parts);
        EXPECT_TRUE(planes.readRgb(run) == parts) << run.start << '+' << run.count;
        for (std::size_t channel = 0; channel < 3; ++channel) {
            channels[channel].replace(run.start, run.count, parts[channel]);
        }
        EXPECT_TRUE(readDirectoryPixels(_path, 3) == interleave(channels, 1))
            << run.start << '+' << run.count;
    }
    EXPECT_TRUE(readDirectoryPixels(_path, 2) == std::string(3 * g_nbInterleavedPixels, '\0'));
}

TEST_P(TiffInterleavedTest, RgbaHasFourChannelsOfWhichAReaderMayLeaveTheLast) {
    ImageGeometryPtr const pGeometry = makeColorGeometry(eCGT_Rgba, eIBT_UInt16, g_sizes);
    Channels const channels = noiseOf(4, 2 * g_nbInterleavedPixels);
    createPlanes(_path, pGeometry, GetParam())
        .writeRgb({1, 0, 0, 0, g_nbInterleavedPixels}, channels); // the first access
    EXPECT_TRUE(readDirectoryPixels(_path, 1) == interleave(channels, 2));
    Planes const planes = createPlanes(_path, pGeometry, GetParam());
    EXPECT_TRUE(planes.readRgb(planes.wholePlane(1, 0, 1)) ==
                Channels(4, std::string(2 * g_nbInterleavedPixels, '\0'))); // the first access as well
    planes.writeRgb(planes.wholePlane(1), channels);
    EXPECT_TRUE(planes.readRgb(planes.wholePlane(1)) == channels);
    Channels colors(3);
    EXPECT_THAT(planes.tryReadRgb(planes.wholePlane(1), colors), Succeeds());
    EXPECT_TRUE(colors == Channels(channels.begin(), channels.begin() + 3));
}

TEST_P(TiffInterleavedTest, ChannelsAndPagesAreTheSamePixels) {
    Planes const planes = createExample();
    Channels const channels = noiseOf(3, g_nbInterleavedPixels);
    for (unsigned int channel = 0; channel < 3; ++channel) {
        planes.writePlane(channels[channel], 1, channel, 0);
    }
    EXPECT_TRUE(planes.readRgb(planes.wholePlane(1)) == channels);
    planes.writeRgb(planes.wholePlane(0, 0, 1), {channels[2], channels[0], channels[1]});
    EXPECT_TRUE(planes.readPlane(0, 1, 1) == channels[0]);
}

TEST_P(TiffInterleavedTest, AHandleOfLibtiffAloneWorksAsWell) {
    ImageGeometryPtr const pGeometry = createExample().pGeometry;
    Planes const planes = plainPlanes(_path, "r+", pGeometry);
    Channels channels = noiseOf(3, g_nbInterleavedPixels);
    planes.writeRgb(planes.wholePlane(1), channels);
    planes.writeRgb({1, 0, 0, 2690, 3}, Channels(3, "abc"));
    for (std::string& channel : channels) {
        channel.replace(2690, 3, "abc");
    }
    EXPECT_TRUE(planes.readRgb(planes.wholePlane(1)) == channels);
    EXPECT_TRUE(readDirectoryPixels(_path, 1) == interleave(channels, 1));
}

INSTANTIATE_TEST_SUITE_P(Compressions, TiffInterleavedTest, testing::ValuesIn(g_pageCompressions));

TEST_F(TiffInterleavedPagesTest, AForeignBigEndianFileWithPredictorIsReadAndWrittenInParts) {
    Directory directory = stripDirectory(20, 11, 4, COMPRESSION_LZW, 4, 16);
    directory.tags[TIFFTAG_PREDICTOR] = std::uint16_t(PREDICTOR_HORIZONTAL);
    directory.pixels = noise(directory.countBytes());
    writeTiff(_path, {directory, directory, directory}, "wb");
    Channels channels = pickChannels(directory.pixels, 4, 2);
    Planes const planes = openPlanesForWriting(_path);
    EXPECT_TRUE(planes.readRgb({1, 0, 0, 75, 100}) == cut(channels, 150, 200));
    planes.writeRgb({1, 0, 0, 75, 100}, noiseOf(4, 200));
    for (std::size_t channel = 0; channel < 4; ++channel) {
        channels[channel].replace(150, 200, noiseOf(4, 200)[channel]);
    }
    expectDirectories(_path, {directory.pixels, interleave(channels, 2), directory.pixels});
}

TEST_F(TiffInterleavedPagesTest, DirectoriesAreCountedModulo65536) {
    Planes const planes = createPlanes(_path, makeColorGeometry(eCGT_Rgb, eIBT_UInt8, {4, 3, 2}));
    Channels const channels = {"abcdefghijkl", "mnopqrstuvwx", "ABCDEFGHIJKL"};
    planes.writeRgb({65537, 0, 0, 0, 12}, channels);
    EXPECT_EQ(readDirectoryPixels(_path, 1), interleave(channels, 1));
    EXPECT_EQ(planes.readRgb({1, 0, 32768, 0, 12}), channels);
}

namespace {

struct Width {
    eImageBufferType bufferType;
    vlUInt64 nbBytes;
    friend void PrintTo(Width const& width, std::ostream* pStream) { *pStream << width.bufferType; }
};

class TiffInterleavedCopiesTest : public testing::TestWithParam<Width> {
  protected:
    std::string toPlane(vlUInt64 nbChannels, vlUInt64 channel, vlUInt64 nbPixels,
                        std::string const& pixels) const {
        std::string plane(nbPixels * GetParam().nbBytes + 1, '#');
        colorToPlan(GetParam().bufferType, nbChannels, channel, nbPixels, pixels.data(), plane.data());
        EXPECT_EQ(plane.back(), '#'); // nothing behind the pixels
        plane.pop_back();
        return plane;
    }
};

using TiffInterleavedRefusalsTest = testing::TestWithParam<eImageBufferType>;

} // namespace

TEST_P(TiffInterleavedCopiesTest, AChannelIsPickedOutOfItsPixels) {
    for (vlUInt64 nbChannels = 1; nbChannels <= 5; ++nbChannels) {
        std::string const pixels = noise(17 * nbChannels * GetParam().nbBytes);
        EXPECT_EQ(toPlane(nbChannels, 0, 0, pixels), "");
        for (vlUInt64 channel = 0; channel < nbChannels; ++channel) {
            EXPECT_EQ(toPlane(nbChannels, channel, 17, pixels),
                      pickChannel(pixels, nbChannels, channel, GetParam().nbBytes));
        }
    }
}

TEST_P(TiffInterleavedCopiesTest, AChannelIsPutAmongTheOthersWhichStay) {
    for (vlUInt64 nbChannels = 1; nbChannels <= 5; ++nbChannels) {
        std::string pixels = noise(17 * nbChannels * GetParam().nbBytes);
        Channels channels = pickChannels(pixels, nbChannels, GetParam().nbBytes);
        for (vlUInt64 channel = 0; channel < nbChannels; ++channel) {
            channels[channel] = noise(17 * GetParam().nbBytes, 9);
            planToColor(GetParam().bufferType, nbChannels, channel, 17, channels[channel].data(),
                        pixels.data());
            EXPECT_EQ(pixels, interleave(channels, GetParam().nbBytes));
        }
    }
}

TEST_P(TiffInterleavedCopiesTest, PixelsNeedNoAlignment) {
    std::string const pixels = noise(9 * 3 * GetParam().nbBytes + 1);
    std::string plane(9 * GetParam().nbBytes + 3, '#');
    colorToPlan(GetParam().bufferType, 3, 2, 9, pixels.data() + 1, plane.data() + 3);
    EXPECT_EQ(plane.substr(3), pickChannel(pixels.substr(1), 3, 2, GetParam().nbBytes));
}

INSTANTIATE_TEST_SUITE_P(BufferTypes, TiffInterleavedCopiesTest,
                         testing::Values(Width{eIBT_Int8, 1}, Width{eIBT_UInt8, 1}, Width{eIBT_Label8, 1},
                                         Width{eIBT_Binary, 1}, Width{eIBT_Int16, 2}, Width{eIBT_UInt16, 2},
                                         Width{eIBT_Label16, 2}, Width{eIBT_Int32, 4}, Width{eIBT_UInt32, 4},
                                         Width{eIBT_Label32, 4}, Width{eIBT_Real32, 4}));

TEST_P(TiffInterleavedRefusalsTest, ATypeWithoutPixelsIsLoggedAndThrown) {
    std::string const pixels(64, 'p');
    std::string target(64, 't');
    velmo::test::CapturedLog const log(getVELMOImageFileLogger());
    std::string const text = "Invalid image buffer type enum value 0";
    EXPECT_EQ(velmo::test::thrownText<VELMOImageFileException>(
                  [&] { colorToPlan(GetParam(), 3, 0, 4, pixels.data(), target.data()); }),
              text);
    EXPECT_EQ(velmo::test::thrownText<VELMOImageFileException>(
                  [&] { planToColor(GetParam(), 1, 0, 4, pixels.data(), target.data()); }),
              text);
    ASSERT_EQ(log.getRecords().size(), 2U);
    for (auto const& record : log.getRecords()) {
        EXPECT_EQ(record.level, log4cplus::ERROR_LOG_LEVEL);
        EXPECT_EQ(record.message, text);
    }
    EXPECT_EQ(target, std::string(64, 't'));
}

INSTANTIATE_TEST_SUITE_P(BufferTypes, TiffInterleavedRefusalsTest,
                         testing::Values(eIBT_None, static_cast<eImageBufferType>(12),
                                         static_cast<eImageBufferType>(g_atPixels)));

namespace {

constexpr vlUInt64 g_nbRunPixels = 7;

/// A page of 10 x 4 RGB or RGBA pixels of 16 bits that holds noise.
class TiffInterleavedPointersTest : public TiffTest, public testing::WithParamInterface<eTiffCompression> {
  protected:
    static constexpr vlUInt64 g_nbPagePixels = 40;

    Planes createPage(eColorGeometryType colorType) {
        Planes planes = createPlanes(_path, makeColorGeometry(colorType, eIBT_UInt16, {10, 4}), GetParam());
        vlUInt64 const sizeC = planes.pGeometry->getSizeC();
        _channels = pickChannels(noise(2 * g_nbPagePixels * sizeC), sizeC, 2);
        planes.writeRgb(planes.wholePlane(), _channels);
        return planes;
    }

    /// Writes four different channels over a run, and over those of `_channels` that the file has.
    void writeFour(Planes const& planes, PixelRun const& run) {
        Channels const four = pickChannels(noise(8 * run.count, 7), 4, 2);
        EXPECT_THAT(planes.tryWriteRgb(run, four), Succeeds());
        for (std::size_t channel = 0; channel < _channels.size(); ++channel) {
            _channels[channel].replace(2 * run.start, 2 * run.count, four[channel]);
        }
        EXPECT_TRUE(readDirectoryPixels(_path, 0) == interleave(_channels, 2));
    }

    Channels _channels;
};

} // namespace

TEST_P(TiffInterleavedPointersTest, AFourthPointerIsWrittenOfFourChannelsAlone) {
    for (eColorGeometryType const colorType : {eCGT_Rgb, eCGT_Rgba}) {
        Planes const planes = createPage(colorType);
        writeFour(planes, planes.wholePlane());
        writeFour(planes, {0, 0, 0, 15, g_nbRunPixels});
        writeFour(planes, {0, 0, 0, g_nbPagePixels - 1, 1});
    }
}

INSTANTIATE_TEST_SUITE_P(Compressions, TiffInterleavedPointersTest,
                         testing::Values(eTC_None, eTC_Lzw, eTC_Deflate));

} // namespace velmo::image::file
