// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "terminal/Failure.h"

#include <VELMOImage/ImageEnums.h>
#include <VELMOUtil/Types.h>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace velmo::tool {

/// Calls `work` with a value of the C++ type of a pixel type. Throws WorkFailure for an unknown type.
template <class Work>
decltype(auto) withValueType(image::eImageBufferType type, Work const& work) {
    switch (image::toDataType(type)) {
    case image::eDT_Int8:
        return work(std::int8_t{});
    case image::eDT_UInt8:
        return work(std::uint8_t{});
    case image::eDT_Int16:
        return work(std::int16_t{});
    case image::eDT_UInt16:
        return work(std::uint16_t{});
    case image::eDT_Int32:
        return work(std::int32_t{});
    case image::eDT_UInt32:
        return work(std::uint32_t{});
    case image::eDT_Real32:
        return work(float{});
    case image::eDT_None:
        break;
    }
    throw WorkFailure("pixels without a type cannot be measured");
}

/// A value in memory that need not be aligned.
template <class Value>
Value loadValue(std::byte const* pValues, vlUInt64 index) {
    Value value;
    std::memcpy(&value, pValues + index * sizeof(Value), sizeof(Value));
    return value;
}

} // namespace velmo::tool
