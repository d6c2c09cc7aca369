// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/handle/StripEncoder.h"

#include <algorithm>
#include <new>
#include <tiffio.h>

namespace velmo::image::file {

namespace {

constexpr std::uint32_t g_longTags[] = {TIFFTAG_IMAGEWIDTH, TIFFTAG_IMAGELENGTH, TIFFTAG_ROWSPERSTRIP};
/// The compression is set before the predictor, which is a tag of the codec.
constexpr std::uint32_t g_shortTags[] = {TIFFTAG_COMPRESSION, TIFFTAG_BITSPERSAMPLE, TIFFTAG_SAMPLESPERPIXEL,
                                         TIFFTAG_PHOTOMETRIC, TIFFTAG_PLANARCONFIG,  TIFFTAG_SAMPLEFORMAT,
                                         TIFFTAG_PREDICTOR};

} // namespace

StripTags::StripTags(TIFF* pTiff) {
    for (std::uint32_t const tag : g_longTags) {
        std::uint32_t value = 0;
        if (TIFFGetField(pTiff, tag, &value) == 1) {
            _values[tag] = value;
        }
    }
    for (std::uint32_t const tag : g_shortTags) {
        std::uint16_t value = 0;
        if (TIFFGetField(pTiff, tag, &value) == 1) {
            _values[tag] = value;
        }
    }
}

bool StripTags::set(TIFF* pTiff) const {
    bool bSet = true;
    auto const setTag = [&](std::uint32_t tag) {
        auto const found = _values.find(tag);
        bSet = bSet && (found == _values.end() || TIFFSetField(pTiff, tag, found->second) == 1);
    };
    std::for_each(std::begin(g_longTags), std::end(g_longTags), setTag);
    std::for_each(std::begin(g_shortTags), std::end(g_shortTags), setTag);
    return bSet;
}

/// libtiff writes a header, strips and a directory to a file of which only the strips are kept.
struct StripEncoder::ClientProcedures {
    static StripEncoder& get(thandle_t handle) { return *static_cast<StripEncoder*>(handle); }

    static tmsize_t read(thandle_t /*handle*/, void* /*pBuffer*/, tmsize_t /*nbBytes*/) { return 0; }

    // No exception may pass through libtiff.
    static tmsize_t write(thandle_t handle, void* pBuffer, tmsize_t nbBytes) {
        StripEncoder& encoder = get(handle);
        auto const* const pBytes = static_cast<std::byte const*>(pBuffer);
        try {
            if (encoder._pTarget != nullptr) {
                encoder._pTarget->insert(encoder._pTarget->end(), pBytes, pBytes + nbBytes);
            }
        } catch (std::bad_alloc const&) {
            return 0;
        }
        encoder._position += static_cast<vlUInt64>(nbBytes);
        encoder._size = std::max(encoder._size, encoder._position);
        return nbBytes;
    }

    static toff_t seek(thandle_t handle, toff_t offset, int whence) {
        StripEncoder& encoder = get(handle);
        vlUInt64 const start = whence == SEEK_END   ? encoder._size
                               : whence == SEEK_CUR ? encoder._position
                                                    : 0;
        encoder._position = start + offset;
        return encoder._position;
    }

    static int close(thandle_t /*handle*/) { return 0; }

    static toff_t size(thandle_t handle) { return get(handle)._size; }
};

StripEncoder::StripEncoder(StripTags const& tags) {
    using Client = ClientProcedures;
    _pTiff = TIFFClientOpen("encoder", "w8", this, Client::read, Client::write, Client::seek, Client::close,
                            Client::size, nullptr, nullptr);
    if (_pTiff != nullptr && !tags.set(_pTiff)) {
        TIFFClose(_pTiff);
        _pTiff = nullptr;
    }
}

StripEncoder::~StripEncoder() {
    if (_pTiff != nullptr) {
        TIFFClose(_pTiff);
    }
}

bool StripEncoder::encode(vlUInt64 strip, void const* pPixels, vlUInt64 nbBytes,
                          std::vector<std::byte>& bytes) {
    if (_pTiff == nullptr) {
        return false;
    }
    std::size_t const before = bytes.size();
    auto const nbWanted = static_cast<tmsize_t>(nbBytes);
    _pTarget = &bytes;
    bool const bEncoded = TIFFWriteEncodedStrip(_pTiff, static_cast<std::uint32_t>(strip),
                                                const_cast<void*>(pPixels), nbWanted) == nbWanted;
    _pTarget = nullptr;
    if (!bEncoded) {
        bytes.resize(before);
    }
    return bEncoded;
}

} // namespace velmo::image::file
