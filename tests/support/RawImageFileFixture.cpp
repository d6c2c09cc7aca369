// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "RawImageFileFixture.h"

#include <VELMOImage/ImageEnums.h>

#include <boost/filesystem/operations.hpp>
#include <sstream>

namespace velmo::image::file {

namespace {

namespace fs = boost::filesystem;

constexpr vlUInt64 g_bufferSize = 4096;

std::string runText(PixelRun const& run) {
    std::ostringstream text;
    text << " for z=" << run.z << ", c=" << run.c << ", t=" << run.t;
    return text.str();
}

std::string transferFailed(std::string const& verb, path const& path, PixelRun const& run) {
    return "Failed to " + verb + " raw image file " + path.string() + runText(run) +
           ", pixelStartOffset=" + std::to_string(run.start) + " and nbPixels=" + std::to_string(run.count);
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

ImageGeometryPtr makeHeterogeneousGeometry(std::vector<eImageBufferType> const& bufferTypes,
                                           Sizes const& sizes) {
    ImageGeometryPtr const pModel = makeGeometry(bufferTypes.front(), sizes);
    auto pGeometry = boost::make_shared<HeterogeneousImageGeometry>();
    pGeometry->init(pModel->getVolumeGeometry(), pModel->getColorGeometry(), pModel->getTemporalGeometry(),
                    sizes.x, sizes.y, bufferTypes);
    return pGeometry;
}

ImageGeometryPtr makeExampleGeometry() {
    return makeGeometry(eIBT_UInt16, {4, 3, 2, 1, 2});
}

std::string createFailed(path const& path) {
    return "Failed to create raw image file " + path.string();
}

std::string openFailed(path const& path) {
    return "Failed to open raw image file " + path.string();
}

std::string headerFailed(path const& path, std::string const& reason) {
    return "Failed to write file header for file " + path.string() + "\n" + reason;
}

std::string reserveFailed(vlUInt64 end, path const& path) {
    return "Failed to reserve " + std::to_string(end) + " bytes for raw image file " + path.string();
}

std::string geometryExceeds(vlUInt64 size, vlUInt64 offset, vlUInt64 fileSize, path const& path) {
    return "Input geometry with total size " + std::to_string(size) + " and starting offset " +
           std::to_string(offset) + " is greater than global file size " + std::to_string(fileSize) +
           " for raw image file " + path.string();
}

std::string seekFailed(path const& path, PixelRun const& run) {
    return "Failed to seek position into raw image file " + path.string() + runText(run) +
           " and pixelStartOffset=" + std::to_string(run.start);
}

std::string readFailed(path const& path, PixelRun const& run) {
    return transferFailed("read", path, run);
}

std::string writeFailed(path const& path, PixelRun const& run) {
    return transferFailed("write", path, run);
}

std::string invalidPlane(PixelRun const& run) {
    std::ostringstream text;
    text << "Invalid plan component indexes z=" << run.z << " c=" << run.c << " t=" << run.t;
    return text.str();
}

vlUInt64 countBytes(RawImageFile const& file, PixelRun const& run) {
    return run.count * getImageBufferBaseSize(file.getGeometry().getPlanGeometry(run.t).getBufferType());
}

std::string readPixels(RawImageFile const& file, PixelRun const& run) {
    std::string bytes(countBytes(file, run), '\xEE');
    EXPECT_THAT(file.readRawData(run.z, run.c, run.t, run.start, run.count, bytes.data()), Succeeds());
    return bytes;
}

void writePixels(RawImageFile& file, PixelRun const& run, std::string const& bytes) {
    ASSERT_EQ(bytes.size(), countBytes(file, run));
    EXPECT_THAT(file.writeRawData(run.z, run.c, run.t, run.start, run.count, bytes.data()), Succeeds());
}

BoolResult tryRead(RawImageFile const& file, PixelRun const& run) {
    std::string buffer(g_bufferSize, '\0');
    return file.readRawData(run.z, run.c, run.t, run.start, run.count, buffer.data());
}

BoolResult tryWrite(RawImageFile& file, PixelRun const& run) {
    std::string const buffer(g_bufferSize, '\x55');
    return file.writeRawData(run.z, run.c, run.t, run.start, run.count, buffer.data());
}

void RawImageFileTest::openExample(RawImageFile& file, eImageAccessMode accessMode) const {
    velmo::test::writeFile(_path, countingBytes(g_exampleEnd));
    ASSERT_THAT(file.openFile(_path, accessMode, g_exampleOffset, *makeExampleGeometry()), Succeeds());
}

void RawImageFileTest::makeSparseFile(vlUInt64 nbBytes) const {
    velmo::test::writeFile(_path, "");
    fs::resize_file(_path, nbBytes);
}

} // namespace velmo::image::file
