// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

// Rebuilds the accessor that write_record described in another process, and reads through it.

#include "Example.h"

#include <VELMOSerialization/BinaryArchive.h>
#include <fstream>

using namespace velmo;
using namespace velmo::image;

void readRecord() {
    // [read a record]
    std::ifstream stream("shared.record", std::ios::binary);
    BinaryIArchive archive(stream);
    // Created by its class name, which the module registered when it was loaded, and opened.
    auto const pAccessor = readObjectOf<BaseDiskImageAccessor>(archive, "accessor");

    DiskImagePtr onDisk;
    BoolResult const created = ImageFactory::getInstance().createDiskImage(pAccessor, onDisk);
    if (!created) {
        throw std::runtime_error(created.getMessage());
    }
    // [read a record]
    require(dynamic_cast<file::TiffImageFile const*>(pAccessor.get()) != nullptr,
            "it is an accessor of TIFF files");
    require(readPlane<std::uint16_t>(onDisk, {3, 0, 0})[7] == pixelOf(3, 7),
            "a pixel of the file that the other process opened");
}

int main() {
    return runExample(readRecord);
}
