// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Planes/PlaneRun.h"
#include "Tiff/TiffPolicy.h"

#include <VELMOImage/ImageGeometry.h>
#include <VELMOUtil/BoolResult.h>
#include <boost/filesystem/path.hpp>
#include <cstdint>
#include <optional>
#include <string>

using TIFF = struct tiff;

namespace velmo::image::file {

struct StripLayout;

/// The arguments of one access to a plane, and the failures that its steps share.
struct PlaneContext {
    /// One channel of a run, or all channels of an interleaved page.
    enum class eScope { Plane, Page };

    PlaneContext(TIFF*& givenTiff, boost::filesystem::path const& givenPath,
                 BaseImageGeometry const& givenGeometry, PlaneRun const& givenRun, eTiffPolicy givenPolicy,
                 eScope scope);

    TIFF*& pTiff; ///< null after a failure that closed it
    boost::filesystem::path const& path;
    BaseImageGeometry const& geometry;
    PlaneRun run;
    eTiffPolicy policy;
    eImageBufferType bufferType;
    vlUInt64 directory;  ///< not cut to 16 bits
    vlUInt64 nbChannels; ///< interleaved in a strip

    /// Fails if an earlier failure closed the handle.
    BoolResult requireHandle() const;
    /// Makes the directory of the run the current one.
    BoolResult reachDirectory() const;
    /// Logs a warning if another directory was reached because directory numbers have 16 bits.
    void warnOfCutNumber() const;
    /// Makes the directory of the run the current one, after libtiff moved a directory in the file.
    BoolResult reachMovedDirectory() const;
    /// Fails, with a reason for a message, unless all pixels of the run are inside the plane.
    BoolResult requireRunInside() const;
    /// Whether the channels share a directory.
    bool isInterleaved() const { return nbChannels != 1; }
    /// For interleaved channels: fails unless the current directory has that many samples for each pixel, 3
    /// or 4.
    BoolResult requireChannels() const;
    /// Layout of the current directory's strips; `rowsPerStrip` is the value of the tag.
    StripLayout getLayout(vlUInt64 rowsPerStrip) const;
    /// Fails, with a reason for a message, unless the current directory has the sizes of the geometry and
    /// samples of `nbBits` bits.
    BoolResult requireDirectoryOf(unsigned int nbBits) const;
    /// The same for samples of the size of the pixel type.
    BoolResult requireFittingDirectory() const;
    /// The same for pixels of one 1-bit sample, which are one byte each in memory.
    BoolResult requirePackedDirectory() const;
    /// Bits of a sample of the current directory; empty if the tag is missing and the policy requires it.
    std::optional<std::uint16_t> findBitsPerSample() const;

    BoolResult failToGetTagAndClose(char const* tagName) const;
    /// @{
    /// `reason` is a failed result whose text ends the message.
    BoolResult failToReadStrip(vlUInt64 strip, BoolResult const& reason) const;
    BoolResult failToWriteStrip(vlUInt64 strip, BoolResult const& reason) const;
    /// @}
};

} // namespace velmo::image::file
