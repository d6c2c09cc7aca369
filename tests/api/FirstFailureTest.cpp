// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "TemporaryFolder.h"

#include <cstdlib>
#include <gmock/gmock.h>

namespace velmo::test {

namespace {

using testing::HasSubstr;

constexpr char const* g_head = "Error while loading tiff image file \"missing.tif\"\n"
                               "Failed to open tiff image file missing.tif\n";
constexpr char const* g_reason = "missing.tif: No such file or directory";

/// What a fresh process wrote.
struct Written {
    std::string output;
    std::string errors;
};

/// Runs the program in `folder`, with the steps that it takes before its first call.
Written runFirstFailure(TemporaryFolder const& folder, std::string const& steps) {
    std::string const command = "cd " + folder.getPath().string() + " && " + VELMO_TEST_FIRST_FAILURE + " " +
                                steps + " >output 2>errors";
    EXPECT_EQ(std::system(command.c_str()), 0);
    return {readFile(folder / "output"), readFile(folder / "errors")};
}

} // namespace

TEST(FirstFailure, OfAPlainCallHasNoReasonAndLibtiffPrintsIt) {
    TemporaryFolder const folder;
    Written const written = runFirstFailure(folder, "silence");
    EXPECT_EQ(written.output, g_head);
    EXPECT_THAT(written.errors, HasSubstr(g_reason));
}

TEST(FirstFailure, HasItsReasonAfterMessagesAreCaptured) {
    TemporaryFolder const folder;
    Written const written = runFirstFailure(folder, "silence capture capture");
    EXPECT_EQ(written.output, std::string(g_head) + "Tiff Error : " + g_reason);
    EXPECT_EQ(written.errors, "");
}

TEST(FirstFailure, IsComplainedAboutByALogThatIsNotConfigured) {
    TemporaryFolder const folder;
    EXPECT_THAT(runFirstFailure(folder, "capture").errors, HasSubstr("No appenders"));
}

TEST(FirstFailure, IsPrintedOnceByALogThatGoesToTheStandardError) {
    TemporaryFolder const folder;
    std::string const record =
        std::string("ERROR VELMO.VELMOImageFile: ") + g_head + "Tiff Error : " + g_reason + '\n';
    EXPECT_EQ(runFirstFailure(folder, "capture print print").errors, record);
    EXPECT_EQ(runFirstFailure(folder, "capture silence print").errors, record);
    EXPECT_EQ(runFirstFailure(folder, "capture print silence").errors, "");
}

} // namespace velmo::test
