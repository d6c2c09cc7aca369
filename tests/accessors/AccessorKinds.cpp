// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "AccessorKinds.h"

#include "Im6Sample.h"

namespace velmo::image::file {

namespace {

constexpr vlUInt64 g_rawOffset = 16;

} // namespace

void RawKind::write(path const& path, BaseImageGeometry const& geometry) {
    writeFile(path, countingBytes(g_rawOffset + geometry.getFullMemorySize()));
}

BoolResult RawKind::open(File& file, path const& path, eImageAccessMode access,
                         BaseImageGeometry const& geometry) {
    return file.openFile(path, access, g_rawOffset, geometry);
}

BoolResult RawKind::openShared(File& file, path const& path, BaseImageGeometry const& geometry) {
    return file.openSharedRemoteFile(path, eIAM_ReadOnly, g_rawOffset, geometry);
}

BoolResult RawKind::create(File& file, path const& path, BaseImageGeometry const& geometry) {
    return file.createFile(path, geometry, "header");
}

std::string RawKind::getEnd(bool bFile) {
    return bFile ? std::string("\x10\0\0\0\0\0\0\0", 8) : std::string();
}

void Im6Kind::write(path const& path, BaseImageGeometry const& geometry) {
    velmo::test::Im6Sample sample;
    sample.sizeX = static_cast<std::uint32_t>(geometry.getSizeX());
    sample.sizeY = static_cast<std::uint32_t>(geometry.getSizeY());
    sample.sizeZ = static_cast<std::uint32_t>(geometry.getSizeZ());
    sample.sizeT = static_cast<std::uint32_t>(geometry.getSizeT());
    sample.dataType = 18;
    sample.pixels = countingBytes(geometry.getFullMemorySize(), 17);
    sample.write(path);
}

BoolResult Im6Kind::open(File& file, path const& path, eImageAccessMode access,
                         BaseImageGeometry const& /*geometry*/) {
    return file.openFile(path, access);
}

BoolResult Im6Kind::openShared(File& file, path const& path, BaseImageGeometry const& /*geometry*/) {
    return file.openSharedRemoteFile(path, eIAM_ReadOnly);
}

std::string Im6Kind::getEnd(bool /*bFile*/) {
    return {};
}

void TiffKind::write(path const& path, BaseImageGeometry const& geometry) {
    TiffImageFile file;
    ASSERT_THAT(file.createFile(path, geometry, nullptr), Succeeds());
    for (vlUInt64 plane = 0; plane < geometry.getNbPlans(); ++plane) {
        PlanIndexes const at = geometry.getPlanIndexes(plane);
        writePixels(file, {at.z, at.c, at.t, 0, geometry.getPlanNbPixels()},
                    planeBytes(plane, geometry.getPlanMemorySize(at.t)));
    }
}

BoolResult TiffKind::open(File& file, path const& path, eImageAccessMode access,
                          BaseImageGeometry const& /*geometry*/) {
    std::string userProperties;
    return file.openFile(path, access, eTDM_Volume, eTBM_Default, userProperties);
}

BoolResult TiffKind::openShared(File& file, path const& path, BaseImageGeometry const& /*geometry*/) {
    std::string userProperties;
    return file.openSharedRemoteFile(path, eTDM_Volume, eTBM_Default, userProperties);
}

BoolResult TiffKind::create(File& file, path const& path, BaseImageGeometry const& geometry) {
    return file.createFile(path, geometry, nullptr);
}

std::string TiffKind::getEnd(bool /*bFile*/) {
    return std::string(8, '\0'); // the two modes
}

std::string planeBytes(vlUInt64 plane, vlUInt64 planeSize) {
    return countingBytes(planeSize, static_cast<unsigned int>(17 + plane * planeSize));
}

void expectExample(BaseDiskImageAccessor const& file) {
    for (vlUInt64 plane = 0; plane < 4; ++plane) {
        EXPECT_EQ(readPixels(file, {plane % 2, 0, plane / 2, 0, 12}), planeBytes(plane)) << plane;
    }
}

} // namespace velmo::image::file
