// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "ImportPlan.h"

#include <VELMOUtil/BoolResult.h>
#include <mutex>
#include <optional>
#include <utility>
#include <vector>

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

    /// Reads the whole planes of all channels of (z, t), one buffer for each. Fails if a page does not
    /// contain all channels.
    BoolResult readPage(vlUInt64 z, vlUInt64 t, std::vector<void*> const& buffers);

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

} // namespace velmo::importer
