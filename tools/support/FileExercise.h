// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/ImageAccessor.h>
#include <VELMOImage/ImageGeometry.h>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace velmo::tool {

/// How far an exercise goes. A file of a few bytes can announce 2^60 planes: nobody waits for those.
struct ExerciseLimits {
    vlUInt64 nbPlanes = 64;                  ///< half of them from the first on, half up to the last
    vlUInt64 planeBytes = vlUInt64{1} << 28; ///< of a larger plane only runs of pixels are read
    vlUInt64 fileBytes = vlUInt64{1} << 29;  ///< no further plane is begun once so much was read
    bool bRequiresRuns = true; ///< a run that cannot be read in a plane that can is a contradiction
    bool bComparesRuns = true; ///< not so where only whole planes are in their place
    std::function<void()> beforePlane = [] {}; ///< what it throws ends the exercise
};

/// What the read of one plane gave.
struct ExercisedPlane {
    image::PlanIndexes plane;
    std::uint32_t checksum; ///< CRC-32 of its bytes; 0 where it was not read whole
    std::string failure;    ///< empty where the read succeeded
};

struct Exercise {
    std::vector<ExercisedPlane> planes;
    /// What must not be, whatever is in the file: a run of pixels that differs from the same pixels of the
    /// whole plane, an archive that does not open the file again as it was. A sentence each.
    std::vector<std::string> contradictions;
};

/// Takes an open file through all that a reader may do with it: its planes as a whole, runs of their pixels,
/// and all of it anew through an accessor that was read from the archive record of this one. Failures of
/// reads are part of the result; what is thrown passes.
///
/// Within the limits, twice the bytes of the file are read, and one plane is in memory at a time. The
/// accessor is used by the calling thread alone, and the file by one more accessor.
Exercise exerciseFile(image::BaseDiskImageAccessor const& accessor, ExerciseLimits const& limits = {});

/// Which planes cannot be read and why the first of them cannot, and the contradictions; empty where there is
/// nothing of it. A sentence each, of which the first may have several lines.
std::vector<std::string> describeDamage(Exercise const& exercise);

} // namespace velmo::tool
