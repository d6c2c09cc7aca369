// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOBase/PageBuffer.h>
#include <VELMOUtil/BoolResult.h>
#include <VELMOUtil/Types.h>

namespace velmo::tool {

/// Makes the buffer at least as large. Fails where the process cannot have that much memory; the content of
/// the buffer is undefined after a change of its size.
BoolResult makeRoom(PageBuffer& buffer, vlUInt64 nbBytes);

} // namespace velmo::tool
