// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <gtest/gtest.h>
#include <string>

namespace velmo {
namespace test {

/// The text of the exception of that class, and no other, that a call ends with.
template <class Exception, class Call>
std::string textOf(Call const& call) {
    try {
        call();
    } catch (Exception const& exception) {
        return exception.what();
    } catch (std::exception const& exception) {
        ADD_FAILURE() << "an exception of another class: " << exception.what();
        return std::string();
    }
    ADD_FAILURE() << "no exception";
    return std::string();
}

} // namespace test
} // namespace velmo
