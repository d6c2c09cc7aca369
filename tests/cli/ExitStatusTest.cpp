// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "SeriesFixture.h"
#include "SyscallTrace.h"

#include <csignal>
#include <fcntl.h>
#include <unistd.h>

namespace velmo::test {

/// Lines of one command. Names of files are taken in the folder of the test.
struct CommandLines {
    char const* name;
    Arguments done;
    Arguments failed;
    Arguments wrong;
};

namespace {

class ExitStatus : public SeriesFixture, public testing::WithParamInterface<CommandLines> {
  protected:
    void SetUp() override {
        SeriesFixture::SetUp();
        put("a1.tif", "abcdef");
        put("a2.tif", "ghijkl");
        create("steps.txt", "1\n");
    }

    ToolResult run(Arguments const& arguments) const {
        return runTool(Arguments{GetParam().name} + arguments, _folder.getPath().string());
    }
};

class StuckOutput : public SeriesFixture {
  protected:
    void SetUp() override {
        ASSERT_EQ(0, pipe2(_ends, O_CLOEXEC));
        int const size = fcntl(_ends[1], F_SETPIPE_SZ, 4096);
        std::string const bytes(static_cast<std::size_t>(size), 'x');
        ASSERT_EQ(size, write(_ends[1], bytes.data(), bytes.size()));
        SeriesFixture::SetUp();
        put("a1.tif", "abcdef");
    }
    void TearDown() override {
        close(_ends[0]);
        close(_ends[1]);
    }

    void empty() const {
        std::string bytes(static_cast<std::size_t>(fcntl(_ends[0], F_GETPIPE_SZ)), ' ');
        ASSERT_LT(0, ::read(_ends[0], bytes.data(), bytes.size()));
    }

    int _ends[2] = {-1, -1}; ///< of a pipe that is full
};

} // namespace

TEST_P(ExitStatus, TellsHowTheWorkEnded) {
    ToolResult const done = run(GetParam().done);
    EXPECT_EQ(0, done.status) << done.err;
    for (auto const& [arguments, status] : {std::pair{GetParam().failed, 1}, {GetParam().wrong, 2}}) {
        ToolResult const result = run(arguments);
        EXPECT_EQ(status, result.status) << result.err;
        EXPECT_EQ("", result.out);
        EXPECT_THAT(result.err, testing::StartsWith("velmo-image: "));
    }
}

INSTANTIATE_TEST_SUITE_P(
    Commands, ExitStatus,
    testing::Values(CommandLines{"info", {"s/a1.tif"}, {"s/none.tif"}, {"s/a1.tif", "--type", "uint8"}},
                    CommandLines{"convert",
                                 {"s/a1.tif", "out.tif"},
                                 {"s/a1.tif", "none/out.tif"},
                                 {"s/a1.tif", "out2.raw", "--compression", "lzw"}},
                    CommandLines{"preview",
                                 {"s/a1.tif", "out.png"},
                                 {"s/none.tif", "out2.png"},
                                 {"s/a1.tif", "out2.png", "--z", "1"}},
                    CommandLines{"stats", {"s/a1.tif"}, {"s/none.tif"}, {"s/a1.tif", "--by", "row"}},
                    CommandLines{"compare",
                                 {"s/a1.tif", "s/a1.tif"},
                                 {"s/a1.tif", "s/none.tif"},
                                 {"s/a1.tif", "s/a2.tif", "--tolerance", "x"}},
                    CommandLines{"project",
                                 {"s/a1.tif", "out.tif", "--along", "z", "--by", "max"},
                                 {"s/none.tif", "out2.tif", "--along", "z", "--by", "max"},
                                 {"s/a1.tif", "out2.tif", "--along", "z", "--by", "median"}},
                    CommandLines{"stack",
                                 {"s", "a<INDEX>.tif", "out.tif"},
                                 {"s", "b<INDEX>.tif", "out2.tif"},
                                 {"s", "a<INDEX>.tif", "out2.tif", "--along", "x"}},
                    CommandLines{"split",
                                 {"s/a1.tif", "p", "z<INDEX>.tif"},
                                 {"s/none.tif", "p2", "z<INDEX>.tif"},
                                 {"s/a1.tif", "p2", "z<INDEX>.tif", "--z", "1"}},
                    CommandLines{"resample",
                                 {"s", "a<INDEX>.tif", "steps.txt", "out.tif", "--size-z", "3"},
                                 {"s", "a<INDEX>.tif", "none.txt", "out2.tif", "--size-z", "3"},
                                 {"s", "a<INDEX>.tif", "steps.txt", "out2.tif", "--size-z", "0"}},
                    CommandLines{"match", {"a<INDEX>", "a1"}, {"a<INDEX>", "b1"}, {"a<INDEX>"}}),
    getName<CommandLines>);

TEST_F(StuckOutput, IsGivenUpAfterAnInterrupt) {
    for (Arguments const& arguments : {Arguments{"info", path("s/a1.tif")},
                                       {"info", "--json", path("s/a1.tif")},
                                       {"stats", path("s/a1.tif")},
                                       {"compare", path("s/a1.tif"), path("s/a1.tif")},
                                       {"info", path("s/a1.tif"), path("s/a1.tif"), path("s/a1.tif")},
                                       {"match", "a<INDEX>", "a1"},
                                       {"match", "*", "--directory", path("s")},
                                       {"stack", "--help"}}) {
        for (int const signal : {SIGINT, SIGTERM}) {
            ToolProcess process(arguments, _ends[1]);
            ASSERT_TRUE(process.waitForSleep());
            process.send(signal);
            ASSERT_TRUE(process.waitForEnd());
            expectFailure(process.wait(), 130, "interrupted");
        }
    }
}

TEST_F(StuckOutput, AnInterruptDuringACheckEndsItAtTheNextPlane) {
    create("b.raw", "ABCD");
    ToolProcess process(Arguments{"info", "--check", "--threads", "1", path("s/a1.tif"), path("b.raw")} +
                            raw("2,2", "uint8"),
                        _ends[1]);
    ASSERT_TRUE(process.waitForSleep());
    SyscallTrace trace(process.getPid());
    if (!trace.isAttached()) {
        GTEST_SKIP() << "the system forbids to trace a process";
    }
    empty();
    ASSERT_LT(0, trace.runToUseOf(path("b.raw")));
    process.send(SIGINT);
    trace.detach();
    expectFailure(process.wait(), 130, "interrupted");
}

} // namespace velmo::test
