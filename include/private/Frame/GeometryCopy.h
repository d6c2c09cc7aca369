// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/ImageGeometry.h>
#include <boost/pointer_cast.hpp>

namespace velmo::image::file {

/// A copy that can be changed and that only the caller owns.
inline ImageGeometryPtr copyGeometry(BaseImageGeometry const& geometry) {
    return boost::dynamic_pointer_cast<BaseImageGeometry>(geometry.duplicateShared());
}

} // namespace velmo::image::file
