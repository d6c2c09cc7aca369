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

/// Whether the processor can shuffle the bytes of a block of 16 bytes.
bool hasByteShuffles();

// These functions copy samples between `nbPixels` interleaved pixels of `nbChannels` samples at `pPixels` and
// planes, where they begin at `offset` bytes. All channels in their order are copied in one pass, several
// times as fast as one channel after the other. With `bShuffles`, which the processor must support, this pass
// copies whole blocks of bytes; without, each sample alone. The results are the same. Buffers need no
// alignment and must not overlap. A pixel type without bytes is raised as VELMOImageFileException.

void splitPixels(eImageBufferType bufferType, vlUInt64 nbChannels, vlUInt64 nbPixels,
                 std::byte const* pPixels, TargetPlanes const& planes, vlUInt64 offset,
                 bool bShuffles = hasByteShuffles());

/// Writes samples of planes into pixels; samples of other channels keep their values.
void mergePixels(eImageBufferType bufferType, vlUInt64 nbChannels, vlUInt64 nbPixels,
                 SourcePlanes const& planes, vlUInt64 offset, std::byte* pPixels,
                 bool bShuffles = hasByteShuffles());

} // namespace velmo::image::file
