// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "CapturedLog.h"

#include <VELMOImageFile/VELMOImageFileLog.h>
#include <boost/filesystem/path.hpp>
#include <functional>
#include <gtest/gtest.h>
#include <optional>
#include <string>

namespace velmo::test {

using Action = std::function<void()>;

/// What the module's exception says, as it came.
struct Raised {
    std::string text;
    std::string function;
};

/// Runs an action that has to raise the module's exception: of exactly its class, from that source file, and
/// written to the module's log once with the same text and place.
std::optional<Raised> expectRaisedFrom(std::string const& source, Action const& action);

/// Runs an action that has to throw exactly `Exception`, of which the module's log knows nothing.
template <class Exception>
void expectPassedThrough(Action const& action) {
    CapturedLog const log(image::file::getVELMOImageFileLogger());
    try {
        action();
        ADD_FAILURE() << "nothing was thrown";
    } catch (Exception const& exception) {
        EXPECT_TRUE(typeid(exception) == typeid(Exception)) << exception.what();
    }
    EXPECT_TRUE(log.getRecords().empty());
}

/// A path as a public function's message shows it: in double quotes, with `&` before `"` and `&`.
std::string quoted(boost::filesystem::path const& path);

/// How many descriptors of this process have the file open.
int countOpen(boost::filesystem::path const& path);

} // namespace velmo::test
