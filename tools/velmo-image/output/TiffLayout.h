// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "output/Rational.h"

#include <VELMOUtil/Types.h>
#include <limits>
#include <string>
#include <sys/types.h>

namespace velmo::tool {

// Numbers and directories of little-endian TIFF files.

/// The number in `nbBytes` bytes from `begin` on, at most 8.
vlUInt64 fromLittleEndian(std::string const& bytes, std::size_t begin, std::size_t nbBytes);
/// The lowest `nbBytes` bytes of a number.
std::string toLittleEndian(vlUInt64 number, std::size_t nbBytes);
/// Numerator and denominator.
std::string toLittleEndian(Rational const& value);

/// Sizes in bytes of the parts of a directory.
struct DirectoryLayout {
    std::size_t count;  ///< of the number of entries before them
    std::size_t entry;  ///< tag and type (2 each), number of values, their place or the values themselves
    std::size_t offset; ///< of places and of numbers of values
    vlUInt64 largestOffset;
};

constexpr DirectoryLayout g_classicLayout = {2, 12, 4, std::numeric_limits<std::uint32_t>::max()};
constexpr DirectoryLayout g_bigTiffLayout = {8, 20, 8,
                                             static_cast<vlUInt64>(std::numeric_limits<off_t>::max())};

} // namespace velmo::tool
