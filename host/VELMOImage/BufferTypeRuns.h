// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOImage/ImageEnums.h"

#include <optional>
#include <vector>

namespace velmo::image {

/// Pixel types of time steps (or of planes) in their order, as runs of equal ones: memory and time go by the
/// changes of type and not by the steps. At most 2^64 - 1 steps in all.
class VELMO_HOST_EXPORT BufferTypeRuns {
  public:
    BufferTypeRuns() = default;
    /// One type for each step, in their order.
    explicit BufferTypeRuns(std::vector<eImageBufferType> const& types);

    /// @{
    /// Appends steps behind the last one.
    void add(eImageBufferType type, vlUInt64 nbSteps);
    void add(BufferTypeRuns const& others);
    /// @}

    /// Of all runs together.
    vlUInt64 getNbSteps() const { return _nbSteps; }
    /// Whether no two steps differ.
    bool isUniform() const { return _runs.size() <= 1; }
    /// The first step whose type is not that of the one before it; the number of steps where there is none.
    vlUInt64 getFirstChange() const { return isUniform() ? _nbSteps : _runs[1].start; }
    /// The types that steps have, in the order of the runs; one may come several times.
    std::vector<eImageBufferType> getTypesOfRuns() const;
    /// Of no step past the end: eIBT_None.
    eImageBufferType getType(vlUInt64 step) const;
    /// Sum of the bytes of a pixel over the steps before `step`, which is at most the number of steps; empty
    /// where it passes 64 bits.
    std::optional<vlUInt64> getPixelSizesBefore(vlUInt64 step) const;
    /// One entry for each step.
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
