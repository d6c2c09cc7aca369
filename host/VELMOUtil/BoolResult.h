// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOUtil/MessageIds.h"

#include <string>
#include <utility>

namespace velmo {

/// A value and an error message. The message is empty on success, otherwise the complete text. The result
/// must not be ignored; code that ignores it on purpose casts it to void.
template <class T>
class [[nodiscard]] ProcessingResult {
  public:
    /// `messageIds` are the messages that form the text.
    ProcessingResult(T value, std::string message = {}, MessageIds messageIds = {})
        : _value(value), _message(std::move(message)), _messageIds(std::move(messageIds)) {}

    /// The value.
    T getValue() const { return _value; }
    /// The complete text of the error; empty on success.
    std::string const& getMessage() const { return _message; }
    /// Domain and id of each message in the text; empty on success.
    MessageIds const& getMessageIds() const { return _messageIds; }
    /// Whether the value counts as true.
    explicit operator bool() const { return static_cast<bool>(_value); }

  private:
    T _value;
    std::string _message;
    MessageIds _messageIds;
};

/// The result of every operation that can fail without throwing.
using BoolResult = ProcessingResult<bool>;

/// True, without a message.
inline BoolResult success() {
    return BoolResult(true);
}

/// False, with the finished text and the messages that form it.
inline BoolResult failure(std::string message, MessageIds messageIds = {}) {
    return BoolResult(false, std::move(message), std::move(messageIds));
}

} // namespace velmo
