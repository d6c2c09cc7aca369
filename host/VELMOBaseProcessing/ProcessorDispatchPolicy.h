// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOUtil/Export.h"
#include "VELMOUtil/Types.h"

namespace velmo::processor {

/// On how many threads a run works, the calling one included.
class VELMO_HOST_EXPORT ProcessorDispatchPolicy {
  public:
    /// The calling thread alone.
    ProcessorDispatchPolicy() = default;

    /// On this machine's processors: as many threads as pay off, and for a distributed image all of its
    /// workers.
    void initDefault();
    /// On `nbThreads` threads of this process; 0 counts as 1. With 1 everything happens on the calling
    /// thread.
    void initLocal(vlUInt64 nbThreads);

    /// Whether `initDefault` was the last to be called.
    bool isDefault() const { return _bDefault; }
    /// At least 1; how many `initDefault` found to be there.
    vlUInt64 getNbThreads() const { return _nbThreads; }

  private:
    bool _bDefault = false;
    vlUInt64 _nbThreads = 1;
};

} // namespace velmo::processor
