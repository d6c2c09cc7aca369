// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOAttributes/ImageAttributes.h"
#include "VELMOAttributes/ResampleAttributes.h"
#include "VELMOBaseProcessing/BaseProcessor.h"

namespace velmo::imaproc::gtrans {

/// Resamples a volume whose planes are at the cumulative sums of given steps to evenly spaced planes, from
/// the first to the last position. Each channel and time step is resampled separately.
///
/// The pixel type stays the same: integers are rounded and clamped to their range; labels and binary images
/// take the nearest plane under every policy. The run creates the result in memory, with the calibration of
/// the input. Each thread has at most four planes of the input in memory. A run uses the threads of the
/// dispatch policy, the default policy at most one for 100 planes of the result; they read the input at the
/// same time. Their number changes neither the pixels nor the error of a failure. Not thread-safe.
class VELMO_HOST_EXPORT ResampleCustomZStack3dImgLvl1 : public processor::BaseProcessor {
  public:
    /// Throws VELMOBaseProcessingException before `init`, for a null pointer, if the number of steps is not
    /// one fewer than the planes of the image that was set before, for a step that is not positive and
    /// finite, for an image with planes of different pixel types, for an unknown policy, and for a result
    /// without planes.
    template <class Attribute>
    void set(typename Attribute::Value const& value);

    /// The result. Throws VELMOBaseProcessingException with the text of the error if no run succeeded.
    template <class Attribute>
    typename Attribute::Value getStorage() const;

  private:
    BoolResult runDerived() override;
    std::string getProcessorName() const override;
    void resetAttributes() override;

    image::ImageConstPtr _pSource;
    attr::ZStepsConstPtr _pSteps;
    attr::eInterpolationPolicy _policy = attr::eIP_Linear;
    unsigned long _sizeZ = 0;
    image::ImagePtr _pTarget;
};

/// @cond
template <>
VELMO_HOST_EXPORT void ResampleCustomZStack3dImgLvl1::set<attr::InImg3d>(image::ImageConstPtr const& value);
template <>
VELMO_HOST_EXPORT void ResampleCustomZStack3dImgLvl1::set<attr::InZSteps>(attr::ZStepsConstPtr const& value);
template <>
VELMO_HOST_EXPORT void
ResampleCustomZStack3dImgLvl1::set<attr::InInterpolationPolicy>(attr::eInterpolationPolicy const& value);
template <>
VELMO_HOST_EXPORT void
ResampleCustomZStack3dImgLvl1::set<attr::InOutputImg3dZSize>(unsigned long const& value);
template <>
VELMO_HOST_EXPORT image::ImagePtr ResampleCustomZStack3dImgLvl1::getStorage<attr::OutImg>() const;
/// @endcond

} // namespace velmo::imaproc::gtrans
