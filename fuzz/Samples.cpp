// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Samples.h"

#include <VELMOUtil/Types.h>
#include <cstdint>
#include <cstring>
#include <initializer_list>

namespace velmo::fuzz {

namespace {

constexpr std::size_t g_headerBytes = 116;
constexpr std::size_t g_calibrationBytes = 4424;

template <class Number>
void put(std::string& bytes, std::size_t offset, Number number) {
    std::memcpy(&bytes[offset], &number, sizeof(number)); // Im6 and all supported machines are little-endian
}

std::string makeCalibration() {
    std::string bytes(g_calibrationBytes, '\0');
    for (std::size_t const pixels : {8U, 32U}) {
        put(bytes, pixels, 4.0);
    }
    for (std::size_t const extent : {56U, 80U}) {
        put(bytes, extent, 2.0);
    }
    bytes.replace(168, 2, "um");
    put(bytes, 4416, 1.5F);
    return bytes;
}

} // namespace

std::string makeIm6(std::string const& text, bool bCalibration) {
    std::string bytes(g_headerBytes, '\0');
    std::size_t offset = 0;
    for (std::uint32_t const number : {0x6934U, 2U, 1U, 2U, 3U, 2U}) { // magic number, sizes X, Y, Z, C, T
        put(bytes, offset, number);
        offset += sizeof(number);
    }
    put(bytes, 52, std::uint32_t{18}); // unsigned, 16 bits
    put(bytes, 68, static_cast<std::uint32_t>(text.size()));
    for (char pixel = 0; pixel < 48; ++pixel) {
        bytes += pixel;
    }
    return bytes + text + (bCalibration ? makeCalibration() : std::string());
}

} // namespace velmo::fuzz
