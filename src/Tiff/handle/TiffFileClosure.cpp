// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/handle/TiffFileClosure.h"

#include "Frame/LogAccess.h"

#include <VELMOImageFile/TiffImageFileMessage.h>
#include <VELMOUtil/LogMessageFormater.h>
#include <tiffio.h>

namespace velmo::image::file {

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

} // namespace velmo::image::file
