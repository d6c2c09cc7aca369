// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "ImportSource.h"

#include <ReadOnlyAccessor.h>
#include <VELMOImage/DiskImage.h>
#include <VELMOImageFile/PageReader.h>

namespace velmo::importer {

/// Reads a part of an ImportSource.
class ImportedAccessor : public ReadOnlyAccessor, public image::file::BasePageReader {
  public:
    ImportedAccessor(std::shared_ptr<ImportSource> const& pSource, ImagePart const& part);

    bool isStoredIn(boost::filesystem::path const& path) const override;
    BoolResult readRawData(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStartOffset, vlUInt64 nbPixels,
                           void* buffer) const override;
    BoolResult readRawPage(vlUInt64 z, vlUInt64 t, vlUInt64 pixelStartOffset, vlUInt64 nbPixels,
                           std::vector<void*> const& buffers) const override;
    void clearDerived() override;

  private:
    std::shared_ptr<ImportSource> _pSource;
    ImagePart const _part;
};

/// The whole of an image.
ImagePart getWhole(image::BaseImageGeometry const& geometry);
/// A disk image over an ImportedAccessor. Throws ImportException if the host rejects it.
image::DiskImagePtr createImage(std::shared_ptr<ImportSource> const& pSource, ImagePart const& part);

} // namespace velmo::importer
