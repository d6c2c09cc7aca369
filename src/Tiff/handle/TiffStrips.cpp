// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/handle/TiffStrips.h"

#include "Frame/FailureText.h"
#include "Tiff/handle/TiffDirectories.h"
#include "Tiff/handle/TiffStream.h"
#include "Tiff/handle/TiffTags.h"

#include <VELMOBase/CheckedArithmetic.h>
#include <VELMOImageFile/ImageFileCheckMessage.h>
#include <algorithm>
#include <vector>

namespace velmo::image::file {

namespace {

/// The largest ratio of uncompressed to compressed bytes of the codecs that are checked.
constexpr vlUInt64 g_largestRatio = 4096;
constexpr vlUInt64 g_smallStrip = 65536;

bool hasLimitedRatio(std::uint16_t compression) {
    switch (compression) {
    case COMPRESSION_NONE:
    case COMPRESSION_LZW:
    case COMPRESSION_ADOBE_DEFLATE:
    case COMPRESSION_DEFLATE:
    case COMPRESSION_PACKBITS:
        return true;
    default:
        return false;
    }
}

std::uint32_t toStripNumber(vlUInt64 strip) {
    return static_cast<std::uint32_t>(std::min<vlUInt64>(strip, NumericLimits<std::uint32_t>::s_max));
}

/// Whether the size of a single strip is missing in the file. libtiff then estimates it from the bytes that
/// follow; a write of that size would overwrite them.
bool hasEstimatedByteCount(TIFF* pTiff) {
    TiffStream* const pStream = TiffStream::find(pTiff);
    return pStream != nullptr && getCompression(pTiff) != COMPRESSION_NONE &&
           TIFFNumberOfStrips(pTiff) == 1 &&
           readEntryNumber(pTiff, *pStream, TIFFCurrentDirOffset(pTiff), TIFFTAG_STRIPBYTECOUNTS) !=
               TIFFGetStrileByteCount(pTiff, 0);
}

/// Whether libtiff can encode the compression and the file gives the strips' offsets. libtiff does not check
/// either.
bool canBeWritten(TIFF* pTiff) {
    auto const offsets = getTag<std::uint64_t*>(pTiff, TIFFTAG_STRIPOFFSETS);
    auto const byteCounts = getTag<std::uint64_t*>(pTiff, TIFFTAG_STRIPBYTECOUNTS);
    return offsets && *offsets != nullptr && byteCounts && *byteCounts != nullptr &&
           TIFFIsCODECConfigured(getCompression(pTiff)) != 0 && !hasEstimatedByteCount(pTiff);
}

} // namespace

vlUInt64 StripLayout::getBytesOf(vlUInt64 strip) const {
    auto const start = checkedMultiply(strip, getStripPixels());
    bool const bInside = start && *start < getNbPixels();
    return bInside ? std::min(getNbPixels() - *start, getStripPixels()) * pixelStride : getStripBytes();
}

vlUInt64 StripLayout::getBytesOfRows(vlUInt64 nbPixels) const {
    return divideUp(nbPixels, sizeX) * sizeX * pixelStride;
}

bool StripLayout::isCountable() const {
    auto const planePixels =
        checkedMultiply(sizeX, checkedAdd(sizeY, rowsPerStrip).value_or(NumericLimits<vlUInt64>::s_max));
    return planePixels && checkedMultiply(*planePixels, pixelStride);
}

TiffStrips::TiffStrips(TIFF* pTiff, StripLayout const& layout)
    : _pTiff(pTiff), _pStream(TiffStream::find(pTiff)), _layout(layout),
      _bCompressed(getCompression(pTiff) != COMPRESSION_NONE), _bDeflate(isDeflate(pTiff)),
      _bWritable(canBeWritten(pTiff)), _bPlain(_bWritable && !_bCompressed && hasPlainSamples()),
      _bInflates(_bDeflate && !isPredicted() && hasPlainSamples()) {}

TiffStrips::TiffStrips(TIFF* pTiff, StripLayout const& layout, StripPlaces places)
    : TiffStrips(pTiff, layout) {
    vlUInt64 const nbStrips = TIFFNumberOfStrips(pTiff);
    bool const bContiguous = _bPlain && countPlain(0, nbStrips) == nbStrips;
    _places = std::move(places);
    _bPlain = _bPlain && (_places->offsets.size() == nbStrips || (bContiguous && splitOnlyPlace(nbStrips)));
}

/// Divides the single strip of the file into several, as libtiff does. Returns false if the sizes do not
/// allow this.
bool TiffStrips::splitOnlyPlace(vlUInt64 nbStrips) {
    if (_places->offsets.size() != 1 ||
        _places->byteCounts.front() < _layout.getNbPixels() * _layout.pixelStride) {
        return false;
    }
    for (vlUInt64 strip = 1; strip < nbStrips; ++strip) {
        _places->offsets.push_back(_places->offsets.front() + strip * _layout.getStripBytes());
        _places->byteCounts.push_back(_layout.getBytesOf(strip));
    }
    return true;
}

vlUInt64 TiffStrips::getOffset(vlUInt64 strip) const {
    return _places ? _places->offsets[strip] : TIFFGetStrileOffset(_pTiff, toStripNumber(strip));
}

vlUInt64 TiffStrips::getByteCount(vlUInt64 strip) const {
    return _places ? _places->byteCounts[strip] : TIFFGetStrileByteCount(_pTiff, toStripNumber(strip));
}

/// Whether decoded samples are the same bytes as in memory.
bool TiffStrips::hasPlainSamples() const {
    auto const width = getTag<std::uint32_t>(_pTiff, TIFFTAG_IMAGEWIDTH).value_or(0);
    auto const length = getTag<std::uint32_t>(_pTiff, TIFFTAG_IMAGELENGTH).value_or(0);
    bool const bOneByte = getTag<std::uint16_t>(_pTiff, TIFFTAG_BITSPERSAMPLE).value_or(0) == 8;
    return _pStream != nullptr && TIFFIsTiled(_pTiff) == 0 && (TIFFIsByteSwapped(_pTiff) == 0 || bOneByte) &&
           hasUsualFillOrder(_pTiff) && width == _layout.sizeX && length == _layout.sizeY &&
           static_cast<vlUInt64>(TIFFScanlineSize(_pTiff)) == _layout.sizeX * _layout.pixelStride;
}

bool TiffStrips::isPredicted() const {
    std::uint16_t predictor = PREDICTOR_NONE;
    return TIFFGetField(_pTiff, TIFFTAG_PREDICTOR, &predictor) == 1 && predictor != PREDICTOR_NONE;
}

vlUInt64 TiffStrips::countPlain(vlUInt64 strip, vlUInt64 nbWanted) const {
    vlUInt64 nbPlain = 0;
    vlUInt64 const nbStrips = _bPlain ? TIFFNumberOfStrips(_pTiff) : 0;
    vlUInt64 expectedOffset = _bPlain ? getOffset(strip) : 0;
    for (vlUInt64 next = strip; nbPlain < nbWanted && next < nbStrips; ++next, ++nbPlain) {
        vlUInt64 const offset = getOffset(next);
        if (offset == 0 || offset != expectedOffset || getByteCount(next) < _layout.getBytesOf(next)) {
            break;
        }
        expectedOffset = offset + _layout.getStripBytes();
    }
    return nbPlain;
}

bool TiffStrips::readPlain(vlUInt64 strip, vlUInt64 skip, vlUInt64 nbBytes, void* pBuffer) {
    _bPlain = _pStream->readAt(getOffset(strip) + skip, pBuffer, nbBytes) == nbBytes;
    return _bPlain;
}

bool TiffStrips::isInFile(vlUInt64 strip, vlUInt64 skip, vlUInt64 nbBytes) const {
    auto const end = checkedAdd(getOffset(strip), skip + nbBytes);
    return end && *end <= _pStream->getSize();
}

bool TiffStrips::writePlain(vlUInt64 strip, vlUInt64 skip, vlUInt64 nbBytes, void const* pBuffer) {
    _bPlain = _pStream->writeAt(getOffset(strip) + skip, pBuffer, nbBytes) == nbBytes;
    return _bPlain;
}

long TiffStrips::read(vlUInt64 strip, vlUInt64 nbBytes, void* pBuffer) const {
    if (_bInflates && nbBytes == _layout.getBytesOf(strip) && inflate(strip, nbBytes, pBuffer)) {
        return static_cast<long>(nbBytes);
    }
    ZlibDecoding const zlib(_pTiff, _bDeflate);
    return TIFFReadEncodedStrip(_pTiff, toStripNumber(strip), pBuffer, static_cast<tmsize_t>(nbBytes));
}

std::byte const* TiffStrips::findDecoded(vlUInt64 strip) const {
    constexpr vlUInt64 largestStrip = vlUInt64{256} << 20; // larger ones would take too much memory
    vlUInt64 const nbBytes = _layout.getBytesOf(strip);
    if (_pStream == nullptr || !_bCompressed || nbBytes > largestStrip) {
        return nullptr;
    }
    LastStrip& last = _pStream->accessLastStrip();
    vlUInt64 const directoryOffset = TIFFCurrentDirOffset(_pTiff);
    if (last.directoryOffset != directoryOffset || last.strip != strip) {
        last = LastStrip();
        last.directoryOffset = directoryOffset;
        last.strip = strip;
        return nullptr;
    }
    if (!last.bDecoded && !last.bBroken) {
        last.bBroken = !requireEnoughBytes(strip, nbBytes);
        last.bytes.resize(last.bBroken ? 0 : nbBytes);
        last.bDecoded =
            !last.bBroken && read(strip, nbBytes, last.bytes.data()) == static_cast<long>(nbBytes);
        last.bBroken = !last.bDecoded;
    }
    return last.bDecoded ? last.bytes.data() : nullptr;
}

/// Decodes a strip with libdeflate. Returns false if anything is unexpected; the caller then uses libtiff.
bool TiffStrips::inflate(vlUInt64 strip, vlUInt64 nbBytes, void* pBuffer) const {
    constexpr vlUInt64 margin = 65536; // incompressible data needs some more bytes
    vlUInt64 const nbStrips = TIFFNumberOfStrips(_pTiff);
    vlUInt64 const nbCompressed = strip < nbStrips ? getByteCount(strip) : 0;
    if (nbCompressed == 0 || nbCompressed > nbBytes + margin) {
        return false;
    }
    DeflateDecoder& decoder = _pStream->accessDeflateDecoder();
    return _pStream->readAt(getOffset(strip), decoder.provideCompressed(nbCompressed), nbCompressed) ==
               nbCompressed &&
           decoder.inflate(pBuffer, nbBytes);
}

BoolResult TiffStrips::requireWritable(vlUInt64 strip) const {
    // libtiff would add a missing strip, and allocate as much memory as a strip announces.
    bool const bThere = _bWritable && strip < TIFFNumberOfStrips(_pTiff) &&
                        (_pStream == nullptr || getByteCount(strip) <= _pStream->getSize());
    return bThere ? success() : fail(eImageFileCheckMessage::eIFCM_StripNotWritable);
}

/// Stores a strip, behind the strip before it if the file is compressed.
template <class Store>
long TiffStrips::writeInOrder(vlUInt64 strip, Store const& store) const {
    long written = store();
    bool const bOutOfOrder = _bCompressed && strip > 0 && getOffset(strip) < getOffset(strip - 1);
    if (written >= 0 && bOutOfOrder) {
        written = moveToEnd(strip) ? store() : -1;
    }
    return written;
}

long TiffStrips::write(vlUInt64 strip, void const* pBuffer) const {
    return writeInOrder(strip, [&] { return encode(strip, pBuffer); });
}

long TiffStrips::writeEncoded(vlUInt64 strip, EncodedStrips const& strips) const {
    vlUInt64 const begin = strips.getBegin(strip);
    return writeInOrder(strip, [&] {
        bool const bStored = storeRaw(strip, strips.bytes.data() + begin, strips.ends[strip] - begin);
        return bStored ? static_cast<long>(_layout.getBytesOf(strip)) : -1;
    });
}

bool TiffStrips::storeRaw(vlUInt64 strip, std::byte const* pBytes, vlUInt64 nbBytes) const {
    TIFFSetWriteOffset(_pTiff, 0); // otherwise libtiff appends to the strip before
    auto const size = static_cast<tmsize_t>(nbBytes);
    return TIFFWriteRawStrip(_pTiff, toStripNumber(strip), const_cast<std::byte*>(pBytes), size) == size;
}

long TiffStrips::encode(vlUInt64 strip, void const* pBuffer) const {
    bool const bCut = isShort(strip) && (_bCompressed || getByteCount(strip) < _layout.getStripBytes());
    vlUInt64 const nbBytes = bCut ? _layout.getBytesOf(strip) : _layout.getStripBytes();
    std::vector<std::byte> turned; // libtiff reverses bytes and bits in place
    if (TIFFIsByteSwapped(_pTiff) != 0 || !hasUsualFillOrder(_pTiff)) {
        auto const* const pBytes = static_cast<std::byte const*>(pBuffer);
        turned.assign(pBytes, pBytes + nbBytes);
    }
    return TIFFWriteEncodedStrip(_pTiff, toStripNumber(strip),
                                 turned.empty() ? const_cast<void*>(pBuffer) : turned.data(),
                                 static_cast<tmsize_t>(nbBytes));
}

/// Moves a strip to the end of the file, which libtiff does if a strip is larger than its space. This is
/// necessary because some readers take strips with decreasing offsets for an image that is upside down.
bool TiffStrips::moveToEnd(vlUInt64 strip) const {
    std::vector<std::byte> const placeholder(getByteCount(strip) + 1);
    return storeRaw(strip, placeholder.data(), placeholder.size());
}

bool TiffStrips::hasWrongByteCount(vlUInt64 strip) const {
    return !_bCompressed && getByteCount(strip) != _layout.getBytesOf(strip);
}

BoolResult TiffStrips::requireEnoughBytes(vlUInt64 strip, vlUInt64 nbBytes) const {
    if (nbBytes <= g_smallStrip || _pStream == nullptr || !hasLimitedRatio(getCompression(_pTiff))) {
        return success();
    }
    vlUInt64 const nbBytesInFile = std::min(getByteCount(strip), _pStream->getSize());
    return isPlausibleStripSize(nbBytes, nbBytesInFile)
               ? success()
               : fail(eImageFileCheckMessage::eIFCM_StripTooSmall, nbBytesInFile, nbBytes);
}

bool isPlausibleStripSize(vlUInt64 nbBytes, vlUInt64 nbBytesInFile) {
    return nbBytes / g_largestRatio <= nbBytesInFile;
}

bool isDeflate(TIFF* pTiff) {
    std::uint16_t const compression = getCompression(pTiff);
    return compression == COMPRESSION_DEFLATE || compression == COMPRESSION_ADOBE_DEFLATE;
}

ZlibDecoding::ZlibDecoding(TIFF* pTiff, bool bWanted) : _pTiff(pTiff) {
    _bSet = bWanted && TIFFGetField(pTiff, TIFFTAG_DEFLATE_SUBCODEC, &_previous) == 1 &&
            TIFFSetField(pTiff, TIFFTAG_DEFLATE_SUBCODEC, DEFLATE_SUBCODEC_ZLIB) == 1;
}

ZlibDecoding::~ZlibDecoding() {
    if (_bSet) {
        TIFFSetField(_pTiff, TIFFTAG_DEFLATE_SUBCODEC, _previous);
    }
}

} // namespace velmo::image::file
