// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImageFile/Export.h>
#include <VELMOImageFile/VELMOImageFileException.h>
#include <VELMOUtil/Types.h>
#include <string>

namespace velmo::image::file {

/// Returns whether a pattern matches a complete file name. `patterns` contains one pattern, or several
/// patterns separated by "|", which are tried from left to right. `index` receives the number that "<INDEX>"
/// matches in the first pattern that matches. It is unchanged if no pattern matches or if that pattern does
/// not contain "<INDEX>".
///
/// In a pattern "?" matches one byte, "*" matches any number of bytes including none, and "<INDEX>" matches
/// the digits of a number; every other byte matches itself. An empty pattern matches every name.
///
/// Matching does not backtrack. A star, and the digits of a number, end at the first position at which the
/// rest of the pattern matches; a star at the end of the pattern is not part of that rest. If bytes of the
/// name then remain, the name does not match: "*.tif" does not match "a.tif.tif". "<INDEX>1" matches "0011"
/// with the number 1. docs/formats/patterns.md has a table of names and patterns.
///
/// Throws VELMOImageFileException, logged at ERROR, if some patterns contain "<INDEX>" and others do not, or
/// if a pattern that is tried contains it twice. Throws `boost::bad_lexical_cast` for a number that overflows
/// 64 bits. Thread-safe. Example: examples/stack_folder.cpp.
VELMO_IMAGE_FILE_EXPORT bool testFilePatternMatching(std::string const& patterns, std::string const& fileName,
                                                     vlUInt64& index);

} // namespace velmo::image::file
