// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/GeometryParts.h>
#include <VELMOImageFile/TiffImageFileTypes.h>
#include <VELMOUtil/GuardedRaise.h>

namespace velmo::image {

class BaseImageGeometry;

namespace file {

/// What samples of that size and format are; `eIBT_None` for what is not supported.
eImageBufferType toImageBufferType(short bitsPerSample, short sampleFormat,
                                   eTiffBufferMode const& bufferMode);

/// What several samples in a pixel are; empty for what is not supported.
struct FoundColor {
    bool bInit = false;
    ColorGeometry color;
};
FoundColor retrieveColorGeometry(short photometric, short samplesPerPixel);

/// Whether a geometry's channels lie side by side in one directory.
bool isInterleavedColor(BaseImageGeometry const& geometry);

/// The buffer type of the planes of a time step; of one outside of the geometry, the geometry's.
eImageBufferType getPlaneBufferType(BaseImageGeometry const& geometry, vlUInt64 t);

/// The directory of a plane: z varies fastest, then c unless the channels share a directory, then t.
vlUInt64 toDirectoryIndex(BaseImageGeometry const& geometry, vlUInt64 z, vlUInt64 c, vlUInt64 t);

/// Bytes of a sample. A buffer type without pixels is raised at `site` as VELMOImageFileException.
unsigned int getSampleWidth(eImageBufferType const& bufferType, RaiseSite const& site);

/// Copies sample `channelIdx` of each of `nbPixels` pixels of `nbChannels` samples to a plane. Throws
/// VELMOImageFileException for a buffer type without pixels.
void colorToPlan(eImageBufferType const& bufferType, vlUInt64 nbChannels, vlUInt64 channelIdx,
                 vlUInt64 nbPixels, void const* pColorData, void* pPlanData);

/// The converse; the other samples of the pixels keep their values.
void planToColor(eImageBufferType const& bufferType, vlUInt64 nbChannels, vlUInt64 channelIdx,
                 vlUInt64 nbPixels, void const* pPlanData, void* pColorData);

} // namespace file
} // namespace velmo::image
