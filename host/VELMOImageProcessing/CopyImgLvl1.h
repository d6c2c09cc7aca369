// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOAttributes/ImageAttributes.h"
#include "VELMOBaseProcessing/BaseProcessor.h"

namespace velmo::imaproc::util {

/// Copies all pixels of one image into another of the same sizes and pixel types, whatever kinds of image the
/// two are.
///
/// The work is cut into runs of rows of one plane, and a row larger than 4 MiB into parts. A target or source
/// in memory is read into or written from where it lies. A run stops at the first failure and returns its
/// text; the target keeps what was copied until then. Under the default policy the workers of a distributed
/// target read a disk image's file themselves; where they cannot rebuild its accessor, the copy passes
/// through this process as any other.
class VELMO_HOST_EXPORT CopyImgLvl1 : public processor::BaseProcessor {
  public:
    /// Throws VELMOBaseProcessingException before `init`, for an empty pointer, and for an image that does
    /// not fit the one that was set before it.
    template <class Attribute>
    void set(typename Attribute::Value const& value);

    /// The image that was set, once its pixels are copied. Throws VELMOBaseProcessingException, with the text
    /// of the failure, where no run since has come to its end.
    template <class Attribute>
    typename Attribute::Value getStorage() const;

  private:
    std::string getProcessorName() const override;
    BoolResult runDerived() override;
    void resetAttributes() override;

    image::ImageConstPtr _pSource;
    image::ImagePtr _pTarget;
};

/// @cond
template <>
VELMO_HOST_EXPORT void CopyImgLvl1::set<attr::InImg>(image::ImageConstPtr const& value);
template <>
VELMO_HOST_EXPORT void CopyImgLvl1::set<attr::OutImg>(image::ImagePtr const& value);

template <>
VELMO_HOST_EXPORT image::ImagePtr CopyImgLvl1::getStorage<attr::OutImg>() const;
/// @endcond

} // namespace velmo::imaproc::util
