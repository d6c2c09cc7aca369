// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Planes/PlaneRun.h"

#include <VELMOImage/GeometryParts.h>
#include <VELMOImageFile/TiffImageFileTypes.h>
#include <VELMOUtil/GuardedRaise.h>

namespace velmo::image {

class BaseImageGeometry;

namespace file {

/// Pixel type of samples of this size and format; `eIBT_None` if they are not supported.
eImageBufferType toImageBufferType(short bitsPerSample, short sampleFormat,
                                   eTiffBufferMode const& bufferMode);

/// Colours of pixels with several samples; `bInit` is false if they are not supported.
struct FoundColor {
    bool bInit = false;
    ColorGeometry color;
};
FoundColor retrieveColorGeometry(short photometric, short samplesPerPixel);

/// Whether the channels of a geometry are interleaved in one directory.
bool isInterleavedColor(BaseImageGeometry const& geometry);

/// Pixel type of the planes of a time step; for a time step outside of the geometry, that of the geometry.
eImageBufferType getPlaneBufferType(BaseImageGeometry const& geometry, vlUInt64 t);

/// Index of the directory of a plane: z changes fastest, then c unless the channels share a directory, then
/// t.
vlUInt64 toDirectoryIndex(BaseImageGeometry const& geometry, vlUInt64 z, vlUInt64 c, vlUInt64 t);

/// The whole plane of a directory, the inverse of `toDirectoryIndex`; of interleaved channels the first one.
PlaneRun toPlane(BaseImageGeometry const& geometry, bool bInterleaved, vlUInt64 directory);

/// Bytes of a sample. A pixel type without bytes is raised at `site` as VELMOImageFileException.
unsigned int getSampleWidth(eImageBufferType const& bufferType, RaiseSite const& site);

/// Copies one channel of interleaved pixels to a plane: sample `channelIdx` of `nbPixels` pixels of
/// `nbChannels` samples each. Throws VELMOImageFileException for a pixel type without bytes.
void colorToPlan(eImageBufferType const& bufferType, vlUInt64 nbChannels, vlUInt64 channelIdx,
                 vlUInt64 nbPixels, void const* pColorData, void* pPlanData);

/// Copies a plane into one channel of interleaved pixels. The other samples keep their values.
void planToColor(eImageBufferType const& bufferType, vlUInt64 nbChannels, vlUInt64 channelIdx,
                 vlUInt64 nbPixels, void const* pPlanData, void* pColorData);

} // namespace file
} // namespace velmo::image
