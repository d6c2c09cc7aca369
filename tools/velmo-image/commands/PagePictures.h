// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "commands/PagePlan.h"

#include <map>
#include <memory>
#include <tuple>

namespace velmo::tool {

/// The pictures of a page, which is composed in several passes. Pictures are kept in memory as far as they
/// fit into 64 MiB, and read again otherwise.
class PagePictures {
  public:
    /// `image` must outlive the object.
    PagePictures(image::BaseImage const& image, PlaneDisplay const& display, vlUInt64 maxSize)
        : _image(image), _display(display), _maxSize(maxSize) {}

    PlaneDisplay const& getDisplay() const { return _display; }
    /// The size of a picture in its width and height, the same for all of them.
    PictureLayout getLayout(PlaneRun const& run) const;
    /// Throws WorkFailure and Interrupted.
    std::shared_ptr<Picture const> compose(PlaneRun const& run);

  private:
    using Key = std::tuple<vlUInt64, vlUInt64, vlUInt64>; ///< plane, first channel, time step

    image::BaseImage const& _image;
    PlaneDisplay const _display;
    vlUInt64 const _maxSize;
    std::map<Key, std::shared_ptr<Picture const>> _kept;
    vlUInt64 _nbKeptBytes = 0;
};

} // namespace velmo::tool
