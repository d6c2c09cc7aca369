// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <cstring>
#include <string>

namespace velmo {

/// The outcome of a step that only the system can refuse: success, or its error number.
class [[nodiscard]] SystemResult {
  public:
    /// `error` is a value of `errno`; 0 is success.
    explicit SystemResult(int error) : _error(error) {}

    /// True for a success.
    explicit operator bool() const { return _error == 0; }
    /// The system's text, such as "No space left on device"; empty for a success. Needs no file descriptor.
    std::string getMessage() const {
        char const* const text = _error == 0 ? "" : strerrordesc_np(_error);
        return text != nullptr ? text : "Unknown error " + std::to_string(_error);
    }

  private:
    int _error;
};

} // namespace velmo
