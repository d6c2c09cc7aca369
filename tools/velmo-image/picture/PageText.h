// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <string>
#include <vector>

namespace velmo::tool {

/// Any bytes as the text of an HTML element or as the value of an attribute in quotes: nothing in them is
/// markup. Bytes that are not UTF-8 and control characters become U+FFFD.
std::string escapeHtml(std::string const& text);

/// A JSON document as the content of a script element, which it cannot end.
std::string escapeJson(std::string const& document);

std::string encodeBase64(std::vector<unsigned char> const& bytes);

} // namespace velmo::tool
