// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImageFile/Export.h>
#include <VELMOUtil/BaseException.h>

namespace velmo::image::file {

/// A failure of this module: the text names the file, and behind a line feed stands what the lower level
/// said. It was written to the module's log when it was thrown.
/// docs/messages.md has every text with its remedy, examples/handle_failure.cpp a handler.
class VELMO_IMAGE_FILE_EXPORT VELMOImageFileException : public BaseException {
  public:
    /// `function`, `file` and `line` are those of the raise.
    VELMOImageFileException(std::string const& message, char const* function, char const* file,
                            unsigned int line)
        : BaseException(message, function, file, line) {}
};

} // namespace velmo::image::file
