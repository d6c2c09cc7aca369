// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "PlainFiles.h"

#include <VELMOImage/ImageEnums.h>
#include <VELMOSerialization/BinaryArchive.h>
#include <VELMOSerialization/XmlArchive.h>
#include <sstream>

namespace velmo::image::file {

namespace {

constexpr vlUInt64 g_bufferSize = 4096;

vlUInt64 countBytes(BaseDiskImageAccessor const& file, PixelRun const& run) {
    return run.count * getImageBufferBaseSize(file.getGeometry().getPlanGeometry(run.t).getBufferType());
}

std::string toText(PixelRun const& run) {
    return " for z=" + std::to_string(run.z) + ", c=" + std::to_string(run.c) +
           ", t=" + std::to_string(run.t);
}

std::string toWholeText(PixelRun const& run) {
    return toText(run) + ", pixelStartOffset=" + std::to_string(run.start) +
           " and nbPixels=" + std::to_string(run.count);
}

} // namespace

ImageGeometryPtr makeGeometry(eImageBufferType bufferType, Sizes const& sizes) {
    VolumeGeometry volume;
    volume.init3d(sizes.z);
    ColorGeometry color;
    color.initUser(sizes.c);
    TemporalGeometry temporal;
    temporal.initSequence(sizes.t);
    return geometry(bufferType, sizes.x, sizes.y, volume, color, temporal);
}

ImageGeometryPtr makeExampleGeometry() {
    return makeGeometry(eIBT_UInt16, {4, 3, 2, 1, 2});
}

std::string readPixels(BaseDiskImageAccessor const& file, PixelRun const& run) {
    std::string bytes(countBytes(file, run), '\xEE');
    EXPECT_THAT(file.readRawData(run.z, run.c, run.t, run.start, run.count, bytes.data()), Succeeds());
    return bytes;
}

void writePixels(BaseDiskImageAccessor& file, PixelRun const& run, std::string const& bytes) {
    ASSERT_EQ(bytes.size(), countBytes(file, run));
    EXPECT_THAT(file.writeRawData(run.z, run.c, run.t, run.start, run.count, bytes.data()), Succeeds());
}

BoolResult tryRead(BaseDiskImageAccessor const& file, PixelRun const& run) {
    std::string buffer(g_bufferSize, '\0');
    return file.readRawData(run.z, run.c, run.t, run.start, run.count, buffer.data());
}

BoolResult tryWrite(BaseDiskImageAccessor& file, PixelRun const& run) {
    std::string const buffer(g_bufferSize, '\x55');
    return file.writeRawData(run.z, run.c, run.t, run.start, run.count, buffer.data());
}

std::string PlainTexts::onFile(std::string const& verb, path const& path) const {
    return "Failed to " + verb + " " + _format + " image file " + path.string();
}

std::string PlainTexts::reserveFailed(vlUInt64 end, path const& path) const {
    return onFile("reserve " + std::to_string(end) + " bytes for", path);
}

std::string PlainTexts::geometryExceeds(vlUInt64 size, vlUInt64 offset, vlUInt64 fileSize,
                                        path const& path) const {
    return "Input geometry with total size " + std::to_string(size) + " and starting offset " +
           std::to_string(offset) + " is greater than global file size " + std::to_string(fileSize) +
           " for " + _format + " image file " + path.string();
}

std::string PlainTexts::seekFailed(path const& path, PixelRun const& run) const {
    return onFile("seek position into", path) + toText(run) +
           " and pixelStartOffset=" + std::to_string(run.start);
}

std::string PlainTexts::readFailed(path const& path, PixelRun const& run) const {
    return onFile("read", path) + toWholeText(run);
}

std::string PlainTexts::writeFailed(path const& path, PixelRun const& run) const {
    return onFile("write", path) + toWholeText(run);
}

std::string PlainTexts::invalidPlane(PixelRun const& run) {
    return "Invalid plan component indexes z=" + std::to_string(run.z) + " c=" + std::to_string(run.c) +
           " t=" + std::to_string(run.t);
}

} // namespace velmo::image::file
