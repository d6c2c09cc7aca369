// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

namespace velmo::image::file {

/// Messages of file name patterns, by id. Ids never change, even if the message is no longer used.
struct eImageFileUtilsMessage {
    /// docs/messages.md has the text, the cause and the remedy of each.
    enum domain { eIFUM_MultipleIndexKeywords = 0, eIFUM_MixedPatterns = 1 };
};

} // namespace velmo::image::file
