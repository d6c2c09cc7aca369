// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/handle/TiffDirectories.h"

#include "Tiff/handle/TiffErrorHandler.h"
#include "Tiff/handle/TiffStream.h"

#include <VELMOUtil/Types.h>
#include <algorithm>
#include <tiffio.h>

namespace velmo::image::file {

namespace {

constexpr vlUInt64 g_directoryNumbers = 65536;

} // namespace

TiffDirectories::TiffDirectories(TIFF* pTiff, eTiffPolicy policy)
    : _pTiff(pTiff), _pStream(TiffStream::find(pTiff)), _policy(policy) {
    if (_pStream != nullptr) {
        _pStream->discardReadAhead();
    }
}

vlUInt64 TiffDirectories::count() const {
    return toNumber(_pStream == nullptr ? TIFFNumberOfDirectories(_pTiff)
                                        : _pStream->accessChain().count(_pTiff, *_pStream));
}

bool TiffDirectories::isBroken() const {
    return _pStream != nullptr && _pStream->accessChain().isBroken(_pTiff, *_pStream);
}

vlUInt64 TiffDirectories::toNumber(vlUInt64 index) const {
    return cutsDirectoryNumbers(_policy) ? index % g_directoryNumbers : index;
}

BoolResult TiffDirectories::reach(vlUInt64 index) const {
    vlUInt64 const number = toNumber(index);
    vlUInt64 const previousOffset = TIFFCurrentDirOffset(_pTiff);
    auto const known =
        _pStream == nullptr ? std::nullopt : _pStream->accessChain().find(_pTiff, *_pStream, number);
    if (known && *known == previousOffset && reusesLastRead(_policy) && !_pStream->isWritable() &&
        _pStream->isCurrentDirectorySound()) {
        return success();
    }
    constexpr vlUInt64 largestNumber = NumericLimits<tdir_t>::s_max; // larger than any existing number
    int const reached = known
                            ? TIFFSetSubDirectory(_pTiff, *known)
                            : TIFFSetDirectory(_pTiff, static_cast<tdir_t>(std::min(number, largestNumber)));
    if (reached == 1) {
        if (_pStream != nullptr) {
            _pStream->setCurrentDirectorySound();
        }
        return success();
    }
    std::string const message = lastTiffMessage();
    reloadDirectory(previousOffset);
    return failure(message);
}

std::optional<StripPlaces> TiffDirectories::findStripsLikeCurrent(vlUInt64 index) const {
    if (_pStream == nullptr) {
        return std::nullopt;
    }
    DirectoryChain& chain = _pStream->accessChain();
    vlUInt64 const number = toNumber(index);
    auto const current = chain.findIndex(TIFFCurrentDirOffset(_pTiff));
    auto const shape = current ? chain.findShape(*current) : std::nullopt;
    bool const bAlike = shape && chain.find(_pTiff, *_pStream, number) && chain.findShape(number) == shape;
    return bAlike ? chain.readStripPlaces(_pTiff, *_pStream, number) : std::nullopt;
}

void TiffDirectories::reloadDirectory(vlUInt64 offset) const {
    if (_pStream != nullptr) {
        _pStream->discardReadAhead();
    }
    if (offset == 0 || TIFFSetSubDirectory(_pTiff, offset) != 1) {
        TIFFSetField(_pTiff, TIFFTAG_COMPRESSION,
                     COMPRESSION_NONE); // otherwise libtiff leaks the memory of the codec
        TIFFFreeDirectory(_pTiff);
        TIFFCreateDirectory(_pTiff);
    }
}

void TiffDirectories::invalidateStrips(vlUInt64 offset) const {
    if (_pStream != nullptr) {
        _pStream->accessChain().invalidateStrips(offset);
    }
}

void TiffDirectories::invalidate() const {
    if (_pStream != nullptr) {
        _pStream->accessChain().invalidate();
    }
}

} // namespace velmo::image::file
