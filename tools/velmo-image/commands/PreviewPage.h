// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "commands/PreviewInput.h"

namespace velmo::tool {

struct PageOutput {
    std::string inputFile;
    std::string outputFile;
    vlUInt64 maxBytes; ///< of the page
    bool bOverwrite;
    bool bQuiet;
};

/// Writes an HTML page with the pictures of all chosen planes. If the page would be larger than allowed, some
/// planes along Z and T are left out; the page and a message on standard error name them. Throws WrongUse and
/// WorkFailure.
void writePreviewPage(InputImage const& input, PreviewChoice const& choice, PageOutput const& output);

} // namespace velmo::tool
