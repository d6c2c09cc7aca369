// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "output/TiffLayout.h"

namespace velmo::tool {

vlUInt64 fromLittleEndian(std::string const& bytes, std::size_t begin, std::size_t nbBytes) {
    vlUInt64 number = 0;
    for (std::size_t index = nbBytes; index-- > 0;) {
        number = number << 8 | static_cast<unsigned char>(bytes[begin + index]);
    }
    return number;
}

std::string toLittleEndian(vlUInt64 number, std::size_t nbBytes) {
    std::string bytes;
    for (; bytes.size() < nbBytes; number >>= 8) {
        bytes += static_cast<char>(number & 0xff);
    }
    return bytes;
}

std::string toLittleEndian(Rational const& value) {
    return toLittleEndian(value.numerator, 4) + toLittleEndian(value.denominator, 4);
}

} // namespace velmo::tool
