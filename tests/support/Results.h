// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <gmock/gmock.h>
#include <string>

namespace velmo::test {

MATCHER(Succeeds, "") {
    *result_listener << arg.getMessage();
    return static_cast<bool>(arg) && arg.getMessage().empty();
}

MATCHER_P(FailsWith, text, "") {
    *result_listener << (arg ? "success" : "failure: ") << arg.getMessage();
    return !arg && arg.getMessage() == text;
}

MATCHER_P(FailsLike, part, "") {
    *result_listener << (arg ? "success" : "failure: ") << arg.getMessage();
    return !arg && arg.getMessage().find(part) != std::string::npos;
}

/// `nbBytes` bytes that go up from `first` and begin anew behind 250, which shifts planes against each other.
inline std::string countingBytes(std::size_t nbBytes, unsigned int first = 1) {
    std::string bytes(nbBytes, '\0');
    for (std::size_t index = 0; index < nbBytes; ++index) {
        bytes[index] = static_cast<char>((first + index) % 251U);
    }
    return bytes;
}

} // namespace velmo::test
