// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "DisplayTags.h"

#include "ImportTiff.h"
#include "Palette.h"

#include <VELMOUtil/GuardedRaise.h>
#include <algorithm>

namespace velmo::importer {

namespace {

constexpr unsigned int g_lastOrientation = 8;
constexpr std::uint16_t g_mostPaletteBits = 16;
constexpr unsigned int g_largestByte = 255;
constexpr unsigned int g_largestColour = 65535;

/// Old programs wrote colours of 8 bits without a shift.
bool hasByteColours(Palette const& palette) {
    auto const areBytes = [](std::vector<std::uint16_t> const& colours) {
        return std::all_of(colours.begin(), colours.end(),
                           [](std::uint16_t colour) { return colour <= g_largestByte; });
    };
    return areBytes(palette.red) && areBytes(palette.green) && areBytes(palette.blue);
}

/// `shift` is 8 for colours of 8 bits in the upper bits, otherwise 0.
unsigned char toByte(std::uint16_t colour, unsigned int shift, bool bByteColours) {
    bool const bRounded = shift == 0 && !bByteColours;
    return static_cast<unsigned char>(
        bRounded ? (colour * g_largestByte + g_largestColour / 2) / g_largestColour : colour >> shift);
}

std::vector<std::array<unsigned char, 3>> toBytes(Palette const& palette) {
    bool const bByteColours = hasByteColours(palette);
    std::vector<std::array<unsigned char, 3>> colours;
    for (std::size_t index = 0; index < palette.red.size(); ++index) {
        colours.push_back({toByte(palette.red[index], palette.shift, bByteColours),
                           toByte(palette.green[index], palette.shift, bByteColours),
                           toByte(palette.blue[index], palette.shift, bByteColours)});
    }
    return colours;
}

} // namespace

DisplayTags readDisplayTags(boost::filesystem::path const& path) {
    UnloggedRaises const unlogged;
    DisplayTags tags;
    try {
        TiffHandle const handle(std::make_shared<InputFile>(path));
        PageShape const shape = readShape(handle, 0);
        bool const bKnown = shape.orientation >= 1 && shape.orientation <= g_lastOrientation;
        tags.orientation = bKnown ? shape.orientation : tags.orientation;
        if (shape.photometric == PHOTOMETRIC_PALETTE && shape.samples == 1 &&
            shape.bits <= g_mostPaletteBits) {
            tags.palette = toBytes(readPalette(handle, shape));
        }
    } catch (BaseException const&) {
        return tags;
    }
    return tags;
}

} // namespace velmo::importer
