// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "input/ByteSwap.h"

#include <cstdint>
#include <cstring>

namespace velmo::tool {

namespace {

template <class Value, class Swap>
void swapEach(void* values, vlUInt64 nbValues, Swap const& swap) {
    auto* pBytes = static_cast<unsigned char*>(values);
    for (vlUInt64 index = 0; index < nbValues; ++index, pBytes += sizeof(Value)) {
        Value value;
        std::memcpy(&value, pBytes, sizeof(Value));
        value = swap(value);
        std::memcpy(pBytes, &value, sizeof(Value));
    }
}

} // namespace

void swapBytes(void* values, vlUInt64 nbValues, unsigned int valueSize) {
    if (valueSize == 2) {
        swapEach<std::uint16_t>(values, nbValues,
                                [](std::uint16_t value) { return __builtin_bswap16(value); });
    } else if (valueSize == 4) {
        swapEach<std::uint32_t>(values, nbValues,
                                [](std::uint32_t value) { return __builtin_bswap32(value); });
    }
}

} // namespace velmo::tool
