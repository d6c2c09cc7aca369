// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

// A headerless raw volume: writes one behind a header, loads it, reads a row on demand, makes one piece by
// piece.

#include "Example.h"

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

    // The same on demand: only row y = 20 of plane z = 3 is read. Any thread may read.
    DiskImagePtr const onDisk = file::openRawImageFile("volume.raw", *geometry, header.size());
    std::vector<std::uint16_t> const row = readRow<std::uint16_t>(onDisk, {3, 0, 0}, 20);
    // [load a raw volume]
    require(row[10] == pixelOf(3, 20 * 64 + 10), "the row in the file");
    require(readRow<std::uint16_t>(volume, {3, 0, 0}, 20) == row, "the same loaded");
}

void writeByPieces() {
    // [write by pieces]
    // Creates a file of any size. Its parts can be written in any order and from any number of threads.
    file::RawImageFile target;
    BoolResult result = target.createFile("pieces.raw", *geometry3d(eIBT_UInt16, 64, 48, 1000), "");
    std::vector<std::uint16_t> const row(64, 7);
    if (result) {
        result = target.writeRawData(999, 0, 0, 47 * 64, row.size(), row.data()); // z, c, t, first, number
    }
    if (!result) {
        throw std::runtime_error(result.getMessage());
    }
    // [write by pieces]
    require(boost::filesystem::file_size("pieces.raw") == 2 * 64 * 48 * 1000, "the file has its full size");
}

int main() {
    return runExample([] {
        saveAndLoad();
        writeByPieces();
    });
}
