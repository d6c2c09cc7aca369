// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Sanitizers.h"
#include "StreamingFixture.h"

#include <csignal>

namespace velmo::test {

using testing::ElementsAre;

namespace {

/// A command that reads all pixels of "in.raw".
struct Measurement {
    char const* name;
    Arguments (*createArguments)(std::string const& folder);
    unsigned long nbInputs;
};

class MeasureStreaming : public StreamingFixture, public testing::WithParamInterface<Measurement> {
  protected:
    Arguments getArguments() const { return GetParam().createArguments(_folder.getPath().string()); }
};

} // namespace

TEST_P(MeasureStreaming, MemoryDoesNotGrowWithTheVolume) {
    if (g_bSanitized) {
        GTEST_SKIP() << "a sanitizer multiplies memory";
    }
    createSparse("in.raw", g_gibibyte);
    ToolResult const small = runTool(getArguments() + raw("1024,1024,4", "int16"));
    ToolResult const large = runTool(getArguments() + raw("1024,1024,512", "int16"));
    EXPECT_EQ(0, small.status) << small.err; // may warn about the bytes behind
    expectDone(large);
    EXPECT_LT(large.maxRss - small.maxRss, 32 * 1024);
}

TEST_P(MeasureStreaming, EachInputIsReadOnce) {
    unsigned long const nbBytes = 1UL << 26;
    createSparse("in.raw", nbBytes);
    ToolProcess process(getArguments() + raw("1024,1024,64", "uint8"));
    ASSERT_TRUE(process.waitForEnd());
    unsigned long const nbRead = countReadBytes(process.getPid());
    expectDone(process.wait());
    EXPECT_GE(nbRead, GetParam().nbInputs * nbBytes);
    EXPECT_LT(nbRead, GetParam().nbInputs * nbBytes + nbBytes / 2);
}

TEST_P(MeasureStreaming, AnInterruptEndsItAndLeavesNothing) {
    for (int const signal : {SIGINT, SIGTERM, SIGHUP}) {
        createEndless();
        TerminalProcess process(getArguments() + rawVolume());
        ASSERT_TRUE(process.waitFor(" %"));
        process.send(signal);
        ToolResult const result = process.wait();
        EXPECT_EQ(130, result.status);
        EXPECT_THAT(result.out, testing::EndsWith("velmo-image: interrupted\r\n"));
        EXPECT_THAT(list(), ElementsAre("in.raw"));
    }
}

TEST_P(MeasureStreaming, QuietHidesTheBar) {
    createEndless();
    TerminalProcess process(getArguments() + rawVolume() + Arguments{"--quiet"});
    EXPECT_TRUE(waitForLongWork(process.getPid()));
    process.send(SIGINT);
    EXPECT_EQ("velmo-image: interrupted\r\n", process.wait().out);
}

INSTANTIATE_TEST_SUITE_P(
    Commands, MeasureStreaming,
    testing::Values(Measurement{"Stats",
                                [](std::string const& folder) {
                                    return Arguments{"stats", folder + "/in.raw"};
                                },
                                1},
                    Measurement{"Compare",
                                [](std::string const& folder) {
                                    return Arguments{"compare", folder + "/in.raw", folder + "/in.raw"};
                                },
                                2},
                    Measurement{
                        "Project",
                        [](std::string const& folder) {
                            return Arguments{
                                "project", folder + "/in.raw", folder + "/out.raw", "--along", "z", "--by",
                                "sum",     "--overwrite"};
                        },
                        1}),
    getName<Measurement>);

} // namespace velmo::test
