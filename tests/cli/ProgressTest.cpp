// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CliFixture.h"

#include <csignal>

namespace velmo {
namespace test {

using testing::HasSubstr;
using testing::Not;

namespace {

class ProgressBar : public CliTest {
  protected:
    /// A preview that reads for many seconds and writes nothing before its end.
    Arguments createLongWork() const {
        return Arguments{"preview", createSparse("in.raw", 1UL << 36), path("out.png")} +
               raw("262144,262144", "uint8");
    }
};

} // namespace

TEST_F(ProgressBar, IsDrawnOnATerminalOnceTheWorkLasts) {
    TerminalProcess process(createLongWork());
    EXPECT_TRUE(process.waitFor(" %"));
    process.send(SIGINT);
    ToolResult const result = process.wait();
    EXPECT_EQ(130, result.status);
    EXPECT_THAT(result.out, testing::StartsWith("\r["));
    EXPECT_THAT(result.out, testing::EndsWith("\r\x1b[Kvelmo-image: interrupted\r\n"));
}

TEST_F(ProgressBar, IsNotDrawnForQuickWork) {
    std::string const input = create("in.raw", "ABCD");
    TerminalProcess process(Arguments{"convert", input, path("out.raw")} + raw("2,2", "uint8"));
    ToolResult const result = process.wait();
    EXPECT_EQ(0, result.status);
    EXPECT_EQ("", result.out);
}

TEST_F(ProgressBar, IsNotDrawnWhenQuiet) {
    TerminalProcess process(createLongWork() + Arguments{"--quiet"});
    sleep(2);
    process.send(SIGINT);
    EXPECT_EQ("velmo-image: interrupted\r\n", process.wait().out);
}

TEST_F(ProgressBar, IsNotDrawnIntoAFile) {
    ToolProcess process(createLongWork());
    sleep(2);
    process.send(SIGINT);
    expectFailure(process.wait(), 130, "interrupted");
}

} // namespace test
} // namespace velmo
