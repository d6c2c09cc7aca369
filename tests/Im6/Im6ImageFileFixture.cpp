// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Im6ImageFileFixture.h"

#include <VELMOImage/ImageEnums.h>
#include <sstream>

namespace velmo::image::file {

namespace {

constexpr vlUInt64 g_bufferSize = 4096;

std::string runText(PixelRun const& run) {
    std::ostringstream text;
    text << " for z=" << run.z << ", c=" << run.c << ", t=" << run.t;
    return text.str();
}

} // namespace

std::string openFailed(path const& path) {
    return "Failed to open im6 image file " + path.string();
}

std::string reserveFailed(vlUInt64 required, path const& path) {
    return "Failed to reserve " + std::to_string(required) + " bytes for im6 image file " + path.string();
}

std::string geometryExceeds(vlUInt64 required, vlUInt64 fileSize, path const& path) {
    return "Input geometry with total size " + std::to_string(required - g_im6HeaderBytes) +
           " and starting offset 116 is greater than global file size " + std::to_string(fileSize) +
           " for im6 image file " + path.string();
}

std::string seekFailed(path const& path, PixelRun const& run) {
    return "Failed to seek position into im6 image file " + path.string() + runText(run) +
           " and pixelStartOffset=" + std::to_string(run.start);
}

std::string readFailed(path const& path, PixelRun const& run) {
    return "Failed to read im6 image file " + path.string() + runText(run) +
           ", pixelStartOffset=" + std::to_string(run.start) + " and nbPixels=" + std::to_string(run.count);
}

std::string invalidPlane(PixelRun const& run) {
    std::ostringstream text;
    text << "Invalid plan component indexes z=" << run.z << " c=" << run.c << " t=" << run.t;
    return text.str();
}

std::string readPixels(Im6ImageFile const& file, PixelRun const& run) {
    std::string bytes(run.count * getImageBufferBaseSize(file.getGeometry().getBufferType()), '\xEE');
    EXPECT_THAT(file.readRawData(run.z, run.c, run.t, run.start, run.count, bytes.data()), Succeeds());
    return bytes;
}

BoolResult tryRead(Im6ImageFile const& file, PixelRun const& run) {
    std::string buffer(g_bufferSize, '\0');
    return file.readRawData(run.z, run.c, run.t, run.start, run.count, buffer.data());
}

BoolResult tryWrite(Im6ImageFile& file, PixelRun const& run) {
    std::string const buffer(g_bufferSize, '\x55');
    return file.writeRawData(run.z, run.c, run.t, run.start, run.count, buffer.data());
}

void Im6ImageFileTest::open(Im6Sample const& sample, Im6ImageFile& file, eImageAccessMode accessMode) const {
    sample.write(_path);
    ASSERT_THAT(file.openFile(_path, accessMode), Succeeds());
}

void Im6ImageFileTest::expectTooShort(std::string const& bytes, vlUInt64 required) const {
    writeFile(_path, bytes);
    for (eImageAccessMode const accessMode : g_accessModes) {
        Im6ImageFile file;
        std::string const text = accessMode == eIAM_ReadOnly ? geometryExceeds(required, bytes.size(), _path)
                                                             : reserveFailed(required, _path);
        EXPECT_THAT(file.openFile(_path, accessMode), FailsWith(text));
        EXPECT_FALSE(file.isInit());
        EXPECT_EQ(countDescriptors(_path), 0U);
    }
    EXPECT_EQ(readFile(_path), bytes);
}

} // namespace velmo::image::file
