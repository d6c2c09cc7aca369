// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/files/CheckedTiffImageFile.h"

#include "Frame/AccessorIdiom.h"
#include "Tiff/planes/TiffPlaneAccess.h"

#include <VELMOSerialization/BaseArchive.h>

namespace velmo::image::file {

CheckedTiffImageFile::CheckedTiffImageFile() : CheckedTiffImageFile(eTiffPolicy::Strict) {}

CheckedTiffImageFile::CheckedTiffImageFile(eTiffPolicy policy) : TiffImageFile(policy) {}

VELMO_DEFINE_ACCESSOR_IDENTITY(CheckedTiffImageFile, "velmo::image::file::CheckedTiffImageFile", 1)

BoolResult CheckedTiffImageFile::readRawPage(vlUInt64 z, vlUInt64 t, vlUInt64 pixelStartOffset,
                                             vlUInt64 nbPixels, std::vector<void*> const& buffers) const {
    return withHandle([&](TIFF*& pTiff) {
        return readPage(pTiff, getFilePath(), getGeometry(), {z, 0, t, pixelStartOffset, nbPixels},
                        getPolicy(), buffers);
    });
}

BoolResult CheckedTiffImageFile::write(BaseOArchive& archive) const {
    auto const tolerant = static_cast<int>(getPolicy() == eTiffPolicy::Tolerant);
    archive << oItem("_bTolerant", tolerant);
    return TiffImageFile::write(archive);
}

// The base class opens the file. The policy must therefore be read before.
BoolResult CheckedTiffImageFile::read(BaseIArchive& archive) {
    int tolerant = 0;
    archive >> iItem("_bTolerant", tolerant);
    setPolicy(tolerant != 0 ? eTiffPolicy::Tolerant : eTiffPolicy::Strict);
    return TiffImageFile::read(archive);
}

} // namespace velmo::image::file
