// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "ImportPlan.h"

#include <VELMOImage/DiskImage.h>
#include <VELMOImage/ImageAccessor.h>
#include <mutex>

namespace velmo::importer {

/// The planes of an open import. Any thread may read; reads run one after the other.
class ImportSource {
  public:
    ImportSource(ImportPlan plan, ImportOptions const& options);

    image::BaseImageGeometry const& getGeometry() const { return *_plan.pGeometry; }
    image::GeometricCalibrationConstPtr const& getCalibration() const { return _plan.pCalibration; }
    boost::filesystem::path const& getPath() const { return _plan.files.front()->getPath(); }

    /// Reads pixels of a plane. The other channels of a page of colours are kept until they are read.
    BoolResult read(image::PlanIndexes const& plane, vlUInt64 pixelStart, vlUInt64 nbPixels, void* pBuffer);

    /// The changes of the plan, and what the pixels that were read showed.
    std::vector<ImportChange> getChanges() const;

    /// Whether a plane is in that file.
    bool isStoredIn(boost::filesystem::path const& path) const;

  private:
    BoolResult readPlane(vlUInt64 page, vlUInt64 sample, std::byte* pPixels);
    bool keepsChannels() const;
    BoolResult requireMemory(vlUInt64 nbBytes) const;

    ImportPlan const _plan;
    mutable std::mutex _mutex;
    PageDecoder _decoder;
    bool _bKeepsChannels;
    std::optional<vlUInt64> _heldPage;
    std::vector<std::vector<std::byte>> _heldPlanes;        ///< channels of the page; empty ones are not held
    std::optional<std::pair<vlUInt64, vlUInt64>> _runPlane; ///< page and sample of `_runPixels`
    std::vector<std::byte> _runPixels;                      ///< for reads of a part of a plane
};

/// Reads a part of an ImportSource. Read only; it does not travel in archives.
class ImportedAccessor : public image::BaseDiskImageAccessor {
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
