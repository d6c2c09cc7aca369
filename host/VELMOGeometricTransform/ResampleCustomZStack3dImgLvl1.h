// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOAttributes/ImageAttributes.h"
#include "VELMOAttributes/ResampleAttributes.h"
#include "VELMOBaseProcessing/BaseProcessor.h"

namespace velmo::imaproc::gtrans {

/// Makes a volume of evenly spaced planes from one whose planes lie at the running sums of steps. The planes
/// of the result lie evenly from the first to the last position; every channel and time step is resampled by
/// itself.
///
/// Every pixel type keeps its type: integers are rounded and kept within their range; planes of labels and
/// binary images are those of the nearest plane whatever the policy. The result is made by the run, in
/// memory, with the calibration of the input; of the input at most four planes are in memory at a time. One
/// thread.
class VELMO_HOST_EXPORT ResampleCustomZStack3dImgLvl1 : public processor::BaseProcessor {
  public:
    /// Throws VELMOBaseProcessingException before `init`, for an empty pointer, for steps that are not one
    /// fewer than the planes of the image that was set before them, for a step that is not positive and
    /// finite, which the text names, for an image whose planes differ in their pixel types, for an unknown
    /// policy, and for a result without planes.
    template <class Attribute>
    void set(typename Attribute::Value const& value);

    /// The result. Throws VELMOBaseProcessingException, with the text of the failure, where no run came to
    /// its end.
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
