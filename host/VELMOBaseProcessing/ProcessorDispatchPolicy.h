// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOUtil/Export.h"
#include "VELMOUtil/Types.h"

namespace velmo::processor {

/// Number of threads of a run, including the calling thread.
class VELMO_HOST_EXPORT ProcessorDispatchPolicy {
  public:
    /// Only the calling thread.
    ProcessorDispatchPolicy() = default;

    /// As many threads of this machine as are useful and, for a distributed image, all of its workers.
    void initDefault();
    /// `nbThreads` threads of this process; 0 counts as 1. With 1 only the calling thread is used.
    void initLocal(vlUInt64 nbThreads);

    /// Whether `initDefault` was called last.
    bool isDefault() const { return _bDefault; }
    /// Number of threads, at least 1; after `initDefault` the number of processors.
    vlUInt64 getNbThreads() const { return _nbThreads; }

  private:
    bool _bDefault = false;
    vlUInt64 _nbThreads = 1;
};

} // namespace velmo::processor
