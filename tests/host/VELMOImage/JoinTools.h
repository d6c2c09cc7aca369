// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "ByteAccessor.h"
#include "GeometryBuilder.h"
#include "VELMOImage/DiskImage.h"
#include "VELMOImage/JoinLayout.h"

#include <functional>
#include <string>
#include <vector>

namespace velmo::test {

/// One of the calls that join images. Those of disk images need an `out` that is empty or a disk image.
struct JoinCall {
    std::string name;
    image::eJoinAxis axis;
    std::function<BoolResult(std::vector<image::ImagePtr> const& parts, image::ImagePtr& out)> join;
};

inline void PrintTo(JoinCall const& call, std::ostream* pStream) {
    *pStream << call.name;
}

std::vector<JoinCall> const& getJoinCalls();

/// A disk image over a storage of its own, filled with a pattern. `seed` gives another pattern.
image::DiskImagePtr makeDiskPart(image::BaseImageGeometry const& geometry, vlUInt64 seed = 0);
image::ImagePtr makeMemoryPart(image::BaseImageGeometry const& geometry, vlUInt64 seed = 0);
ByteStorage& getStorage(image::DiskImage const& image);

/// Disk parts that differ along the axis alone: of three channels and these lengths.
std::vector<image::ImagePtr> makeParts(image::eJoinAxis axis, std::vector<vlUInt64> const& lengths);
/// Their builder.
GeometryBuilder partBuilder(image::eJoinAxis axis, vlUInt64 length);

/// All planes of the whole in (t, c, z) order, each found by counting through the parts.
Bytes readParts(std::vector<image::ImagePtr> const& parts, image::eJoinAxis axis);

} // namespace velmo::test
