// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOUtil/Types.h>

#include <functional>

namespace velmo::bench {

/// The most bytes that were allocated with `new` at one time, by any thread, while `work` ran, counted from
/// what was allocated before it. One count at a time.
vlUInt64 countPeakBytes(std::function<void()> const& work);

/// How much the memory that the process has from the system grew at most while `work` ran.
vlUInt64 countPeakResident(std::function<void()> const& work);

} // namespace velmo::bench
