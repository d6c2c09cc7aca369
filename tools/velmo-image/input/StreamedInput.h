// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOUtil/Types.h>
#include <boost/filesystem/path.hpp>

namespace velmo::tool {

/// Whether this is the name of the standard input: "-", "/dev/stdin" or another path of descriptor 0.
bool isStandardInput(boost::filesystem::path const& path);
/// The path that the system knows: "/dev/stdin" for "-", any other path unchanged.
boost::filesystem::path toInputPath(boost::filesystem::path const& path);
/// Whether the bytes can be read only once and in their order: a pipe, a socket, and a standard input that is
/// no regular file.
bool isStreamedInput(boost::filesystem::path const& path);
/// Bytes before the reading position of a standard input that is a regular file; 0 for any other path.
vlUInt64 getInputPosition(boost::filesystem::path const& path);

/// The first bytes of a streamed input, in a temporary file that has no name. The folder is that of TMPDIR,
/// otherwise /tmp.
class StreamedInput {
  public:
    /// Reads `nbSkipped` bytes, which are not stored, and `nbBytes` more. Waits for the writer of a pipe.
    /// Throws WorkFailure if the input ends before, for a terminal, and if there is no room for the file;
    /// Interrupted after a request.
    /// A progress bar is shown unless `bQuiet`.
    StreamedInput(boost::filesystem::path const& path, vlUInt64 nbSkipped, vlUInt64 nbBytes, bool bQuiet);
    ~StreamedInput();
    StreamedInput(StreamedInput const&) = delete;
    StreamedInput& operator=(StreamedInput const&) = delete;

    /// A path of the temporary file, which is valid as long as this object exists.
    boost::filesystem::path getPath() const;
    /// Whether the input has more bytes.
    bool hasSurplus() const { return _bSurplus; }

  private:
    int _file = -1;
    bool _bSurplus = false;
};

} // namespace velmo::tool
