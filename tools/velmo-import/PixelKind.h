// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "ImportTiff.h"
#include "PageDescription.h"

#include <VELMOImage/GeometryParts.h>
#include <VELMOImage/ImageEnums.h>
#include <vector>

namespace velmo::importer {

/// How stored samples become pixels.
enum class eSampleCode {
    Copy,    ///< 8, 16 or 32 bits as they are
    Bits,    ///< integers of other bits, the most significant bit first, widened
    Half,    ///< floating point of 16 bits
    Float24, ///< floating point of 24 bits
    Int64,   ///< integers of 64 bits whose values must fit into 32
    Double   ///< floating point of 64 bits, rounded
};

/// Which way the samples of a directory are decoded.
enum class eDecoding {
    Samples, ///< as stored
    JpegRgb, ///< the JPEG codec converts YCbCr to RGB
    Rgba,    ///< libtiff converts the colours of the page to RGB of 8 bits
    LabRgb   ///< samples of Lab become RGB of 8 bits
};

/// What becomes of the pixels of pages of one shape.
struct PixelKind {
    eDecoding decoding = eDecoding::Samples;
    eSampleCode code = eSampleCode::Copy;
    bool bSigned = false;
    std::uint16_t bits = 8; ///< of a stored sample
    vlUInt64 nbStored = 1;  ///< samples of a stored pixel
    image::eImageBufferType type = image::eIBT_None;
    image::ColorGeometry color; ///< with the channels of one page
    bool bTurn = false;         ///< the first channel is turned: largest value - value
    vlUInt64 largestValue = 0;  ///< of a stored sample
    bool bPalette = false;      ///< indexes become three colours

    bool isCopy() const { return code == eSampleCode::Copy && !bTurn && !bPalette; }
    vlUInt64 getPixelSize() const { return image::getImageBufferBaseSize(type); }
};

/// Decides what becomes of the pixels and adds what changes to `changes`. `handle` is at a page of the shape.
/// Throws ImportException for pixels that cannot be imported with these options.
PixelKind choosePixelKind(TiffHandle& handle, PageShape const& shape, ImportOptions const& options,
                          std::vector<ImportChange>& changes);

} // namespace velmo::importer
