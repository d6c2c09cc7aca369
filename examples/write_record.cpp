// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

// Writes the description of an open file to a file, from which the program read_record opens it again.

#include "Example.h"

#include <VELMOSerialization/BinaryArchive.h>
#include <boost/filesystem/operations.hpp>
#include <fstream>

using namespace velmo;
using namespace velmo::image;

void writeRecord() {
    file::saveTiffImageFile("shared.tif", makeVolume(8), file::TiffWriteOptions{file::eTC_Lzw});
    // [write a record]
    // The record keeps the path as it is given: an absolute path is valid in a process in any folder.
    DiskImagePtr const onDisk = file::openTiffImageFile(boost::filesystem::absolute("shared.tif"));

    std::ofstream stream("shared.record", std::ios::binary);
    BinaryOArchive archive(stream);
    archive.writeObject("accessor", onDisk->getAccessor()); // path, access, modes, geometry; no pixels
    // [write a record]
    require(bool(stream), "the record is written");
}

int main() {
    return runExample(writeRecord);
}
