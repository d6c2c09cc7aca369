// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

// Puts the record of an open file into a file of its own, for read_record, which is another process.

#include "Example.h"

#include <VELMOImageFile/TiffImageFile.h>
#include <VELMOImageFile/TiffImageFileUtils.h>
#include <VELMOSerialization/BinaryArchive.h>
#include <boost/filesystem/operations.hpp>
#include <boost/make_shared.hpp>
#include <fstream>

using namespace velmo;
using namespace velmo::image;

void writeRecord() {
    file::saveTiffImageFile("shared.tif", makeVolume(8), file::TiffWriteOptions{file::eTC_Lzw});
    // [write a record]
    auto const pAccessor = boost::make_shared<file::TiffImageFile>();
    std::string userProperties;
    // The path stands in the record as it is given: an absolute one serves a process in any folder.
    BoolResult const opened = pAccessor->openSharedRemoteFile(
        boost::filesystem::absolute("shared.tif"), file::eTDM_Volume, file::eTBM_Default, userProperties);
    require(bool(opened), opened.getMessage());

    std::ofstream stream("shared.record", std::ios::binary);
    BinaryOArchive archive(stream);
    archive.writeObject("accessor", pAccessor); // path, access, modes, geometry; no pixels
    // [write a record]
    require(bool(stream), "the record is written");
}

int main() {
    return runExample(writeRecord);
}
