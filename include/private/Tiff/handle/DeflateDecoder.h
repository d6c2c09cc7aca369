// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOUtil/Types.h>
#include <cstddef>
#include <memory>
#include <vector>

struct libdeflate_decompressor;

namespace velmo::image::file {

/// Decodes whole Deflate strips with libdeflate, in half of the time of zlib. libtiff can use libdeflate too,
/// but if a strip contains more bytes than requested, it leaves bytes of the buffer unwritten without an
/// error. For one thread at a time.
class DeflateDecoder {
  public:
    /// Returns a buffer for the compressed bytes, which the caller fills before `inflate`.
    std::byte* provideCompressed(vlUInt64 nbBytes);
    /// Decodes the compressed bytes. Returns whether they are valid and give exactly `nbBytes` bytes.
    bool inflate(void* pBuffer, vlUInt64 nbBytes);

  private:
    struct Deleter {
        void operator()(libdeflate_decompressor* pDecompressor) const;
    };

    std::unique_ptr<libdeflate_decompressor, Deleter> _pDecompressor;
    std::vector<std::byte> _packed;
};

} // namespace velmo::image::file
