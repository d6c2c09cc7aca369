// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOUtil/BoolResult.h>
#include <VELMOUtil/Types.h>

using TIFF = struct tiff;

namespace velmo::image::file {

class TiffStream;

/// How a plane is cut into strips.
struct StripLayout {
    vlUInt64 sizeX;
    vlUInt64 sizeY;
    vlUInt64 rowsPerStrip; ///< at least 1, at most sizeY unless that is 0
    vlUInt64 pixelStride;  ///< bytes from pixel to pixel

    vlUInt64 getNbPixels() const { return sizeX * sizeY; }
    vlUInt64 getStripPixels() const { return sizeX * rowsPerStrip; }
    vlUInt64 getStripBytes() const { return getStripPixels() * pixelStride; }
    /// Fewer of the last strip than of the others.
    vlUInt64 getBytesOf(vlUInt64 strip) const;
    /// The end of the row in which a strip's pixel before `nbPixels` lies, in bytes.
    vlUInt64 getBytesOfRows(vlUInt64 nbPixels) const;
    /// Whether every number above fits in 64 bits with room to spare.
    bool isCountable() const;
};

/// Strips of the current directory of a handle, which stays the same as long as this lives.
///
/// Strips that lie in the file as pixels lie in memory ("plain": not compressed, not swapped) can be moved
/// directly, several at once where they lie one behind the other. What fails that way is to be repeated strip
/// by strip through libtiff, which knows the words for it.
class TiffStrips {
  public:
    TiffStrips(TIFF* pTiff, StripLayout const& layout);

    StripLayout const& getLayout() const { return _layout; }

    /// Number of plain strips that lie one behind the other from `strip` on, at most `nbWanted`.
    vlUInt64 countPlain(vlUInt64 strip, vlUInt64 nbWanted) const;
    /// Reads or writes bytes of plain strips from byte `skip` of `strip` on. False, and no strip counts as
    /// plain any more, where that does not move them all.
    bool readPlain(vlUInt64 strip, vlUInt64 skip, vlUInt64 nbBytes, void* pBuffer);
    bool writePlain(vlUInt64 strip, vlUInt64 skip, vlUInt64 nbBytes, void const* pBuffer);
    /// Whether the file reaches to the end of bytes of plain strips.
    bool isInFile(vlUInt64 strip, vlUInt64 skip, vlUInt64 nbBytes) const;

    /// Decodes the first `nbBytes` bytes of a strip; as many as libtiff says, less than 0 for none.
    long read(vlUInt64 strip, vlUInt64 nbBytes, void* pBuffer) const;
    /// Replaces a strip. `pBuffer` holds a whole one; what lies behind the last row of the plane is left out
    /// where the strip in the file has no room for it. A compressed strip comes to lie behind the one before
    /// it. The strip must be writable. Result as of `read`.
    long write(vlUInt64 strip, void const* pBuffer) const;

    /// Whether the file says of an uncompressed strip that it has another number of bytes than its pixels
    /// take.
    bool hasWrongByteCount(vlUInt64 strip) const;
    /// Fails, with a reason for a message, where a strip cannot hold so many bytes by what it takes in the
    /// file.
    BoolResult requireRoomFor(vlUInt64 strip, vlUInt64 nbBytes) const;
    /// Fails, with a reason for a message, where `write` would have libtiff add a strip or guess its place.
    BoolResult requireWritable(vlUInt64 strip) const;

  private:
    bool isShort(vlUInt64 strip) const { return _layout.getBytesOf(strip) < _layout.getStripBytes(); }
    bool hasPlainSamples() const;
    bool isPredicted() const;
    bool inflate(vlUInt64 strip, vlUInt64 nbBytes, void* pBuffer) const;
    long encode(vlUInt64 strip, void const* pBuffer) const;
    bool moveToEnd(vlUInt64 strip) const;

    TIFF* _pTiff;
    TiffStream* _pStream;
    StripLayout _layout;
    bool _bCompressed;
    bool _bDeflate;
    bool _bWritable;
    bool _bPlain;
    bool _bInflates; ///< whole strips, beside libtiff
};

/// While it lives, Deflate strips are decoded by zlib. libtiff's other choice leaves bytes unwritten, without
/// a failure, where a strip holds more than is asked for.
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

/// Whether a strip that takes so many bytes in the file can be so large.
bool isPlausibleStripSize(vlUInt64 nbBytes, vlUInt64 nbBytesInFile);

/// Whether the current directory is compressed by Deflate, under either of its codes.
bool isDeflate(TIFF* pTiff);

} // namespace velmo::image::file
