// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

// A headerless raw volume: writes one behind a header, loads it, reads a row on demand, makes one piece by
// piece.

#include "Example.h"

#include <VELMOImageFile/RawImageFile.h>
#include <VELMOImageFile/RawImageFileUtils.h>
#include <boost/filesystem/operations.hpp>

using namespace velmo;
using namespace velmo::image;

void saveAndLoad() {
    // [save a raw volume]
    std::string const header = "64 x 48 x 8, 16 bits\n";
    file::RawWriteOptions options;
    options.fileHeader = header;
    file::saveRawImageFile("volume.raw", makeVolume(8), options);
    // [save a raw volume]

    // [load a raw volume]
    // The file carries no description: type, sizes and the bytes before the first plane come from the caller.
    ImageGeometryPtr const geometry = geometry3d(eIBT_UInt16, 64, 48, 8);
    ImagePtr const volume = file::loadRawImageFile("volume.raw", *geometry, header.size());

    // The same, left in the file: row y = 20 of plane z = 3, from any thread.
    DiskImagePtr const onDisk = file::openRawImageFile("volume.raw", *geometry, header.size());
    std::vector<std::uint16_t> row(64);
    BoolResult const read = onDisk->readPixels(3, 0, 0, 20 * 64, row.size(), row.data());
    // [load a raw volume]
    require(bool(read), read.getMessage());
    require(row[10] == pixelOf(3, 20 * 64 + 10), "the row in the file");
    require(static_cast<std::uint16_t const*>(volume->accessPlan(3, 0, 0))[20 * 64 + 10] == row[10],
            "the same loaded");
}

void writeByPieces() {
    // [write by pieces]
    // A file of any size, written where a piece is ready: from many threads, without a lock.
    file::RawImageFile target;
    BoolResult result = target.createFile("pieces.raw", *geometry3d(eIBT_UInt16, 64, 48, 1000), "");
    std::vector<std::uint16_t> const row(64, 7);
    if (result) {
        result = target.writeRawData(999, 0, 0, 47 * 64, row.size(), row.data()); // the last row
    }
    // [write by pieces]
    require(bool(result), result.getMessage());
    require(boost::filesystem::file_size("pieces.raw") == 2 * 64 * 48 * 1000, "the file has its full size");
}

int main() {
    return runExample([] {
        saveAndLoad();
        writeByPieces();
    });
}
