// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "CliFixture.h"

namespace velmo::test {

/// Arguments of a command on a series of files, and how the message that refuses them starts.
struct WrongOption {
    char const* name;
    Arguments arguments; ///< behind the command; "s" and "out..." are taken in the folder of the test
    char const* message;
};

inline std::ostream& operator<<(std::ostream& os, WrongOption const& option) {
    return os << option.name;
}

/// There is no folder "s".
class WrongSeries : public CliTest, public testing::WithParamInterface<WrongOption> {
  protected:
    void expectRefused(std::string const& command) const {
        Arguments arguments = {command};
        for (std::string const& argument : GetParam().arguments) {
            arguments.push_back(argument.find("out") == 0 || argument == "s" ? path(argument) : argument);
        }
        ToolResult const result = runTool(arguments);
        EXPECT_EQ(2, result.status);
        EXPECT_EQ("", result.out);
        EXPECT_THAT(result.err, testing::StartsWith("velmo-image: " + std::string(GetParam().message)));
        EXPECT_TRUE(list().empty());
    }
};

} // namespace velmo::test
