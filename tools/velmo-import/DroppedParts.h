// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <boost/filesystem/path.hpp>
#include <string>
#include <vector>

namespace velmo::importer {

/// A part of a TIFF file that the module does not read, so that a copy lacks it.
struct DroppedPart {
    std::string name;   ///< such as "ICC profile" or "tag 65000"
    bool bGivesMeaning; ///< without it the pixels mean something else: a colour map
};

/// The parts in the first 64 directories of a file, each once. Empty for a file of this library, and for one
/// that cannot be read as a TIFF file. Thread-safe.
std::vector<DroppedPart> findDroppedParts(boost::filesystem::path const& file);

} // namespace velmo::importer
