// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "CliFixture.h"

#include <nlohmann/json.hpp>

namespace velmo::test {

/// The entries of the document of a run of `info --json`.
inline nlohmann::json getEntries(ToolResult const& result) {
    nlohmann::json const document = nlohmann::json::parse(result.out);
    EXPECT_EQ(2, document.at("schema"));
    EXPECT_EQ(2U, document.size());
    return document.at("files");
}

/// The entries of a run of `info --json` that is done.
inline nlohmann::json describeAll(Arguments const& arguments) {
    ToolResult const result = runTool(Arguments{"info", "--json"} + arguments);
    expectDone(result);
    return getEntries(result);
}

/// The same for one file.
inline nlohmann::json describe(Arguments const& arguments) {
    return describeAll(arguments).at(0);
}

} // namespace velmo::test
