// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/ImageEnums.h>
#include <boost/filesystem/path.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/thread/mutex.hpp>
#include <boost/thread/thread.hpp>
#include <fstream>
#include <map>

namespace velmo::image::file {

using FStreamPtr = boost::shared_ptr<std::fstream>;

/// Opens a file: for reading with access mode 0, otherwise for reading and writing. The stream has no buffer;
/// bytes go directly between the file and the caller's memory. The stream is not good if the file cannot be
/// opened or is not seekable (a directory, a pipe, a socket); `errno` is then the reason.
FStreamPtr openStream(boost::filesystem::path const& path, eImageAccessMode const& accessMode);

/// Opens a new file for writing only. An existing file is emptied.
FStreamPtr createStream(boost::filesystem::path const& path);

/// One open stream for each thread, with its own position and state, so that threads access one file in
/// parallel. Only `find` may run at the same time as other operations.
class ThreadStreams {
  public:
    /// Returns the calling thread's stream and opens it if there is none. If that fails, the result is empty
    /// and `errno` is the reason. The lock is held only for the look-up and the opening.
    FStreamPtr find(boost::filesystem::path const& path, eImageAccessMode const& accessMode);

    /// Makes `pStream` the calling thread's stream.
    void insert(FStreamPtr const& pStream);

    /// Closes all streams. A failure does not prevent closing the others. Afterwards `errno` is the first
    /// error, or 0.
    void closeAll();

  private:
    boost::mutex _streamsMutex;
    std::map<boost::thread::id, FStreamPtr> _threadStreams;
};

} // namespace velmo::image::file
