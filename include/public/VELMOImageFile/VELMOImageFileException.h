// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImageFile/Export.h>
#include <VELMOUtil/BaseException.h>

namespace velmo::image::file {

/// An error of this module. The first line of `what()` names the file, the last line is the reason.
/// `getMessageIds()` returns the domain and the id of each message in the text, by which a program recognises
/// the error. The error was logged at ERROR when it was thrown.
///
/// docs/messages.md has every message with its cause and its remedy. Example: examples/handle_failure.cpp.
class VELMO_IMAGE_FILE_EXPORT VELMOImageFileException : public BaseException {
  public:
    /// `function`, `file` and `line` are the place that throws.
    VELMOImageFileException(std::string const& message, char const* function, char const* file,
                            unsigned int line)
        : BaseException(message, function, file, line) {}
};

} // namespace velmo::image::file
