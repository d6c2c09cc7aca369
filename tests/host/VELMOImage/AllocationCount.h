// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOUtil/Types.h"

#include <functional>

namespace velmo::test {

/// Bytes that `operator new` gave out while `work` ran, whoever asked for them.
vlUInt64 countAllocatedBytes(std::function<void()> const& work);

} // namespace velmo::test
