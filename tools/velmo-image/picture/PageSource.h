// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

namespace velmo::tool {

// The files of picture/page, which the build puts into the program.

extern char const* const g_pageTemplate; ///< with places for texts, such as {{title}}
extern char const* const g_pageStyle;
extern char const* const g_pageScript;

} // namespace velmo::tool
