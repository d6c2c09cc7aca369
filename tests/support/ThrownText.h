// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <exception>
#include <gtest/gtest.h>
#include <string>
#include <typeindex>

namespace velmo::test {

/// The text of what a call throws, which is of the class `Exception` itself and of none derived from it.
template <class Exception, class Call>
std::string thrownText(Call const& call) {
    try {
        call();
    } catch (std::exception const& exception) {
        EXPECT_EQ(std::type_index(typeid(exception)), std::type_index(typeid(Exception))) << exception.what();
        return exception.what();
    }
    ADD_FAILURE() << "nothing was thrown";
    return std::string();
}

} // namespace velmo::test
