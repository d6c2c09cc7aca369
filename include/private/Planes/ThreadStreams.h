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

/// Opens a file for its planes: reading with access mode 0, else reading and writing. The stream has no
/// buffer, so that bytes go straight between the file and the caller's memory. It is not good where the file
/// cannot be opened or is a directory, a pipe or a socket, in which nothing can be sought; `errno` is the
/// reason then.
FStreamPtr openStream(boost::filesystem::path const& path, eImageAccessMode const& accessMode);

/// The same, for writing only, of a new file or of an existing one, which loses its content.
FStreamPtr createStream(boost::filesystem::path const& path);

/// One open stream for each thread, each with a position and state of its own, so that threads move through
/// one file in parallel. Only `find` may run beside other operations.
class ThreadStreams {
  public:
    /// The calling thread's stream. A thread without one opens the file; where that fails the result is
    /// empty and `errno` is the reason. The lock covers the look-up and the opening and nothing else.
    FStreamPtr find(boost::filesystem::path const& path, eImageAccessMode const& accessMode);

    /// Makes a stream the calling thread's.
    void insert(FStreamPtr const& pStream);

    /// Closes all streams; one that fails to close does not keep the next from it. `errno` is 0 afterwards,
    /// or the reason of the first failure.
    void closeAll();

  private:
    boost::mutex _streamsMutex;
    std::map<boost::thread::id, FStreamPtr> _threadStreams;
};

} // namespace velmo::image::file
