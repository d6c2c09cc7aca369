// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOImage/detail/PixelMemory.h"

#include "VELMOBase/AvailableMemory.h"
#include "VELMOBase/PageBuffer.h"
#include "VELMOImage/VELMOImageLog.h"
#include "VELMOUtil/Failures.h"

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
    return failMessage(g_velmoImageRaise, eImageMessage::eIM_MemoryTooSmall, nbBytes, available);
}

BoolResult allocatePixels(vlUInt64 nbBytes, std::shared_ptr<std::byte>& pPixels) {
    BoolResult result = requireMemory(nbBytes);
    if (!result) {
        return result;
    }
    try {
        auto const pBuffer = std::make_shared<PageBuffer const>(nbBytes);
        pPixels = std::shared_ptr<std::byte>(pBuffer, pBuffer->getData());
    } catch (std::bad_alloc const&) {
        return failMessage(g_velmoImageRaise, eImageMessage::eIM_AllocationFailed, nbBytes);
    }
    return success();
}

} // namespace velmo::image
