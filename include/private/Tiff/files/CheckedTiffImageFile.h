// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Tiff/TiffPolicy.h"

#include <VELMOImageFile/PageReader.h>
#include <VELMOImageFile/TiffImageFile.h>

namespace velmo::image::file {

/// The accessor of images from calls with options. It returns the pixels of the file or fails. If it is
/// tolerant, it sets pixels that cannot be read to zero. Its archive record has its own class name and stores
/// whether it is tolerant.
class CheckedTiffImageFile : public TiffImageFile, public BasePageReader {
  public:
    /// Creates a strict accessor without a file.
    CheckedTiffImageFile();
    /// Creates a strict or tolerant accessor without a file.
    explicit CheckedTiffImageFile(eTiffPolicy policy);

    static unsigned int getVersion();
    static std::string const& getTypeName();
    static BaseDynamicObject* createNewObject();
    static DynamicObjectPtr createSharedObject();

    std::string const& getClassName() const override;
    BaseDynamicObject* createNew() const override;
    DynamicObjectPtr createShared() const override;
    bool hasCopySupport() const override;
    BaseDynamicObject* duplicate() const override;
    DynamicObjectPtr duplicateShared() const override;
    void copy(BaseDynamicObject const& other) override;

    BoolResult readRawPage(vlUInt64 z, vlUInt64 t, vlUInt64 pixelStartOffset, vlUInt64 nbPixels,
                           std::vector<void*> const& buffers) const override;

    BoolResult write(BaseOArchive& archive) const override;
    /// Like `read` of the base class, but a missing file is an error in every access mode.
    BoolResult read(BaseIArchive& archive) override;
};

} // namespace velmo::image::file
