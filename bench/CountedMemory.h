// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOUtil/Types.h>

#include <functional>

namespace velmo::bench {

/// The largest number of bytes that all threads together allocate with `new` while `work` runs, in addition
/// to what was allocated before. Only one call may run at a time.
vlUInt64 countPeakBytes(std::function<void()> const& work);

/// The largest growth of the resident memory of the process while `work` runs.
vlUInt64 countPeakResident(std::function<void()> const& work);

} // namespace velmo::bench
