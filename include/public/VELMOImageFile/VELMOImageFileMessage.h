// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

namespace velmo::image::file {

/// Messages of the module that are not specific to a format. There are none.
struct eVELMOImageFileMessage {
    /// Empty. The catalogue is registered like the others.
    enum domain {};
};

} // namespace velmo::image::file
