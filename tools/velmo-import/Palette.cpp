// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Palette.h"

#include "Refusal.h"

namespace velmo::importer {

Palette readPalette(TiffHandle const& handle, PageShape const& shape) {
    std::uint16_t const* pRed = nullptr;
    std::uint16_t const* pGreen = nullptr;
    std::uint16_t const* pBlue = nullptr;
    if (TIFFGetField(handle.get(), TIFFTAG_COLORMAP, &pRed, &pGreen, &pBlue) != 1 || pRed == nullptr ||
        pGreen == nullptr || pBlue == nullptr) {
        refuse("the palette is missing");
    }
    std::size_t const nbColours = std::size_t{1} << shape.bits;
    Palette palette = {{pRed, pRed + nbColours}, {pGreen, pGreen + nbColours}, {pBlue, pBlue + nbColours}, 0};
    constexpr unsigned int bitsOfByte = 8;
    constexpr std::uint16_t low = 0xff;
    constexpr std::uint16_t repeat = 0x101;
    bool bHighBytes = true;
    bool bRepeated = true;
    for (auto const* pChannel : {&palette.red, &palette.green, &palette.blue}) {
        for (std::uint16_t const colour : *pChannel) {
            bHighBytes = bHighBytes && (colour & low) == 0;
            bRepeated = bRepeated && colour == (colour >> bitsOfByte) * repeat;
        }
    }
    palette.shift = bHighBytes || bRepeated ? bitsOfByte : 0;
    return palette;
}

} // namespace velmo::importer
