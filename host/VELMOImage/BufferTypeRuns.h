// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOImage/ImageEnums.h"

#include <optional>
#include <vector>

namespace velmo::image {

/// Pixel types of time steps (or of planes) in order, stored as runs of equal types: memory and time depend
/// on the number of changes and not on the number of steps. At most 2^64 - 1 steps.
class VELMO_HOST_EXPORT BufferTypeRuns {
  public:
    BufferTypeRuns() = default;
    /// One type for each step, in order.
    explicit BufferTypeRuns(std::vector<eImageBufferType> const& types);

    /// @{
    /// Appends steps.
    void add(eImageBufferType type, vlUInt64 nbSteps);
    void add(BufferTypeRuns const& others);
    /// @}

    /// Number of steps of all runs.
    vlUInt64 getNbSteps() const { return _nbSteps; }
    /// Whether all steps have the same type.
    bool isUniform() const { return _runs.size() <= 1; }
    /// The first step whose type differs from the one before it; the number of steps if there is none.
    vlUInt64 getFirstChange() const { return isUniform() ? _nbSteps : _runs[1].start; }
    /// The types of the runs in order; a type may occur several times.
    std::vector<eImageBufferType> getTypesOfRuns() const;
    /// The type of a step; eIBT_None past the end.
    eImageBufferType getType(vlUInt64 step) const;
    /// Sum of the bytes per pixel over the steps before `step`, which must not exceed the number of steps;
    /// empty if it overflows 64 bits.
    std::optional<vlUInt64> getPixelSizesBefore(vlUInt64 step) const;
    /// One entry for each step, in order.
    std::vector<eImageBufferType> expand() const;

  private:
    struct Run {
        vlUInt64 start;
        eImageBufferType type;
        std::optional<vlUInt64> pixelSizesBefore;
    };
    Run const& find(vlUInt64 step) const;

    std::vector<Run> _runs;
    vlUInt64 _nbSteps = 0;
};

} // namespace velmo::image
