// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "output/Rational.h"

#include <boost/filesystem/path.hpp>

namespace velmo::tool {

/// Pixels per unit of length, as three tags of a TIFF directory tell it.
struct TiffResolution {
    Rational x;
    Rational y;
    std::uint16_t unit; ///< a value of ResolutionUnit
};

/// Sets XResolution, YResolution and ResolutionUnit in all directories of a little-endian TIFF file, classic
/// or BigTIFF, in place of those that it has. All else that the directories point to stays where it is: they
/// are written anew behind the end of the file, and the header, which names the first of them, comes last.
/// Throws WorkFailure, after which the old directories are still the ones of the file, and Interrupted.
void setTiffResolution(boost::filesystem::path const& path, TiffResolution const& resolution);

} // namespace velmo::tool
