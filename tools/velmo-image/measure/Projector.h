// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/ImageEnums.h>
#include <VELMOUtil/Types.h>
#include <cstddef>
#include <memory>

namespace velmo::tool {

enum class eProjection { Maximum, Minimum, Mean, Sum };

/// The pixel type of a projection of `nb` pixels. Maximum and minimum keep the type. Means are real32. Sums
/// are uint32 or int32 if the type has no `nb` values whose sum is out of range, otherwise real32.
image::eImageBufferType getProjectedType(image::eImageBufferType type, eProjection projection, vlUInt64 nb);

/// Projects runs of pixels of one place to one run, which has the type of `getProjectedType`.
///
/// Integers are added without rounding, floating-point numbers in double precision in the order of the runs.
/// NaN gives NaN in all projections.
class Projector {
  public:
    virtual ~Projector() = default;
    Projector() = default;
    Projector(Projector const&) = delete;
    Projector& operator=(Projector const&) = delete;

    /// Begins a run of `nbPixels` pixels.
    virtual void begin(vlUInt64 nbPixels) = 0;
    /// Takes a run of as many pixels.
    virtual void take(std::byte const* pixels) = 0;
    /// Writes the projection of the runs taken. False if a sum of finite numbers is out of range.
    [[nodiscard]] virtual bool finish(std::byte* pixels) const = 0;
};

/// Of `nb` pixels of a type. Throws WorkFailure, whose text is to follow the name of the file, for mean and
/// sum of labels, and for so many pixels that their sum may overflow 64 bits.
std::unique_ptr<Projector> createProjector(image::eImageBufferType type, eProjection projection, vlUInt64 nb);

} // namespace velmo::tool
