// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "output/Rational.h"

#include <boost/filesystem/path.hpp>
#include <optional>
#include <string>

namespace velmo::tool {

/// Pixels per unit of length: the values of three tags of a TIFF directory.
struct TiffResolution {
    Rational x;
    Rational y;
    std::uint16_t unit; ///< a value of ResolutionUnit
};

/// Tags to set in a finished file.
struct TiffTagEdits {
    std::optional<TiffResolution> resolution; ///< of all directories
    std::string description;                  ///< of the first directory; none if it is empty

    bool isEmpty() const { return !resolution && description.empty(); }
};

/// Sets XResolution, YResolution and ResolutionUnit in all directories of a little-endian TIFF file, classic
/// or BigTIFF, and ImageDescription in the first one, and replaces existing ones. The new directories are
/// appended to the file; the header, which points to the first one, is written last. Pixels and other values
/// stay where they are. With a description the second directory takes the place of the first one. Throws
/// WorkFailure and Interrupted; without a description the file then still has its old directories.
///
/// libtiff is not used: it keeps a resolution as a 32-bit float, from which the size of a pixel does not come
/// back bit-exact, and its TIFFRewriteDirectory follows the whole chain of directories for each of them.
void setTiffTags(boost::filesystem::path const& path, TiffTagEdits const& edits);

} // namespace velmo::tool
