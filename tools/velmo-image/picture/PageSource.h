// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

namespace velmo::tool {

// The files of picture/page, which the build puts into the program.

extern char const* const g_pageTemplate; ///< with places for texts, such as {{title}}
extern char const* const g_pageStyle;
extern char const* const g_pageScript;
// SHA-256 in Base64: the page runs no other script and has no other style.
extern char const* const g_pageStyleHash;
extern char const* const g_pageScriptHash;

} // namespace velmo::tool
