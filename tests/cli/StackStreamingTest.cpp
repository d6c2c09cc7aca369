// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "StreamingFixture.h"
#include "TiffSample.h"

#include <csignal>
#include <unistd.h>

namespace velmo {
namespace test {

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

    void link(std::string const& target, int nbFiles) const {
        boost::filesystem::create_directory(_folder / "s");
        for (int number = 0; number < nbFiles; ++number) {
            boost::filesystem::create_symlink(target,
                                              _folder / "s" / ("a" + std::to_string(number) + ".tif"));
        }
    }

    Arguments stack(Arguments const& options = {}) const {
        return Arguments{"stack", path("s"), "a<INDEX>.tif", path("out.raw")} + options;
    }

    /// Whether the tool comes to hold so many files open, within a minute.
    static bool waitForOpenFiles(pid_t pid, long nbFiles) {
        boost::filesystem::path const folder("/proc/" + std::to_string(pid) + "/fd");
        for (int tries = 0; tries < 60000; ++tries) {
            boost::system::error_code error;
            long nbOpen = 0;
            for (boost::filesystem::directory_iterator entry(folder, error), end; !error && entry != end;
                 entry.increment(error)) {
                ++nbOpen;
            }
            if (nbOpen >= nbFiles) {
                return true;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
        return false;
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
    createSeries(64);
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
    writeTiff(_folder / "plane", {TiffPage()});
    link("../plane", 5000);
    create("s/a5000.tif", "no TIFF file, which is not come to");
    create("steps", "1");
    for (Arguments const& arguments : {stack(), Arguments{"resample", path("s"), "a<INDEX>.tif",
                                                          path("steps"), path("out.raw"), "--size-z", "5"}}) {
        ToolProcess process(arguments);
        ASSERT_TRUE(waitForOpenFiles(process.getPid(), 50));
        process.send(SIGINT);
        expectFailure(process.wait(), 130, "interrupted");
        EXPECT_THAT(list(), ElementsAre("plane", "s", "steps"));
    }
}

TEST_F(StackStreaming, TheBarIsDrawnOnATerminalUnlessItIsToBeQuiet) {
    createSeries(64);
    TerminalProcess drawn(stack());
    EXPECT_TRUE(drawn.waitFor(" %"));
    drawn.send(SIGINT);
    EXPECT_EQ(130, drawn.wait().status);
    TerminalProcess quiet(stack({"--quiet"}));
    sleep(2);
    quiet.send(SIGINT);
    EXPECT_EQ("velmo-image: interrupted\r\n", quiet.wait().out);
}

} // namespace test
} // namespace velmo
