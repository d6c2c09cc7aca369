// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include <VELMOImage/ImageFactory.h>
#include <VELMOImage/ImageGeometry.h>
#include <VELMOImageFile/RawImageFile.h>
#include <VELMOImageFile/RawImageFileUtils.h>
#include <VELMOImageFile/TiffImageFileUtils.h>
#include <VELMOImageFile/VELMOImageFileException.h>
#include <cstdio>
#include <fstream>
#include <vector>

using namespace velmo::image;

namespace {

bool isRefused(boost::filesystem::path const& path, BaseImageGeometry const& geometry) {
    try {
        file::openRawImageFile(path, geometry, 0);
    } catch (file::VELMOImageFileException const&) {
        return true;
    }
    return false;
}

} // namespace

/// 0 if a volume goes from a raw file through a TIFF file unchanged, types are cast and failures caught over the borders of
/// the libraries.
int main(int argc, char** argv) {
    if (argc != 2) {
        return 2;
    }
    boost::filesystem::path const folder(argv[1]);
    std::vector<char> const pixels = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11};
    std::ofstream((folder / "a.raw").string()).write(pixels.data(), 12);
    ImageGeometryPtr const pGeometry = geometry3d(eIBT_UInt8, 3, 2, 2);
    DiskImagePtr const pOnDisk = file::openRawImageFile(folder / "a.raw", *pGeometry, 0);
    bool const bCast = dynamic_cast<file::RawImageFile const*>(pOnDisk->getAccessor().get()) != nullptr;
    file::saveTiffImageFile(folder / "a.tif", pOnDisk, file::eTC_Lzw);
    ImagePtr const pLoaded = file::loadTiffImageFile(folder / "a.tif", file::eTBM_Default);
    std::vector<char> plane(6);
    bool const bRead = bool(pLoaded->readPixels(1, 0, 0, 0, 6, plane.data()));
    bool const bSame = std::equal(plane.begin(), plane.end(), pixels.begin() + 6);
    bool const bRefused = isRefused(folder / "missing.raw", *pGeometry);
    std::printf("cast %d, read %d, same %d, refused %d\n", bCast, bRead, bSame, bRefused);
    return bCast && bRead && bSame && bRefused ? 0 : 1;
}
