// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <string>
#include <utility>

namespace velmo {

/// A value and a message: the message is empty on success and the finished text on failure.
template <class T>
class ProcessingResult {
  public:
    /// A failure brings its text; success has none.
    ProcessingResult(T value, std::string message = {}) : _value(value), _message(std::move(message)) {}

    /// @{
    /// The value, its text, and whether the value counts as true.
    T getValue() const { return _value; }
    std::string const& getMessage() const { return _message; }
    explicit operator bool() const { return static_cast<bool>(_value); }
    /// @}

  private:
    T _value;
    std::string _message;
};

/// The result of every operation that can fail without throwing.
using BoolResult = ProcessingResult<bool>;

/// True, without a message.
inline BoolResult success() {
    return BoolResult(true);
}

/// False, with the finished text.
inline BoolResult failure(std::string message) {
    return BoolResult(false, std::move(message));
}

} // namespace velmo
