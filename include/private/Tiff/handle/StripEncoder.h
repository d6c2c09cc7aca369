// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOUtil/Types.h>
#include <cstddef>
#include <cstdint>
#include <map>
#include <vector>

using TIFF = struct tiff;

namespace velmo::image::file {

/// The tags of a directory that determine how its strips are encoded.
class StripTags {
  public:
    StripTags() = default;
    /// Those of the current directory.
    explicit StripTags(TIFF* pTiff);
    /// Sets them in a new directory. Returns false if libtiff refuses one.
    bool set(TIFF* pTiff) const;

  private:
    std::map<std::uint32_t, std::uint32_t> _values;
};

/// Encodes strips in memory. The bytes are the same as those that libtiff would write to the file. Several
/// threads, each with its own encoder, can encode strips of one file at the same time.
class StripEncoder {
  public:
    /// An encoder of strips in the byte order of this machine.
    explicit StripEncoder(StripTags const& tags);
    ~StripEncoder();
    StripEncoder(StripEncoder const&) = delete;
    StripEncoder& operator=(StripEncoder const&) = delete;

    /// Appends an encoded strip to `bytes`. `pPixels` contains `nbBytes` bytes, those of the whole strip.
    /// Returns false if libtiff cannot encode it; its message has the reason.
    bool encode(vlUInt64 strip, void const* pPixels, vlUInt64 nbBytes, std::vector<std::byte>& bytes);

  private:
    struct ClientProcedures;

    TIFF* _pTiff = nullptr; ///< null if libtiff has no memory for a handle
    std::vector<std::byte>* _pTarget = nullptr;
    vlUInt64 _position = 0;
    vlUInt64 _size = 0;
};

} // namespace velmo::image::file
