// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/ImageGeometry.h>
#include <VELMOImageFile/TiffImageFileOptions.h>
#include <string>
#include <vector>

namespace velmo::mpi_tool {

/// What the user has asked for.
struct CommandLine {
    std::string input;
    std::string output;               ///< empty for none
    image::ImageGeometryPtr pRaw;     ///< geometry of a raw input; null for other formats
    vlUInt64 offset = 0;              ///< of the first plane of a raw input
    std::vector<std::string> applied; ///< functions, in their order
    bool bStatistics = false;
    image::file::eTiffCompression compression = image::file::eTC_None;
};

/// Result of `parseCommandLine`: go on, or end with a status because the text was printed.
struct ParsedLine {
    bool bRun = false;
    int status = 0;
    CommandLine line;
};

/// Parses the command line. Prints help to standard output and a description of wrong use to standard error.
ParsedLine parseCommandLine(int argc, char** argv);

} // namespace velmo::mpi_tool
