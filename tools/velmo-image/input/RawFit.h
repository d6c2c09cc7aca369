// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/ImageGeometry.h>
#include <string>

namespace velmo::tool {

/// Options with which a raw file of `fileSize` bytes would fit its dimensions, such as
/// "--offset 352, or --size 181,217,180"; at most three, the likelier ones first. Those with which no byte is
/// left come first; without any, a number of planes that leaves fewer bytes than a plane. Empty if the file
/// fits, and if nothing does.
std::string proposeFit(image::BaseImageGeometry const& geometry, vlUInt64 offset, vlUInt64 fileSize);

} // namespace velmo::tool
