// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImageFile/Export.h>
#include <VELMOUtil/Types.h>
#include <boost/filesystem/path.hpp>

namespace velmo::image::file {

/// Describes how a TIFF file is stored, according to its directories.
struct TiffFileReport {
    /// Whether offsets have 64 bits.
    bool bBigTiff = false;
    /// Whether the byte order of the file is big-endian.
    bool bBigEndian = false;
    /// Whether the file contains a geometry stored by this library.
    bool bOwnFile = false;

    /// Number of directories that can be read, counted from the first one.
    vlUInt64 nbDirectories = 0;
    /// Whether more directories follow that cannot be read: the offset of the next directory is outside of
    /// the file, is that of an earlier directory, or is not that of a directory.
    bool bChainBroken = false;
    /// Number of directories with tiles, which the library cannot read.
    vlUInt64 nbTiled = 0;
    /// Number of directories with another orientation than top left. The library reads their rows and columns
    /// in the order of the file.
    vlUInt64 nbTurned = 0;

    /// Number of planes that the ImageJ description announces; 0 if there is no such description or its
    /// number is invalid.
    vlUInt64 nbAnnouncedPlanes = 0;
    /// How many of these planes are missing: they have no directory and are not in the file after the first
    /// plane.
    vlUInt64 nbMissingPlanes = 0;
};

/// Reads all directories of a TIFF file, but no pixels. Accepts files that the loads reject, such as a file
/// with tiles or with a broken chain of directories. The file is closed on return.
///
/// A file that is not a TIFF file or that cannot be read is an error. It is logged at ERROR and thrown as
/// VELMOImageFileException; the last line of its text is the reason. Thread-safe.
VELMO_IMAGE_FILE_EXPORT TiffFileReport describeTiffFile(boost::filesystem::path const& path);

} // namespace velmo::image::file
