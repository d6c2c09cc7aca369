// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Utils/PlanRun.h"

#include <VELMOImage/ImageGeometry.h>
#include <VELMOUtil/BoolResult.h>
#include <boost/filesystem/path.hpp>

using TIFF = struct tiff;

namespace velmo {
namespace image {
namespace file {

struct StripLayout;

/// What every step of an access to a plane knows, and the failures that they share.
struct PlanContext {
    /// One channel of a run, or all channels of an interleaved page.
    enum class eScope { Plan, Page };

    PlanContext(TIFF*& givenTiff, boost::filesystem::path const& givenPath,
                BaseImageGeometry const& givenGeometry, PlanRun const& givenRun, eScope scope);

    TIFF*& pTiff; ///< null once a failure closed it
    boost::filesystem::path const& path;
    BaseImageGeometry const& geometry;
    PlanRun run;
    eImageBufferType bufferType;
    vlUInt64 directory;  ///< uncut
    vlUInt64 nbChannels; ///< side by side in a strip

    /// Fails where an earlier failure closed the handle.
    BoolResult requireHandle() const;
    /// Makes the run's directory the current one.
    BoolResult reachDirectory() const;
    /// The same after libtiff moved a directory in the file.
    BoolResult reachMovedDirectory() const;
    /// Whether the plane has all pixels of the run.
    bool isRunInside() const;
    /// Whether the channels share a directory.
    bool isInterleaved() const { return nbChannels != 1; }
    /// Fails where the channels share a directory, unless its pixels have that many samples, 3 or 4.
    BoolResult requireChannels() const;
    /// The layout of the current directory's strips; `rowsPerStrip` as the directory says it.
    StripLayout getLayout(vlUInt64 rowsPerStrip) const;
    /// Whether the current directory has the sizes of the geometry and samples of the buffer type's size, or
    /// packed bits for those of one byte.
    bool fitsDirectory() const;

    BoolResult failToGetTagAndClose(char const* tagName) const;
    BoolResult failToReadStrip(vlUInt64 strip) const;
    BoolResult failToWriteStrip(vlUInt64 strip) const;
};

} // namespace file
} // namespace image
} // namespace velmo
