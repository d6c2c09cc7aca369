// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOUtil/BoolResult.h"
#include "VELMOUtil/Export.h"
#include "VELMOUtil/Types.h"

#include <functional>

namespace velmo {

/// One unit of a parallel run, on the thread of that index (the calling thread is 0).
using ParallelWork = std::function<BoolResult(vlUInt64 thread, vlUInt64 unit)>;

/// Runs the units 0 to `nbUnits` - 1, handed out in that order, on the calling thread and up to `nbThreads` -
/// 1 new ones; fewer where the system gives no more. Returns when all threads have ended.
///
/// After a failure no further unit is begun. Of several failures the one of the lowest unit counts: its text
/// is returned, its exception thrown here.
VELMO_HOST_EXPORT BoolResult runParallel(vlUInt64 nbThreads, vlUInt64 nbUnits, ParallelWork const& work);

} // namespace velmo
