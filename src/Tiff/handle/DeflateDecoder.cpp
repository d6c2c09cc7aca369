// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/handle/DeflateDecoder.h"

#include <libdeflate.h>

namespace velmo::image::file {

void DeflateDecoder::Deleter::operator()(libdeflate_decompressor* pDecompressor) const {
    libdeflate_free_decompressor(pDecompressor);
}

std::byte* DeflateDecoder::provideCompressed(vlUInt64 nbBytes) {
    _packed.resize(nbBytes);
    return _packed.data();
}

bool DeflateDecoder::inflate(void* pBuffer, vlUInt64 nbBytes) {
    if (!_pDecompressor) {
        _pDecompressor.reset(libdeflate_alloc_decompressor());
    }
    // Without a place for the number of decoded bytes, libdeflate rejects any number other than nbBytes.
    return _pDecompressor && libdeflate_zlib_decompress(_pDecompressor.get(), _packed.data(), _packed.size(),
                                                        pBuffer, nbBytes, nullptr) == LIBDEFLATE_SUCCESS;
}

} // namespace velmo::image::file
