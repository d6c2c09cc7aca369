// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Frame/FailureText.h"
#include "Tiff/TiffPolicy.h"
#include "Tiff/handle/TiffErrorHandler.h"

#include <VELMOImageFile/TiffImageFileMessage.h>
#include <VELMOUtil/Types.h>
#include <boost/filesystem/path.hpp>
#include <new>
#include <optional>
#include <string>
#include <tiffio.h>
#include <type_traits>

namespace velmo::image::file {

/// The value of a tag of the current directory; empty where the directory does not have it. `Value` must be
/// the very type that libtiff gives for the tag. Throws `std::bad_alloc` for a tag that the directory has and
/// whose text or array libtiff has not, which is so where it found no memory for it.
template <class Value>
std::optional<Value> getTag(TIFF* pTiff, std::uint32_t tag) {
    Value value = {};
    if (TIFFGetField(pTiff, tag, &value) != 1) {
        return std::nullopt;
    }
    if constexpr (std::is_pointer_v<Value>) {
        if (value == nullptr) {
            throw std::bad_alloc();
        }
    }
    return value;
}

inline BoolResult failToGetTag(char const* tagName, boost::filesystem::path const& path) {
    return fail(eTiffImageFileMessage::eTIFM_GetTagError, tagName, path.string(), lastTiffMessage());
}

/// How the current directory's strips are compressed; one that does not say so has them as they are.
inline std::uint16_t getCompression(TIFF* pTiff) {
    return getTag<std::uint16_t>(pTiff, TIFFTAG_COMPRESSION).value_or(COMPRESSION_NONE);
}

/// Whether the first pixel of a byte is in its most significant bits.
inline bool hasUsualFillOrder(TIFF* pTiff) {
    return getTag<std::uint16_t>(pTiff, TIFFTAG_FILLORDER).value_or(FILLORDER_MSB2LSB) == FILLORDER_MSB2LSB;
}

/// Bits of a sample of the current directory; empty where it does not say and has to.
inline std::optional<std::uint16_t> findBitsPerSample(TIFF* pTiff, eTiffPolicy policy) {
    auto const bits = getTag<std::uint16_t>(pTiff, TIFFTAG_BITSPERSAMPLE);
    return bits || requiresBitsPerSample(policy) ? bits : std::optional<std::uint16_t>(1);
}

/// The failure of a directory whose channels are none that are supported. Numbers of a directory go into
/// messages with libtiff's 16 bits, signed.
inline BoolResult failForChannels(std::uint16_t photometric, vlUInt64 samples,
                                  boost::filesystem::path const& path) {
    return fail(eTiffImageFileMessage::eTIFM_UnsupportedPhotometric, static_cast<short>(photometric),
                static_cast<short>(samples), path.string());
}

/// The value of a tag that the current directory must have; `tagName` is for the message.
template <class Value>
BoolResult requireTag(TIFF* pTiff, std::uint32_t tag, char const* tagName,
                      boost::filesystem::path const& path, Value& value) {
    auto const found = getTag<Value>(pTiff, tag);
    if (!found) {
        return failToGetTag(tagName, path);
    }
    value = *found;
    return success();
}

/// What a module's own file says of itself in TIFFTAG_SOFTWARE; built at load.
struct VelmoSoftware {
    static std::string const& get();
};

/// The tag of the caller's text, of which libtiff must be told before a file is opened.
constexpr std::uint32_t g_userPropertiesTag = 65000;

/// Tells libtiff of the user properties tag, once in the process; any file that libtiff opens from then on
/// knows the tag.
void TIFFInitializeExtend();

} // namespace velmo::image::file
