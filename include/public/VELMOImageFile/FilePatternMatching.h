// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImageFile/Export.h>
#include <VELMOImageFile/VELMOImageFileException.h>
#include <VELMOUtil/Types.h>
#include <string>

namespace velmo::image::file {

/// Whether a pattern matches a whole file name. `patterns` holds one pattern, or several separated by "|",
/// which are tried in their order. `index` receives the number that the first matching pattern reads; it is
/// left as it is if nothing matches or that pattern reads no number.
///
/// In a pattern "?" stands for one byte, "*" for any number of bytes, also none, and "<INDEX>" for the digits
/// of a number; every other byte stands for itself. An empty pattern matches every name.
///
/// Matching does not backtrack. A star, and the digits of a number, end at the first position at which the
/// rest of the pattern fits; a star at the end of the pattern is not part of that rest. If the name then goes
/// on behind the rest, it does not match: "*.tif" does not match "a.tif.tif". "<INDEX>1" matches "0011" with
/// the number 1. docs/formats/patterns.md has a table of names and patterns.
///
/// Errors: VELMOImageFileException, logged at ERROR, if some of the patterns read a number and others do not,
/// or if a pattern that is tried reads two; `boost::bad_lexical_cast` for a number beyond 64 bits. Any number
/// of calls may run at once. Example: examples/stack_folder.cpp.
VELMO_IMAGE_FILE_EXPORT bool testFilePatternMatching(std::string const& patterns, std::string const& fileName,
                                                     vlUInt64& index);

} // namespace velmo::image::file
