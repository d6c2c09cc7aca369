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

/// Returns the value of a tag of the current directory; empty if the directory does not have the tag. `Value`
/// must be exactly the type that libtiff returns for the tag. Throws `std::bad_alloc` if the directory has
/// the tag but libtiff had no memory for its text or array.
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

/// Compression of the current directory; none if the directory has no Compression tag.
inline std::uint16_t getCompression(TIFF* pTiff) {
    return getTag<std::uint16_t>(pTiff, TIFFTAG_COMPRESSION).value_or(COMPRESSION_NONE);
}

/// Whether the first pixel of a byte is in its most significant bits.
inline bool hasUsualFillOrder(TIFF* pTiff) {
    return getTag<std::uint16_t>(pTiff, TIFFTAG_FILLORDER).value_or(FILLORDER_MSB2LSB) == FILLORDER_MSB2LSB;
}

/// Bits of a sample of the current directory; empty if the tag is missing and the policy requires it.
inline std::optional<std::uint16_t> findBitsPerSample(TIFF* pTiff, eTiffPolicy policy) {
    auto const bits = getTag<std::uint16_t>(pTiff, TIFFTAG_BITSPERSAMPLE);
    return bits || requiresBitsPerSample(policy) ? bits : std::optional<std::uint16_t>(1);
}

/// Returns the failure of a directory with unsupported channels. Numbers of a directory appear in messages as
/// libtiff's signed 16 bits.
inline BoolResult failForChannels(std::uint16_t photometric, vlUInt64 samples,
                                  boost::filesystem::path const& path) {
    return fail(eTiffImageFileMessage::eTIFM_UnsupportedPhotometric, static_cast<short>(photometric),
                static_cast<short>(samples), path.string());
}

/// Reads a tag that the current directory must have. `tagName` is for the message.
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

/// The value of TIFFTAG_SOFTWARE in files of this library; constructed at load.
struct VelmoSoftware {
    static std::string const& get();
};

/// The tag of the user properties. libtiff must know it before a file is opened.
constexpr std::uint32_t g_userPropertiesTag = 65000;

/// Registers the user properties tag with libtiff, once in the process. All files that libtiff opens later
/// know the tag.
void TIFFInitializeExtend();

} // namespace velmo::image::file
