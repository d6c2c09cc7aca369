// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/PackedRows.h"

#include "Tiff/PlanContext.h"
#include "Tiff/TiffStrips.h"
#include "Tiff/TiffTags.h"

#include <algorithm>
#include <vector>

namespace velmo {
namespace image {
namespace file {

namespace {

/// Bits from the most significant one on. The first one's number is a byte: a run that begins at column 256
/// or beyond begins at a bit other than its own.
void unpack(std::byte const* pBits, vlUInt64 startColumn, vlUInt64 nbPixels, std::byte* pPixels) {
    vlUInt64 const first = startColumn & 0xFF;
    for (vlUInt64 i = 0; i < nbPixels; ++i) {
        vlUInt64 const bit = first + i;
        pPixels[i] = (pBits[bit / 8] >> (7 - bit % 8)) & std::byte{1};
    }
}

class PackedRows {
  public:
    explicit PackedRows(PlanContext const& context)
        : _context(context), _sizeX(context.geometry.getSizeX()),
          _nbRows(getTag<std::uint32_t>(context.pTiff, TIFFTAG_IMAGELENGTH).value_or(0)),
          _rowsPerStrip(getTag<std::uint32_t>(context.pTiff, TIFFTAG_ROWSPERSTRIP).value_or(0)),
          _bCompressed(getCompression(context.pTiff) != COMPRESSION_NONE) {
        if (_rowsPerStrip == 0) { // all rows in one
            _rowsPerStrip = std::max<vlUInt64>(1, _nbRows);
        }
        tmsize_t const scanlineSize = TIFFScanlineSize(context.pTiff);
        _buffer.resize(
            std::max((_sizeX + 7) / 8, static_cast<vlUInt64>(std::max<tmsize_t>(0, scanlineSize))));
    }

    /// Codecs know no other start than a strip's first row.
    BoolResult skipTo(vlUInt64 row) {
        BoolResult result = success();
        if (_bCompressed && row < _nbRows) {
            for (vlUInt64 before = row - row % _rowsPerStrip; result && before < row; ++before) {
                result = read(before);
            }
        }
        return result;
    }

    BoolResult read(vlUInt64 row) {
        if (row >= _nbRows) { // libtiff would cut its number to 32 bits
            return failToReadRow(row);
        }
        std::fill(_buffer.begin(), _buffer.end(), std::byte{0});
        ZlibDecoding const zlib(_context.pTiff, isInShortStrip(row) && isDeflate(_context.pTiff));
        if (TIFFReadScanline(_context.pTiff, _buffer.data(), static_cast<std::uint32_t>(row), 0) == 1) {
            return success();
        }
        return failToReadRow(row);
    }

    BoolResult failToReadRow(vlUInt64 row) const {
        PlanRun const& run = _context.run;
        return fail(eTiffImageFileMessage::eTIFM_ReadRowError, row, run.z, run.c, run.t,
                    _context.path.string(), getTiffWords());
    }

    std::byte const* getBits() const { return _buffer.data(); }

  private:
    bool isInShortStrip(vlUInt64 row) const { return row - row % _rowsPerStrip + _rowsPerStrip > _nbRows; }

    PlanContext const& _context;
    vlUInt64 _sizeX;
    vlUInt64 _nbRows;
    vlUInt64 _rowsPerStrip;
    bool _bCompressed;
    std::vector<std::byte> _buffer;
};

} // namespace

BoolResult readPackedRows(PlanContext const& context, std::byte* pPixels) {
    vlUInt64 const sizeX = context.geometry.getSizeX();
    vlUInt64 const end = context.run.pixelStart + context.run.nbPixels;
    if (sizeX == 0 || context.run.nbPixels == 0) {
        return success();
    }
    PackedRows rows(context);
    if (!context.isRunInside()) {
        return rows.failToReadRow(std::max(context.run.pixelStart / sizeX, context.geometry.getSizeY()));
    }
    if (!context.fitsDirectory()) { // a page among others of wider pixels, say
        return rows.failToReadRow(context.run.pixelStart / sizeX);
    }
    BoolResult result = rows.skipTo(context.run.pixelStart / sizeX);
    for (vlUInt64 pixel = context.run.pixelStart; result && pixel < end;) {
        vlUInt64 const column = pixel % sizeX;
        vlUInt64 const nbPixels = std::min(end - pixel, sizeX - column);
        result = rows.read(pixel / sizeX);
        if (result) {
            unpack(rows.getBits(), column, nbPixels, pPixels);
        }
        pPixels += nbPixels;
        pixel += nbPixels;
    }
    return result;
}

} // namespace file
} // namespace image
} // namespace velmo
