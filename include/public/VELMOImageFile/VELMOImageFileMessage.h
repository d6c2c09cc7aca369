// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

namespace velmo::image::file {

/// Messages of the module as a whole: none.
struct eVELMOImageFileMessage {
    /// Empty, and registered like the others.
    enum domain {};
};

} // namespace velmo::image::file
