// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/planes/PackedRows.h"

#include "Tiff/handle/TiffStream.h"
#include "Tiff/handle/TiffStrips.h"
#include "Tiff/handle/TiffTags.h"
#include "Tiff/planes/PlaneContext.h"

#include <VELMOImageFile/ImageFileCheckMessage.h>
#include <algorithm>
#include <string>
#include <vector>

namespace velmo::image::file {

namespace {

using Check = eImageFileCheckMessage;

/// Unpacks bits, starting with the most significant bit of each byte.
void unpack(std::byte const* pBits, vlUInt64 first, vlUInt64 nbPixels, std::byte* pPixels) {
    for (vlUInt64 i = 0; i < nbPixels; ++i) {
        vlUInt64 const bit = first + i;
        pPixels[i] = (pBits[bit / 8] >> (7 - bit % 8)) & std::byte{1};
    }
}

class PackedRows {
  public:
    explicit PackedRows(PlaneContext const& context)
        : _context(context), _pStream(TiffStream::find(context.pTiff)), _sizeX(context.geometry.getSizeX()),
          _nbRows(getTag<std::uint32_t>(context.pTiff, TIFFTAG_IMAGELENGTH).value_or(0)),
          _rowsPerStrip(getTag<std::uint32_t>(context.pTiff, TIFFTAG_ROWSPERSTRIP).value_or(0)),
          _bCompressed(getCompression(context.pTiff) != COMPRESSION_NONE) {
        if (_rowsPerStrip == 0) { // one strip of all rows
            _rowsPerStrip = std::max<vlUInt64>(1, _nbRows);
        }
        _buffer.resize(std::max<vlUInt64>((_sizeX + 7) / 8, TIFFScanlineSize64(context.pTiff)));
    }

    /// Codecs can only start at the first row of a strip, or go on after the row that they have decoded last.
    BoolResult skipTo(vlUInt64 row) {
        BoolResult result = success();
        if (_bCompressed && row < _nbRows) {
            vlUInt64 const strip = row / _rowsPerStrip;
            vlUInt64 const next = isDecoding(strip) ? TIFFCurrentRow(_context.pTiff) : strip * _rowsPerStrip;
            for (vlUInt64 before = next <= row ? next : strip * _rowsPerStrip; result && before < row;
                 ++before) {
                result = read(before);
            }
        }
        return result;
    }

    BoolResult read(vlUInt64 row) {
        std::fill(_buffer.begin(), _buffer.end(), std::byte{0});
        ZlibDecoding const zlib(_context.pTiff, isDeflate(_context.pTiff));
        bool const bRead =
            TIFFReadScanline(_context.pTiff, _buffer.data(), static_cast<std::uint32_t>(row), 0) == 1;
        keepPlace(row, bRead);
        if (bRead) {
            return success();
        }
        return failToReadRow(row, failure(lastTiffMessage()));
    }

    BoolResult failToReadRow(vlUInt64 row, BoolResult const& reason) const {
        PlaneRun const& run = _context.run;
        return fail(eTiffImageFileMessage::eTIFM_ReadRowError, row, run.z, run.c, run.t,
                    _context.path.string(), reason);
    }

    BoolResult unpackRun(std::byte* pPixels) {
        vlUInt64 const end = _context.run.pixelStart + _context.run.nbPixels;
        BoolResult result = acceptBroken(skipTo(_context.run.pixelStart / _sizeX));
        for (vlUInt64 pixel = _context.run.pixelStart; result && pixel < end;) {
            vlUInt64 const column = pixel % _sizeX;
            vlUInt64 const nbPixels = std::min(end - pixel, _sizeX - column);
            result = acceptBroken(read(pixel / _sizeX));
            if (result) {
                unpack(_buffer.data(), getFirstBit(column), nbPixels, pPixels);
            }
            pPixels += nbPixels;
            pixel += nbPixels;
        }
        warnOfBroken();
        return result;
    }

  private:
    /// Whether libtiff has decoded the last row of this handle, in this strip, without an error.
    bool isDecoding(vlUInt64 strip) const {
        if (_pStream == nullptr || !reusesLastRead(_context.policy)) {
            return false;
        }
        LastStrip const& last = _pStream->accessLastStrip();
        return last.directoryOffset == TIFFCurrentDirOffset(_context.pTiff) && last.strip == strip &&
               last.nextRow != 0 && last.nextRow == TIFFCurrentRow(_context.pTiff) &&
               strip == TIFFCurrentStrip(_context.pTiff);
    }

    void keepPlace(vlUInt64 row, bool bRead) const {
        if (_pStream != nullptr) {
            LastStrip& last = _pStream->accessLastStrip();
            last = LastStrip();
            last.directoryOffset = bRead ? TIFFCurrentDirOffset(_context.pTiff) : 0;
            last.strip = row / _rowsPerStrip;
            last.nextRow = row + 1;
        }
    }

    /// Plain calls cut the column to 8 bits. A run that begins at column 256 or later therefore begins at a
    /// wrong bit.
    vlUInt64 getFirstBit(vlUInt64 column) const {
        constexpr vlUInt64 byteMask = 0xFF;
        PlaneRun const& run = _context.run;
        vlUInt64 const first = cutsPackedColumns(_context.policy) ? column & byteMask : column;
        if (first != column) {
            warn(VELMO_HERE, Check::eIFCM_PackedRunShifted, run.z, run.c, run.t, _context.path.string(),
                 first, column);
        }
        return first;
    }

    /// If the policy accepts a row that cannot be decoded, the row keeps the pixels that were decoded.
    BoolResult acceptBroken(BoolResult const& result) {
        if (result || !zeroesBrokenStrips(_context.policy)) {
            return result;
        }
        if (++_nbBroken == 1) {
            _firstBroken = result.getMessage();
        }
        return success();
    }

    void warnOfBroken() const {
        PlaneRun const& run = _context.run;
        if (_nbBroken != 0) {
            warn(VELMO_HERE, Check::eIFCM_RowsNotDecoded, _nbBroken, run.z, run.c, run.t, _firstBroken);
        }
    }

    PlaneContext const& _context;
    TiffStream* _pStream;
    vlUInt64 _sizeX;
    vlUInt64 _nbRows;
    vlUInt64 _rowsPerStrip;
    bool _bCompressed;
    std::vector<std::byte> _buffer;
    vlUInt64 _nbBroken = 0;   ///< rows
    std::string _firstBroken; ///< message of the first failure
};

} // namespace

BoolResult readPackedRows(PlaneContext const& context, std::byte* pPixels) {
    vlUInt64 const sizeX = context.geometry.getSizeX();
    vlUInt64 const sizeY = context.geometry.getSizeY();
    if (sizeX == 0 || context.run.nbPixels == 0) {
        return success();
    }
    PackedRows rows(context);
    vlUInt64 const firstRow = context.run.pixelStart / sizeX;
    BoolResult inside = context.requireRunInside();
    if (!inside) {
        return rows.failToReadRow(std::max(firstRow, sizeY), inside);
    }
    BoolResult fits = context.requirePackedDirectory();
    return fits ? rows.unpackRun(pPixels) : rows.failToReadRow(firstRow, fits);
}

} // namespace velmo::image::file
