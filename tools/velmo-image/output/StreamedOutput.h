// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/BaseImage.h>
#include <boost/filesystem/path.hpp>
#include <string>

namespace velmo::tool {

/// Whether this is the name of the standard output: "-", "/dev/stdout" or another path of descriptor 1.
bool isStandardOutput(boost::filesystem::path const& path);
/// Whether an output is written from the first byte to the last, without a temporary file: the standard
/// output or a pipe.
bool isStreamedOutput(boost::filesystem::path const& path);
/// The file that the output appends to or replaces: that of the standard output if it is a regular file, none
/// for another standard output, otherwise `path`.
boost::filesystem::path getOutputFile(boost::filesystem::path const& path);

/// Writes `header` and then the planes of an image in the order of a raw file. Waits for the reader of a
/// pipe. Throws WorkFailure, also if the reader closes the pipe, and Interrupted after a request. A failure
/// leaves what was written before it.
void writeStream(boost::filesystem::path const& path, std::string const& header,
                 image::BaseImage const& image);

} // namespace velmo::tool
