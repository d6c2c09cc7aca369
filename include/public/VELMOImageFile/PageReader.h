// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImageFile/Export.h>
#include <VELMOUtil/BoolResult.h>
#include <VELMOUtil/Types.h>
#include <vector>

namespace velmo::image::file {

/// An accessor of interleaved pixels that can read the planes of all channels in one pass, which is several
/// times as fast as one channel after the other. Saves use it if the image that they save has such an
/// accessor.
class VELMO_IMAGE_FILE_EXPORT BasePageReader {
  public:
    virtual ~BasePageReader();

    /// Reads `nbPixels` pixels from pixel `pixelStartOffset` on, row by row, of all channels of (z, t).
    /// `buffers` contains one buffer for each channel, in order. The result is that of `readRawData` for each
    /// channel; after a failure the bytes of the buffers are undefined. Thread-safe like `readRawData`.
    virtual BoolResult readRawPage(vlUInt64 z, vlUInt64 t, vlUInt64 pixelStartOffset, vlUInt64 nbPixels,
                                   std::vector<void*> const& buffers) const = 0;
};

} // namespace velmo::image::file
