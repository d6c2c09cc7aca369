// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <optional>
#include <string>

namespace velmo::test {

/// What a pattern with at most one "<INDEX>" makes of a name, by the plainest reading of the language: rules
/// are chains of elements, and every look ahead is run anew. The digits, or nothing where it does not match.
std::optional<std::string> matchPlainly(std::string const& pattern, std::string const& name);

} // namespace velmo::test
