// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

namespace velmo::image::file {

/// Messages of the module that belong to no format: none.
struct eVELMOImageFileMessage {
    /// Empty; registered like the others.
    enum domain {};
};

} // namespace velmo::image::file
