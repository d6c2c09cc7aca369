// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/BaseImage.h>
#include <memory>
#include <string>
#include <vector>

namespace velmo::tool {

/// What `info` found out about one file.
struct FileDescription {
    std::string file;
    std::string format;
    image::ImageConstPtr pImage; ///< null where the file cannot be opened
    bool bSwapBytes = false;     ///< the pixels of the file have the other byte order than the machine
    std::vector<std::string> warnings;
    std::string error; ///< why it cannot be opened or what in it cannot be read; empty otherwise
};

/// What `info` prints on standard output. Descriptions, and with them open files, are not kept.
class InfoReport {
  public:
    InfoReport() = default;
    virtual ~InfoReport() = default;
    InfoReport(InfoReport const&) = delete;
    InfoReport& operator=(InfoReport const&) = delete;

    /// Takes the next file. Returns what can be printed before the other files are known.
    virtual std::string add(FileDescription const& description) = 0;
    /// Returns the rest, after the last file.
    virtual std::string finish() = 0;
};

/// Several lines for each file that can be opened.
std::unique_ptr<InfoReport> createTextReport();
/// A document with one entry for each file. An entry always has all keys; a file that cannot be opened has
/// null values.
std::unique_ptr<InfoReport> createJsonReport();

} // namespace velmo::tool
