// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Planes/PlaneRun.h"
#include "Planes/PlaneTable.h"
#include "Planes/ThreadStreams.h"

#include <VELMOUtil/BoolResult.h>
#include <VELMOUtil/GuardedRaise.h>

namespace velmo::image {

class BaseDiskImageAccessor;

namespace file {

/// Ids of the messages of a format's plane access.
struct PlaneFileMessages {
    char const* domainKey;
    int openFileFailed;     ///< path
    int invalidPlanIndexes; ///< z, c, t
    int seekFailed;         ///< path, z, c, t, first pixel
    int readFileFailed;     ///< path, z, c, t, first pixel, number of pixels
    int writeFileFailed;    ///< path, z, c, t, first pixel, number of pixels
};

/// A file of uncompressed planes after a header. Each thread that uses it has its own stream. `read` and
/// `write` may run on any number of threads at once.
class PlaneFile {
  public:
    explicit PlaneFile(PlaneFileMessages const& messages) : _messages(messages) {}

    PlaneTable& accessPlanes() { return _planes; }
    PlaneTable const& getPlanes() const { return _planes; }
    ThreadStreams& accessStreams() { return _streams; }

    // After each failure, `errno` is the error of the operating system, or 0 if there was none.

    /// Finds the calling thread's stream on the accessor's file. Opens it if there is none.
    BoolResult findStream(BaseDiskImageAccessor const& accessor, FStreamPtr& pStream);

    /// Transfers a run of pixels between the accessor's file and a buffer. A plane that is not in the table
    /// is raised at `site` as VELMOImageFileException; a time step that is not in the table, as
    /// VELMOImageException.
    BoolResult read(BaseDiskImageAccessor const& accessor, PlaneRun const& run, void* buffer,
                    RaiseSite const& site);
    /// A write checks the plane before it opens the file; a read opens the file first.
    BoolResult write(BaseDiskImageAccessor const& accessor, PlaneRun const& run, void const* buffer,
                     RaiseSite const& site);

  private:
    PlaneFileMessages const& _messages;
    PlaneTable _planes;
    ThreadStreams _streams;
};

} // namespace file
} // namespace velmo::image
