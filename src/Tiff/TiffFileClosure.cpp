// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/TiffFileClosure.h"

#include "LogAccess.h"

#include <VELMOImageFile/TiffImageFileMessage.h>
#include <VELMOUtil/LogMessageFormater.h>
#include <tiffio.h>

namespace velmo {
namespace image {
namespace file {

TiffFileClosure::~TiffFileClosure() {
    if (!_bClose || _pTiff == nullptr) {
        return;
    }
    try {
        TIFFClose(_pTiff);
    } catch (...) {
        logWithoutThrow(VELMO_HERE, [&](LogMessageFormater& formater) {
            formater[eTiffImageFileMessage::eTIFM_CloseFileException] % _filePath;
        });
    }
    _pTiff = nullptr;
}

} // namespace file
} // namespace image
} // namespace velmo
