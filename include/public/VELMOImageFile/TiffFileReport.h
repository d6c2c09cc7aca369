// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImageFile/Export.h>
#include <VELMOUtil/Types.h>
#include <boost/filesystem/path.hpp>

namespace velmo::image::file {

/// How a TIFF file is stored, as far as its directories say so. No pixel is read.
struct TiffFileReport {
    /// Whether offsets have 64 bits.
    bool bBigTiff = false;
    /// Whether numbers begin with their most significant byte.
    bool bBigEndian = false;
    /// Whether the file has the geometry with which this library saved it.
    bool bOwnFile = false;

    /// Directories that can be read, from the first one on.
    vlUInt64 nbDirectories = 0;
    /// Whether directories follow that cannot be read: a link leads outside of the file or back, or what it
    /// leads to is no directory.
    bool bChainBroken = false;
    /// Directories whose pixels are in tiles, which the library does not read.
    vlUInt64 nbTiled = 0;
    /// Directories whose first row and column are not those of the top left corner of the displayed image.
    /// The library reads rows and columns as they are stored.
    vlUInt64 nbTurned = 0;

    /// Planes that the ImageJ description announces; 0 where there is none, or its number cannot be used.
    vlUInt64 nbAnnouncedPlanes = 0;
    /// Planes of these that are neither directories nor found behind the first plane.
    vlUInt64 nbMissingPlanes = 0;
};

/// Reads all directories of a TIFF file, also of one that the loads reject, such as a file with tiles or with
/// a broken chain of directories. The file is closed on return.
///
/// A file that is not a TIFF file or cannot be read is an error, logged at ERROR and thrown as
/// VELMOImageFileException, whose last line is the reason. Any number of calls may run at once.
VELMO_IMAGE_FILE_EXPORT TiffFileReport describeTiffFile(boost::filesystem::path const& path);

} // namespace velmo::image::file
