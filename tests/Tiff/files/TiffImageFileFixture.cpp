// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "files/TiffImageFileFixture.h"

namespace velmo::image::file {

namespace {

constexpr std::size_t g_bufferSize = 65536;

} // namespace

PixelRun wholePlane(TiffImageFile const& file, vlUInt64 z, vlUInt64 c, vlUInt64 t) {
    return {z, c, t, 0, file.getGeometry().getPlanNbPixels()};
}

BoolResult tryRead(TiffImageFile const& file, PixelRun const& run) {
    std::string buffer(g_bufferSize, '\0');
    return file.readRawData(run.z, run.c, run.t, run.start, run.count, buffer.data());
}

BoolResult tryWrite(TiffImageFile& file, PixelRun const& run) {
    std::string const buffer(g_bufferSize, '\x55');
    return file.writeRawData(run.z, run.c, run.t, run.start, run.count, buffer.data());
}

std::string readPixels(TiffImageFile const& file, PixelRun const& run) {
    vlUInt64 const pixelSize = file.getGeometry().getPlanGeometry(run.t).getPixelSize();
    std::string pixels(run.count * pixelSize, '\xEE');
    EXPECT_THAT(file.readRawData(run.z, run.c, run.t, run.start, run.count, pixels.data()), Succeeds());
    return pixels;
}

void writePixels(TiffImageFile& file, PixelRun const& run, std::string const& pixels) {
    ASSERT_EQ(pixels.size(), run.count * file.getGeometry().getPlanGeometry(run.t).getPixelSize());
    EXPECT_THAT(file.writeRawData(run.z, run.c, run.t, run.start, run.count, pixels.data()), Succeeds());
}

BoolResult openFile(TiffImageFile& file, path const& path, OpenRequest const& request) {
    std::string ignored;
    return file.openFile(path, request.access, request.directoryMode, request.bufferMode, ignored);
}

std::string closedEarlier(path const& path) {
    return "Failed to open tiff image file " + path.string() + "\nAn earlier failure closed it";
}

std::string openFailed(path const& path) {
    return "Failed to open tiff image file " + path.string() + "\n";
}

std::string TiffImageFileTest::examplePlane(vlUInt64 z, vlUInt64 c, vlUInt64 t) {
    return countingBytes(24, static_cast<unsigned int>(1 + 24 * (z + 2 * (c + 2 * t))));
}

void TiffImageFileTest::writeExample(path const& path) const {
    Planes const planes = createPlanes(path, _pGeometry);
    for (vlUInt64 plane = 0; plane < _pGeometry->getNbPlans(); ++plane) {
        PlanIndexes const at = _pGeometry->getPlanIndexes(plane);
        planes.writePlane(examplePlane(at.z, at.c, at.t), at.z, at.c, at.t);
    }
}

void TiffImageFileTest::openExample(TiffImageFile& file, eImageAccessMode access) const {
    writeExample(_path);
    ASSERT_THAT(openFile(file, _path, {access}), Succeeds());
}

void TiffImageFileTest::expectExample(TiffImageFile const& file) {
    for (vlUInt64 plane = 0; plane < file.getGeometry().getNbPlans(); ++plane) {
        PlanIndexes const at = file.getGeometry().getPlanIndexes(plane);
        EXPECT_EQ(readPixels(file, wholePlane(file, at.z, at.c, at.t)), examplePlane(at.z, at.c, at.t));
    }
}

} // namespace velmo::image::file
