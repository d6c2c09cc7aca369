// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImageFile/Export.h>
#include <VELMOUtil/Types.h>
#include <string>

namespace velmo::image::file {

/// Whether at least one of several patterns, separated by "|", matches the whole of a file name. `index`
/// receives the number that the first matching pattern reads, and keeps its value where that pattern reads
/// none or nothing matches.
///
/// In a pattern "?" is any one byte, "*" any bytes, also none, "<INDEX>" the digits of the number; every
/// other byte is itself. An empty pattern matches every name. Matching does not backtrack: a star ends at the
/// first position from which the rest of its pattern can be run, digits end there as well, and what does not
/// fit then does not match ("*.tif" does not match "a.tif.tif", "<INDEX>1" matches "0011" with 1). The rest
/// of a pattern does not include its last star and the end of the name.
///
/// docs/formats/patterns.md has a table of verdicts, examples/stack_folder.cpp a call.
///
/// Throws VELMOImageFileException, logged at ERROR, where some patterns read a number and others do not, or
/// where a pattern that is tried reads two; and `boost::bad_lexical_cast` for a number beyond 64 bits. Any
/// number of calls may run at once.
VELMO_IMAGE_FILE_EXPORT bool testFilePatternMatching(std::string const& patterns, std::string const& fileName,
                                                     vlUInt64& index);

} // namespace velmo::image::file
