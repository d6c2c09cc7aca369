// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Tiff/TiffPolicy.h"

#include <VELMOImageFile/TiffImageFile.h>

namespace velmo::image::file {

/// The accessor behind images of the calls with options: it gives the pixels of the file or fails, or, if it
/// is tolerant, sets to zero what cannot be read. Its archive record has the class name of its own and keeps
/// whether it is tolerant.
class CheckedTiffImageFile : public TiffImageFile {
  public:
    /// Strict, without a file.
    CheckedTiffImageFile();
    /// Strict or tolerant, without a file.
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

    BoolResult write(BaseOArchive& archive) const override;
    /// As the base's, but a missing file is a failure under every access mode.
    BoolResult read(BaseIArchive& archive) override;
};

} // namespace velmo::image::file
