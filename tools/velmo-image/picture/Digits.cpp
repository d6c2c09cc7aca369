// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "picture/Digits.h"

#include <algorithm>
#include <array>
#include <string>

namespace velmo::tool {

namespace {

constexpr vlUInt64 g_digitWidth = 5;
constexpr vlUInt64 g_digitHeight = 7;
constexpr unsigned char g_black = 0;
constexpr unsigned char g_white = 255;

/// Side of a part for which a dot of a digit has one pixel more.
constexpr vlUInt64 g_sizeOfDot = 128;

using Glyph = std::array<char const*, g_digitHeight>;
constexpr std::array<Glyph, 10> g_digits = {
    {{" ### ", "#   #", "#  ##", "# # #", "##  #", "#   #", " ### "},
     {"  #  ", " ##  ", "  #  ", "  #  ", "  #  ", "  #  ", " ### "},
     {" ### ", "#   #", "    #", "  ## ", " #   ", "#    ", "#####"},
     {" ### ", "#   #", "    #", "  ## ", "    #", "#   #", " ### "},
     {"   # ", "  ## ", " # # ", "#  # ", "#####", "   # ", "   # "},
     {"#####", "#    ", "#### ", "    #", "    #", "#   #", " ### "},
     {"  ## ", " #   ", "#    ", "#### ", "#   #", "#   #", " ### "},
     {"#####", "    #", "   # ", "  #  ", " #   ", " #   ", " #   "},
     {" ### ", "#   #", "#   #", " ### ", "#   #", "#   #", " ### "},
     {" ### ", "#   #", "#   #", " ####", "    #", "   # ", " ##  "}}};

void fillPart(Rectangle const& part, unsigned char level, Bitmap& bitmap) {
    for (vlUInt64 y = part.y; y < part.y + part.height; ++y) {
        for (vlUInt64 x = part.x; x < part.x + part.width; ++x) {
            std::fill_n(bitmap.at(x, y), bitmap.nbChannels, level);
        }
    }
}

/// Calls `draw` with the upper left pixel of each dot of the digits.
template <class Draw>
void forEachDot(std::string const& digits, vlUInt64 dot, Draw const& draw) {
    for (vlUInt64 place = 0; place < digits.size(); ++place) {
        Glyph const& glyph = g_digits[static_cast<std::size_t>(digits[place] - '0')];
        for (vlUInt64 y = 0; y < g_digitHeight; ++y) {
            for (vlUInt64 x = 0; x < g_digitWidth; ++x) {
                if (glyph[y][x] == '#') {
                    draw((1 + place * (g_digitWidth + 1) + x) * dot, (1 + y) * dot);
                }
            }
        }
    }
}

} // namespace

void drawNumber(vlUInt64 number, Rectangle const& part, Bitmap& bitmap) {
    std::string const digits = std::to_string(number);
    vlUInt64 const dot = 1 + std::min(part.width, part.height) / g_sizeOfDot;
    vlUInt64 const width = (digits.size() * (g_digitWidth + 1) + 1) * dot;
    vlUInt64 const height = (g_digitHeight + 2) * dot;
    if (2 * width > part.width || 2 * height > part.height) {
        return;
    }
    forEachDot(digits, dot, [&](vlUInt64 x, vlUInt64 y) {
        fillPart({part.x + x - dot, part.y + y - dot, 3 * dot, 3 * dot}, g_black, bitmap);
    });
    forEachDot(digits, dot, [&](vlUInt64 x, vlUInt64 y) {
        fillPart({part.x + x, part.y + y, dot, dot}, g_white, bitmap);
    });
}

} // namespace velmo::tool
