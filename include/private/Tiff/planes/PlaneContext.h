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

/// What every step of an access to a plane knows, and the failures that they share.
struct PlaneContext {
    /// One channel of a run, or all channels of an interleaved page.
    enum class eScope { Plane, Page };

    PlaneContext(TIFF*& givenTiff, boost::filesystem::path const& givenPath,
                 BaseImageGeometry const& givenGeometry, PlaneRun const& givenRun, eTiffPolicy givenPolicy,
                 eScope scope);

    TIFF*& pTiff; ///< null once a failure closed it
    boost::filesystem::path const& path;
    BaseImageGeometry const& geometry;
    PlaneRun run;
    eTiffPolicy policy;
    eImageBufferType bufferType;
    vlUInt64 directory;  ///< not cut to 16 bits
    vlUInt64 nbChannels; ///< side by side in a strip

    /// Fails where an earlier failure closed the handle.
    BoolResult requireHandle() const;
    /// Makes the run's directory the current one.
    BoolResult reachDirectory() const;
    /// Logs a warning where the directory that was reached is another one, since directory numbers have 16
    /// bits.
    void warnOfCutNumber() const;
    /// The same after libtiff moved a directory in the file.
    BoolResult reachMovedDirectory() const;
    /// Fails, with a reason for a message, unless the plane has all pixels of the run.
    BoolResult requireRunInside() const;
    /// Whether the channels share a directory.
    bool isInterleaved() const { return nbChannels != 1; }
    /// Fails where the channels share a directory, unless its pixels have that many samples, 3 or 4.
    BoolResult requireChannels() const;
    /// The layout of the current directory's strips; `rowsPerStrip` as the directory says it.
    StripLayout getLayout(vlUInt64 rowsPerStrip) const;
    /// Fails, with a reason for a message, unless the current directory has the sizes of the geometry and
    /// samples of `nbBits` bits.
    BoolResult requireDirectoryOf(unsigned int nbBits) const;
    /// The same for samples of the size of the buffer type.
    BoolResult requireFittingDirectory() const;
    /// The same for packed pixels of one sample, one byte each in memory.
    BoolResult requirePackedDirectory() const;
    /// Bits of a sample of the current directory; empty where it does not say and has to.
    std::optional<std::uint16_t> findBitsPerSample() const;

    BoolResult failToGetTagAndClose(char const* tagName) const;
    BoolResult failToReadStrip(vlUInt64 strip, std::string const& reason) const;
    BoolResult failToWriteStrip(vlUInt64 strip, std::string const& reason) const;
};

} // namespace velmo::image::file
