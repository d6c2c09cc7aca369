// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "planes/TiffPlaneFixture.h"

#include <cstring>
#include <random>

namespace velmo::image::file {

namespace {

constexpr char g_unread = '\xEE';

} // namespace

TiffPtr openPlain(path const& path, char const* mode, std::uint16_t directory) {
    TiffPtr pTiff(TIFFOpen(path.c_str(), mode));
    EXPECT_NE(pTiff, nullptr) << path << lastTiffMessage();
    if (pTiff && directory != 0) {
        EXPECT_EQ(TIFFSetDirectory(pTiff.get(), directory), 1) << directory;
    }
    return pTiff;
}

std::optional<std::string> findText(TiffPtr const& pTiff, std::uint32_t tag) {
    char const* pText = nullptr;
    return TIFFGetField(pTiff.get(), tag, &pText) == 1 ? std::optional<std::string>(pText) : std::nullopt;
}

std::optional<std::string> findBlob(TiffPtr const& pTiff) {
    std::uint32_t size = 0;
    char const* pBytes = nullptr;
    if (TIFFGetField(pTiff.get(), TIFFTAG_PHOTOSHOP, &size, &pBytes) != 1) {
        return std::nullopt;
    }
    return std::string(pBytes, size);
}

ImageGeometryPtr makeGeometry(eImageBufferType bufferType, PlaneSizes const& sizes) {
    VolumeGeometry volume;
    volume.init3d(sizes.z);
    ColorGeometry color;
    if (sizes.c != 1) {
        color.initUser(sizes.c);
    }
    TemporalGeometry temporal;
    temporal.initSequence(sizes.t);
    return geometry(bufferType, sizes.x, sizes.y, volume, color, temporal);
}

ImageGeometryPtr makeColorGeometry(eColorGeometryType colorType, eImageBufferType bufferType,
                                   PlaneSizes const& sizes) {
    ImageGeometryPtr const pGeometry = makeGeometry(bufferType, {sizes.x, sizes.y, sizes.z, 1, sizes.t});
    pGeometry->getColorGeometry().init(colorType);
    return pGeometry;
}

PixelRun Planes::wholePlane(vlUInt64 z, vlUInt64 c, vlUInt64 t) const {
    return {z, c, t, 0, pGeometry->getPlanNbPixels()};
}

vlUInt64 Planes::countBytes(PixelRun const& run) const {
    return run.count * getImageBufferBaseSize(pGeometry->getBufferType());
}

BoolResult Planes::tryRead(PixelRun const& run, std::string& pixels) const {
    pixels.assign(countBytes(run), g_unread);
    return readTiffData(pTiff.get(), filePath, *pGeometry, run.z, run.c, run.t, run.start, run.count,
                        pixels.data());
}

BoolResult Planes::tryRead(PixelRun const& run) const {
    std::string pixels;
    return tryRead(run, pixels);
}

BoolResult Planes::tryWrite(PixelRun const& run) const {
    std::string const pixels = noise(countBytes(run));
    return writeTiffData(pTiff.get(), filePath, *pGeometry, run.z, run.c, run.t, run.start, run.count,
                         pixels.data());
}

std::string Planes::read(PixelRun const& run) const {
    std::string pixels;
    EXPECT_THAT(tryRead(run, pixels), Succeeds());
    return pixels;
}

std::string Planes::readPlane(vlUInt64 z, vlUInt64 c, vlUInt64 t) const {
    return read(wholePlane(z, c, t));
}

void Planes::write(PixelRun const& run, std::string const& pixels) const {
    ASSERT_EQ(pixels.size(), countBytes(run));
    std::string const given(pixels.data(), pixels.size());
    EXPECT_THAT(writeTiffData(pTiff.get(), filePath, *pGeometry, run.z, run.c, run.t, run.start, run.count,
                              given.data()),
                Succeeds());
    EXPECT_TRUE(given == pixels) << "the pixels given were changed";
}

void Planes::writePlane(std::string const& pixels, vlUInt64 z, vlUInt64 c, vlUInt64 t) const {
    write(wholePlane(z, c, t), pixels);
}

BoolResult Planes::tryReadRgb(PixelRun const& run, Channels& channels) const {
    void* buffers[4] = {};
    for (std::size_t channel = 0; channel < channels.size(); ++channel) {
        channels[channel].assign(countBytes(run), g_unread);
        buffers[channel] = channels[channel].data();
    }
    return readRGBTiffData(pTiff.get(), filePath, *pGeometry, run.z, run.t, run.start, run.count, buffers[0],
                           buffers[1], buffers[2], buffers[3]);
}

BoolResult Planes::tryReadRgb(PixelRun const& run) const {
    Channels channels(pGeometry->getSizeC() == 4 ? 4 : 3);
    return tryReadRgb(run, channels);
}

BoolResult Planes::tryWriteRgb(PixelRun const& run, Channels const& channels) const {
    void const* buffers[4] = {};
    for (std::size_t channel = 0; channel < channels.size(); ++channel) {
        buffers[channel] = channels[channel].data();
    }
    return writeRGBTiffData(pTiff.get(), filePath, *pGeometry, run.z, run.t, run.start, run.count, buffers[0],
                            buffers[1], buffers[2], buffers[3]);
}

BoolResult Planes::tryWriteRgb(PixelRun const& run) const {
    return tryWriteRgb(run, Channels(4, noise(countBytes(run))));
}

Channels Planes::readRgb(PixelRun const& run) const {
    Channels channels(pGeometry->getSizeC());
    EXPECT_THAT(tryReadRgb(run, channels), Succeeds());
    return channels;
}

void Planes::writeRgb(PixelRun const& run, Channels const& channels) const {
    ASSERT_EQ(channels.size(), pGeometry->getSizeC());
    ASSERT_EQ(channels.front().size(), countBytes(run));
    EXPECT_THAT(tryWriteRgb(run, channels), Succeeds());
}

Planes createPlanes(path const& path, ImageGeometryPtr const& pGeometry, eTiffCompression compression) {
    TIFF* pTiff = nullptr;
    EXPECT_THAT(createTiffFile(path, *pGeometry, nullptr, compression, pTiff), Succeeds());
    return {path, TiffPtr(pTiff), pGeometry};
}

Planes openPlanes(path const& path, OpenRequest const& request) {
    OpenedTiff opened(path, request);
    EXPECT_THAT(opened.result, Succeeds());
    return {path, TiffPtr(std::exchange(opened.pTiff, nullptr)), opened.pGeometry};
}

Planes openPlanesForWriting(path const& path) {
    return openPlanes(path, {eIAM_ReadWrite});
}

Planes plainPlanes(path const& path, char const* mode, ImageGeometryPtr const& pGeometry) {
    return {path, openPlain(path, mode), pGeometry};
}

unsigned int countDirectories(path const& path) {
    TiffPtr const pTiff = openPlain(path);
    return pTiff ? TIFFNumberOfDirectories(pTiff.get()) : 0;
}

std::string noise(vlUInt64 nbBytes, unsigned int seed) {
    std::mt19937 random(seed);
    std::string bytes(nbBytes, '\0');
    for (std::size_t at = 0; at < bytes.size(); at += 4) {
        auto const four = static_cast<std::uint32_t>(random());
        std::memcpy(&bytes[at], &four, std::min<std::size_t>(4, bytes.size() - at));
    }
    return bytes;
}

void expectDirectories(path const& path, std::vector<std::string> const& expected) {
    EXPECT_EQ(countDirectories(path), expected.size());
    for (std::uint16_t directory = 0; directory < expected.size(); ++directory) {
        EXPECT_TRUE(readDirectoryPixels(path, directory) == expected[directory]) << "directory " << directory;
    }
}

std::string pickChannel(std::string const& pixels, vlUInt64 nbChannels, vlUInt64 channel,
                        vlUInt64 sampleSize) {
    std::string picked;
    for (vlUInt64 at = channel * sampleSize; at < pixels.size(); at += nbChannels * sampleSize) {
        picked += pixels.substr(at, sampleSize);
    }
    return picked;
}

Channels pickChannels(std::string const& pixels, vlUInt64 nbChannels, vlUInt64 sampleSize) {
    Channels channels;
    for (vlUInt64 channel = 0; channel < nbChannels; ++channel) {
        channels.push_back(pickChannel(pixels, nbChannels, channel, sampleSize));
    }
    return channels;
}

std::string interleave(Channels const& channels, vlUInt64 sampleSize) {
    std::string pixels;
    for (vlUInt64 at = 0; at < channels.front().size(); at += sampleSize) {
        for (std::string const& channel : channels) {
            pixels += channel.substr(at, sampleSize);
        }
    }
    return pixels;
}

std::string setDirectoryFailed(vlUInt64 directory, path const& path) {
    return "Error while setting directory " + std::to_string(directory) + " for file " + path.string() + "\n";
}

std::string getTagFailed(std::string const& tag, path const& path) {
    return "Error while getting tiff tag " + tag + " for file " + path.string() + "\n";
}

namespace {

std::string stripFailed(std::string const& verb, vlUInt64 strip, PixelRun const& run, path const& path) {
    return "Failed to " + verb + " data of strip " + std::to_string(strip) +
           " for directory z=" + std::to_string(run.z) + ", c=" + std::to_string(run.c) +
           ", t=" + std::to_string(run.t) + " of file " + path.string() + "\n";
}

} // namespace

std::string readStripFailed(vlUInt64 strip, PixelRun const& run, path const& path) {
    return stripFailed("read", strip, run, path);
}

std::string writeStripFailed(vlUInt64 strip, PixelRun const& run, path const& path) {
    return stripFailed("write", strip, run, path);
}

std::string toText(BoolResult const& result) {
    return result ? "success" : result.getMessage();
}

} // namespace velmo::image::file
