// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOAttributes/ImageAttributes.h"
#include "VELMOBaseProcessing/BaseProcessor.h"

namespace velmo::imaproc::util {

/// Copies all pixels of an image into another image of the same sizes and pixel types. Both may be images in
/// memory, on disk, distributed or joined.
///
/// The work is split into runs of rows of one plane, and rows larger than 4 MiB into parts. Images in memory
/// are read and written in place. A run stops at the first error and returns its text; pixels that were
/// copied until then stay in the target. Under the default policy the workers of a distributed target read
/// the file of a disk image themselves; if they cannot restore its accessor, the pixels are copied through
/// this process.
class VELMO_HOST_EXPORT CopyImgLvl1 : public processor::BaseProcessor {
  public:
    /// Sets an attribute. Throws VELMOBaseProcessingException before `init`, for a null pointer, and for an
    /// image that does not fit the one that was set before.
    template <class Attribute>
    void set(typename Attribute::Value const& value);

    /// The target image after a run. Throws VELMOBaseProcessingException with the text of the error if no run
    /// succeeded.
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
