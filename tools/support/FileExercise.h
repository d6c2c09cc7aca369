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

/// Limits of an exercise. They are necessary because a file of a few bytes can announce 2^60 planes.
struct ExerciseLimits {
    vlUInt64 nbPlanes = 64;                    ///< half of them the first ones, half the last ones
    vlUInt64 planeBytes = vlUInt64{1} << 28;   ///< of a larger plane only some runs of pixels are read
    vlUInt64 fileBytes = vlUInt64{1} << 29;    ///< after so many bytes no other plane is read
    bool bRequiresRuns = true;                 ///< whether a run must be readable if its plane is
    bool bComparesRuns = true;                 ///< whether a run must equal the same pixels of its plane
    std::function<void()> beforePlane = [] {}; ///< an exception of it ends the exercise
};

/// The result of reading one plane.
struct ExercisedPlane {
    image::PlanIndexes plane;
    std::uint32_t checksum; ///< CRC-32 of its bytes; 0 if it was not read as a whole
    std::string failure;    ///< empty if the read succeeded
};

struct Exercise {
    std::vector<ExercisedPlane> planes;
    /// Results that no file may cause: a run of pixels that differs from the same pixels of the whole plane,
    /// or an archive that does not open the file again. One sentence each.
    std::vector<std::string> contradictions;
};

/// Reads an open file in every way: whole planes, runs of pixels, and both again through an accessor that is
/// created from the archive record of this one. Errors of reads are part of the result; exceptions are not
/// caught.
///
/// Within the limits it reads twice the bytes of the file, with one plane in memory at a time. During the
/// call no other thread may use the accessor. The file is opened by one more accessor.
Exercise exerciseFile(image::BaseDiskImageAccessor const& accessor, ExerciseLimits const& limits = {});

/// Describes the planes that cannot be read, with the error of the first one, and the contradictions; empty
/// if there are none. One sentence each; the first one may have several lines.
std::vector<std::string> describeDamage(Exercise const& exercise);

} // namespace velmo::tool
