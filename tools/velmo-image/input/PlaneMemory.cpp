// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "input/PlaneMemory.h"

#include <VELMOBase/AvailableMemory.h>
#include <string>

namespace velmo::tool {

BoolResult makeRoom(PageBuffer& buffer, vlUInt64 nbBytes) {
    constexpr vlUInt64 fewBytes = vlUInt64{1} << 20;
    if (nbBytes <= buffer.getSize()) {
        return success();
    }
    vlUInt64 const nbAvailable = nbBytes <= fewBytes ? fewBytes : getAvailableMemory();
    if (nbBytes > nbAvailable) {
        return failure("a plane takes " + std::to_string(nbBytes) + " bytes of memory, and " +
                       std::to_string(nbAvailable) + " are available");
    }
    buffer = PageBuffer(nbBytes);
    return success();
}

} // namespace velmo::tool
