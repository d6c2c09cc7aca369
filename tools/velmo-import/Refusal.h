// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "ImportTiff.h"

namespace velmo::importer {

/// Throws an ImportException. `option` is the option that would allow the import, or empty; `series` are
/// those from which one has to be chosen.
[[noreturn]] inline void refuse(std::string const& text, std::string const& option = {},
                                std::vector<ImportSeries> const& series = {},
                                char const* function = __builtin_FUNCTION(),
                                char const* file = __builtin_FILE(), unsigned int line = __builtin_LINE()) {
    throw ImportException(text, option, series, function, file, line);
}

} // namespace velmo::importer
