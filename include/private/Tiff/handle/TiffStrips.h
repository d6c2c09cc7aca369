// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Tiff/handle/DirectoryChain.h"

#include <VELMOUtil/BoolResult.h>
#include <VELMOUtil/Types.h>
#include <cstddef>
#include <optional>
#include <vector>

using TIFF = struct tiff;

namespace velmo::image::file {

class TiffStream;

/// How a plane is divided into strips.
struct StripLayout {
    vlUInt64 sizeX;
    vlUInt64 sizeY;
    vlUInt64 rowsPerStrip; ///< at least 1, at most sizeY unless that is 0
    vlUInt64 pixelStride;  ///< bytes from pixel to pixel

    vlUInt64 getNbPixels() const { return sizeX * sizeY; }
    vlUInt64 getStripPixels() const { return sizeX * rowsPerStrip; }
    vlUInt64 getStripBytes() const { return getStripPixels() * pixelStride; }
    /// Bytes of a strip. The last strip may have fewer than the others.
    vlUInt64 getBytesOf(vlUInt64 strip) const;
    /// Bytes from the start of a strip to the end of the row of its pixel `nbPixels` - 1.
    vlUInt64 getBytesOfRows(vlUInt64 nbPixels) const;
    /// Whether none of the numbers above overflows 64 bits.
    bool isCountable() const;
};

/// The strips of a directory as a file stores them, in their order.
struct EncodedStrips {
    std::vector<std::byte> bytes;
    std::vector<vlUInt64> ends; ///< of each strip in `bytes`

    vlUInt64 getBegin(vlUInt64 strip) const { return strip == 0 ? 0 : ends[strip - 1]; }
};

/// Strips of the current directory of a handle. The directory must not change during the lifetime of the
/// object.
///
/// A plain strip is stored as its pixels are in memory: not compressed, and in the byte order of the machine.
/// Plain strips can be transferred directly, several at once if they are contiguous. If a direct transfer
/// fails, the caller repeats it strip by strip through libtiff, which reports errors.
class TiffStrips {
  public:
    TiffStrips(TIFF* pTiff, StripLayout const& layout);
    /// Strips of another directory that has the shape of the current one, at the given places. Only for
    /// direct transfers of plain strips.
    TiffStrips(TIFF* pTiff, StripLayout const& layout, StripPlaces places);

    StripLayout const& getLayout() const { return _layout; }

    /// Number of contiguous plain strips from `strip` on, at most `nbWanted`.
    vlUInt64 countPlain(vlUInt64 strip, vlUInt64 nbWanted) const;
    /// Reads or writes bytes of plain strips, from byte `skip` of `strip` on. If not all bytes are
    /// transferred, it returns false, and from then on no strip counts as plain.
    bool readPlain(vlUInt64 strip, vlUInt64 skip, vlUInt64 nbBytes, void* pBuffer);
    bool writePlain(vlUInt64 strip, vlUInt64 skip, vlUInt64 nbBytes, void const* pBuffer);
    /// Whether these bytes of plain strips are inside the file.
    bool isInFile(vlUInt64 strip, vlUInt64 skip, vlUInt64 nbBytes) const;

    /// Decodes the first `nbBytes` bytes of a strip. Returns their number according to libtiff, or less than
    /// 0 after an error.
    long read(vlUInt64 strip, vlUInt64 nbBytes, void* pBuffer) const;
    /// The pixels of a strip that is read in parts, if the last read of this handle was from the same
    /// directory and strip; null otherwise, for a plain strip, and if the strip cannot be decoded as a whole.
    /// They are valid until the next use of the handle.
    std::byte const* findDecoded(vlUInt64 strip) const;
    /// Replaces a strip. `pBuffer` contains a whole strip. Rows after the last row of the plane are omitted
    /// if the strip in the file has no room for them. A compressed strip is always stored behind the strip
    /// before it. The strip must be writable. Returns a number of bytes like `read`.
    long write(vlUInt64 strip, void const* pBuffer) const;
    /// The same with the bytes of an encoded strip.
    long writeEncoded(vlUInt64 strip, EncodedStrips const& strips) const;

    /// Whether an uncompressed strip has another number of bytes in the file than its pixels need.
    bool hasWrongByteCount(vlUInt64 strip) const;
    /// Fails, with a reason for a message, if a strip cannot contain `nbBytes` bytes of pixels, judging by
    /// its bytes in the file.
    BoolResult requireEnoughBytes(vlUInt64 strip, vlUInt64 nbBytes) const;
    /// Fails, with a reason for a message, if libtiff would add a strip or guess its offset in `write`.
    BoolResult requireWritable(vlUInt64 strip) const;

  private:
    bool isShort(vlUInt64 strip) const { return _layout.getBytesOf(strip) < _layout.getStripBytes(); }
    bool hasPlainSamples() const;
    bool isPredicted() const;
    bool inflate(vlUInt64 strip, vlUInt64 nbBytes, void* pBuffer) const;
    template <class Store>
    long writeInOrder(vlUInt64 strip, Store const& store) const;
    long encode(vlUInt64 strip, void const* pBuffer) const;
    bool storeRaw(vlUInt64 strip, std::byte const* pBytes, vlUInt64 nbBytes) const;
    bool moveToEnd(vlUInt64 strip) const;
    vlUInt64 getOffset(vlUInt64 strip) const;
    vlUInt64 getByteCount(vlUInt64 strip) const;
    bool splitOnlyPlace(vlUInt64 nbStrips);

    TIFF* _pTiff;
    TiffStream* _pStream;
    StripLayout _layout;
    std::optional<StripPlaces> _places; ///< set for another directory than the current one
    bool _bCompressed;
    bool _bDeflate;
    bool _bWritable;
    bool _bPlain;
    bool _bInflates; ///< whether whole strips are decoded without libtiff
};

/// During its lifetime libtiff decodes Deflate strips with zlib. Its other decoder leaves bytes unwritten,
/// without an error, if a strip contains more bytes than requested.
class ZlibDecoding {
  public:
    ZlibDecoding(TIFF* pTiff, bool bWanted);
    ~ZlibDecoding();
    ZlibDecoding(ZlibDecoding const&) = delete;
    ZlibDecoding& operator=(ZlibDecoding const&) = delete;

  private:
    TIFF* _pTiff;
    int _previous = 0;
    bool _bSet = false;
};

/// Whether a strip of `nbBytesInFile` bytes in the file can contain `nbBytes` bytes of pixels.
bool isPlausibleStripSize(vlUInt64 nbBytes, vlUInt64 nbBytesInFile);

/// Whether the current directory is compressed with Deflate, under either of its codes.
bool isDeflate(TIFF* pTiff);

} // namespace velmo::image::file
