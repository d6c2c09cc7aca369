// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/ImageEnums.h>
#include <VELMOUtil/Types.h>
#include <cstddef>
#include <vector>

namespace velmo::image::file {

/// A channel of interleaved pixels and the plane of its samples.
template <class Byte>
struct ChannelPlane {
    vlUInt64 index;
    Byte* pSamples;
};
using TargetPlanes = std::vector<ChannelPlane<std::byte>>;
using SourcePlanes = std::vector<ChannelPlane<std::byte const>>;

// `nbPixels` pixels of `nbChannels` samples each move between `pPixels` and the planes, there from the sample
// at `offset` on, in bytes. All channels in their order move in one pass, several times as fast as one
// channel after the other. Buffers need no alignment and must not overlap. A buffer type without pixels is
// raised as VELMOImageFileException.

void splitPixels(eImageBufferType bufferType, vlUInt64 nbChannels, vlUInt64 nbPixels,
                 std::byte const* pPixels, TargetPlanes const& planes, vlUInt64 offset);

/// Samples of other channels keep their values.
void mergePixels(eImageBufferType bufferType, vlUInt64 nbChannels, vlUInt64 nbPixels,
                 SourcePlanes const& planes, vlUInt64 offset, std::byte* pPixels);

} // namespace velmo::image::file
