// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/GeometryParts.h>
#include <VELMOImageFile/TiffImageFileTypes.h>

namespace velmo {
namespace image {
namespace file {

/// What samples of that size and format are; `eIBT_None` for what is not supported.
eImageBufferType toImageBufferType(short bitsPerSample, short sampleFormat, eTiffBufferMode const& bufferMode);

/// What several samples in a pixel are; empty for what is not supported.
struct FoundColor {
    bool bInit = false;
    ColorGeometry color;
};
FoundColor retrieveColorGeometry(short photometric, short samplesPerPixel);

/// Whether a geometry's channels lie side by side in one directory.
bool isInterleaved(BaseImageGeometry const& geometry);

/// The directory of a plane: z varies fastest, then c unless the channels share a directory, then t.
vlUInt64 toDirectoryIndex(BaseImageGeometry const& geometry, vlUInt64 z, vlUInt64 c, vlUInt64 t);

/// Copies sample `channelIdx` of each of `nbPixels` pixels of `nbChannels` samples to a plane. Throws
/// VELMOImageFileException for a buffer type without pixels.
void colorToPlan(eImageBufferType const& bufferType, vlUInt64 nbChannels, vlUInt64 channelIdx,
                 vlUInt64 nbPixels, void const* pColorData, void* pPlanData);

/// The converse; the other samples of the pixels keep their values.
void planToColor(eImageBufferType const& bufferType, vlUInt64 nbChannels, vlUInt64 channelIdx,
                 vlUInt64 nbPixels, void const* pPlanData, void* pColorData);

} // namespace file
} // namespace image
} // namespace velmo
