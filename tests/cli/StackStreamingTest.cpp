// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "StreamingFixture.h"

#include <csignal>

namespace velmo::test {

using testing::ElementsAre;

namespace {

class StackStreaming : public StreamingFixture {
  protected:
    /// A folder "s" of files "a0.tif" and so on: all the same volume of 16 MiB, compressed.
    void createSeries(int nbFiles) const {
        std::string const input = createSparse("in.raw", 1UL << 24);
        expectDone(runTool(Arguments{"convert", input, path("volume"), "--output-format", "tiff",
                                     "--compression", "deflate"} +
                           raw("1024,1024,16", "uint8")));
        boost::filesystem::remove(input);
        link("../volume", nbFiles);
    }

    Arguments stack(Arguments const& options = {}) const {
        return Arguments{"stack", path("s"), "a<INDEX>.tif", path("out.raw")} + options;
    }

    /// Until the tool holds so many files open.
    static bool waitForOpenFiles(pid_t pid, long nbFiles) {
        boost::filesystem::path const folder("/proc/" + std::to_string(pid) + "/fd");
        return waitUntil([&] {
            boost::system::error_code error;
            long nbOpen = 0;
            for (boost::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
                 entry.increment(error)) {
                ++nbOpen;
            }
            return nbOpen >= nbFiles;
        });
    }
};

} // namespace

TEST_F(StackStreaming, TheMemoryDoesNotGrowWithTheVolume) {
    createSeries(32);
    Arguments few = stack();
    few[2] = "a?.tif";
    ToolResult const small = runTool(few);
    expectDone(small);
    ToolResult const large = runTool(stack({"--overwrite"}));
    expectDone(large);
    EXPECT_EQ(g_gibibyte / 2, boost::filesystem::file_size(_folder / "out.raw"));
    EXPECT_LT(large.maxRss - small.maxRss, 32 * 1024);
}

TEST_F(StackStreaming, AnInterruptLeavesTheEarlierOutputAndNothingElse) {
    createEndlessSeries(10);
    create("out.raw", "earlier");
    for (int const signal : {SIGINT, SIGTERM}) {
        ToolProcess process(stack({"--overwrite"}));
        ASSERT_TRUE(waitForPixels());
        process.send(signal);
        expectFailure(process.wait(), 130, "interrupted");
        expectOutput("earlier");
        EXPECT_THAT(list(), ElementsAre("out.raw", "s", "volume"));
    }
}

TEST_F(StackStreaming, AnInterruptEndsTheComparisonOfTheFiles) {
    constexpr int nbFiles = 5000;
    createEndlessSeries(nbFiles);
    create("s/a" + std::to_string(nbFiles) + ".tif", "not a TIFF file: compared last");
    create("steps", "1");
    for (Arguments const& arguments : {stack(), Arguments{"resample", path("s"), "a<INDEX>.tif",
                                                          path("steps"), path("out.raw"), "--size-z", "5"}}) {
        ToolProcess process(arguments);
        ASSERT_TRUE(waitForOpenFiles(process.getPid(), 50));
        process.send(SIGINT);
        expectFailure(process.wait(), 130, "interrupted");
        EXPECT_THAT(list(), ElementsAre("s", "steps", "volume"));
    }
}

TEST_F(StackStreaming, TheBarIsDrawnOnATerminalUnlessItIsToBeQuiet) {
    createEndlessSeries(10);
    TerminalProcess drawn(stack());
    EXPECT_TRUE(drawn.waitFor(" %"));
    drawn.send(SIGINT);
    EXPECT_EQ(130, drawn.wait().status);
    TerminalProcess quiet(stack({"--quiet"}));
    EXPECT_TRUE(waitForLongWork(quiet.getPid()));
    quiet.send(SIGINT);
    EXPECT_EQ("velmo-image: interrupted\r\n", quiet.wait().out);
}

} // namespace velmo::test
