// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "ImportSource.h"

#include <VELMOImage/DiskImage.h>
#include <VELMOImage/ImageAccessor.h>
#include <VELMOImageFile/PageReader.h>

namespace velmo::importer {

/// Reads a part of an ImportSource. Read only; it does not travel in archives.
class ImportedAccessor : public image::BaseDiskImageAccessor, public image::file::BasePageReader {
  public:
    ImportedAccessor(std::shared_ptr<ImportSource> const& pSource, ImagePart const& part);

    std::string const& getClassName() const override;
    BaseDynamicObject* createNew() const override;
    DynamicObjectPtr createShared() const override;
    bool hasCopySupport() const override;
    BaseDynamicObject* duplicate() const override;
    DynamicObjectPtr duplicateShared() const override;
    void copy(BaseDynamicObject const& other) override;

    bool hasBinary8BitsStorage() const override;
    bool isStoredIn(boost::filesystem::path const& path) const override;
    BoolResult resizeData(image::BaseImageGeometry const& geometry) override;
    BoolResult readRawData(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStartOffset, vlUInt64 nbPixels,
                           void* buffer) const override;
    BoolResult writeRawData(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStartOffset, vlUInt64 nbPixels,
                            void const* buffer) override;
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
