// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOImage/detail/PixelMemory.h"

#include "VELMOImage/VELMOImageLog.h"
#include "VELMOUtil/AvailableMemory.h"
#include "VELMOUtil/LogMessageFormater.h"

#include <new>

namespace velmo::image {

namespace {

/// Smaller images are not worth the look at the machine's books.
constexpr vlUInt64 g_checkedFrom = vlUInt64{16} << 20;

} // namespace

BoolResult requireMemory(vlUInt64 nbBytes) {
    if (nbBytes < g_checkedFrom) {
        return success();
    }
    vlUInt64 const available = getAvailableMemory();
    if (nbBytes <= available) {
        return success();
    }
    LogMessageFormater formater(getVELMOImageLogMessageManager());
    return failure(formater[eImageMessage::eIM_MemoryTooSmall] % nbBytes % available);
}

BoolResult allocatePixels(vlUInt64 nbBytes, PageBuffer& buffer) {
    BoolResult result = requireMemory(nbBytes);
    if (!result) {
        return result;
    }
    try {
        buffer = PageBuffer(nbBytes);
    } catch (std::bad_alloc const&) {
        LogMessageFormater formater(getVELMOImageLogMessageManager());
        return failure(formater[eImageMessage::eIM_AllocationFailed] % nbBytes);
    }
    return success();
}

} // namespace velmo::image
