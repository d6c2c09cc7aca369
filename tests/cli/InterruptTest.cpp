// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CliFixture.h"

#include <csignal>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace velmo::test {

using testing::ElementsAre;

namespace {

class Interrupt : public CliTest, public testing::WithParamInterface<int> {
  protected:
    void SetUp() override {
        create("in.raw", "ABCD");
        ASSERT_EQ(0, mkfifo(path("pipe").c_str(), 0600));
    }

    Arguments convertWithHeaderFromPipe() const {
        return Arguments{"convert", path("in.raw"), path("out.raw"), "--header", path("pipe")} +
               raw("2,2", "uint8");
    }

    /// The tool, asleep at a pipe, is woken up by one signal and leaves nothing.
    void expectStop(ToolProcess& process) const {
        ASSERT_TRUE(process.waitForSleep());
        process.send(GetParam());
        ASSERT_TRUE(process.waitForEnd());
        expectFailure(process.wait(), 130, "interrupted");
        EXPECT_THAT(list(), ElementsAre("in.raw", "pipe"));
    }
};

} // namespace

TEST_P(Interrupt, EndsTheWaitForAHeaderThatNobodyOpens) {
    ToolProcess process(convertWithHeaderFromPipe());
    expectStop(process);
}

TEST_P(Interrupt, EndsTheWaitForAHeaderThatNobodyWrites) {
    int const pipe = open(path("pipe").c_str(), O_RDWR | O_CLOEXEC);
    ToolProcess process(convertWithHeaderFromPipe());
    expectStop(process);
    close(pipe);
}

TEST_P(Interrupt, EndsTheWaitForAReaderOfThePicture) {
    ToolProcess process(Arguments{"preview", path("in.raw"), path("pipe")} + raw("2,2", "uint8"));
    expectStop(process);
}

TEST_P(Interrupt, EndsTheWaitForAReaderOfThePage) {
    link(path("pipe"), "link.html");
    ToolProcess process(Arguments{"preview", path("in.raw"), path("link.html")} + raw("2,2", "uint8"));
    ASSERT_TRUE(process.waitForSleep());
    process.send(GetParam());
    ASSERT_TRUE(process.waitForEnd());
    expectFailure(process.wait(), 130, "interrupted");
    EXPECT_THAT(list(), ElementsAre("in.raw", "link.html", "pipe"));
}

INSTANTIATE_TEST_SUITE_P(Signals, Interrupt, testing::Values(SIGINT, SIGTERM, SIGHUP), getSignalName);

} // namespace velmo::test
