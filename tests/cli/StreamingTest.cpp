// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Sanitizers.h"
#include "SoftLimit.h"
#include "StreamingFixture.h"

#include <csignal>

namespace velmo::test {

using testing::ElementsAre;

namespace {

class Streaming : public StreamingFixture {
  protected:
    void expectStopLeavesTheEarlierOutput(int signal) const {
        create("out.raw", "earlier");
        ToolProcess process(Arguments{"convert", createEndless(), path("out.raw"), "--overwrite"} +
                            rawVolume());
        ASSERT_TRUE(waitForPixels());
        process.send(signal);
        expectFailure(process.wait(), 130, "interrupted");
        expectOutput("earlier");
        EXPECT_THAT(list(), ElementsAre("in.raw", "out.raw"));
    }
};

} // namespace

TEST_F(Streaming, AnInterruptedOrTerminatedConversionLeavesTheEarlierOutputAndNothingElse) {
    expectStopLeavesTheEarlierOutput(SIGINT);
    expectStopLeavesTheEarlierOutput(SIGTERM);
}

TEST_F(Streaming, AnInterruptedConversionToANewFileLeavesNone) {
    ToolProcess process(Arguments{"convert", createEndless(), path("out.raw")} + rawVolume());
    ASSERT_TRUE(waitForPixels());
    EXPECT_THAT(list(), testing::Not(testing::Contains("out.raw")));
    process.send(SIGINT);
    expectFailure(process.wait(), 130, "interrupted");
    EXPECT_THAT(list(), ElementsAre("in.raw"));
}

TEST_F(Streaming, AnInterruptedPreviewLeavesNoFile) {
    TerminalProcess process(Arguments{"preview", createEndless(), path("out.png")} + rawPlane());
    ASSERT_TRUE(process.waitFor(" %"));
    process.send(SIGTERM);
    EXPECT_EQ(130, process.wait().status);
    EXPECT_THAT(list(), ElementsAre("in.raw"));
}

TEST_F(Streaming, AFileThatAppearsDuringTheConversionIsNotReplaced) {
    // Twice the work where the tool came to its end before it could be stopped.
    unsigned long nbPlanes = 1;
    bool bStopped = false;
    while (!bStopped && !HasFailure()) {
        std::string const input = createSparse("in.raw", nbPlanes << 26);
        ToolProcess process(Arguments{"convert", input, path("out.raw"), "--quiet"} +
                            raw("65536,1024," + std::to_string(nbPlanes), "uint8"));
        waitUntil([&] { return getTemporarySize() != 0 || boost::filesystem::exists(path("out.raw")); });
        process.send(SIGSTOP);
        bStopped = process.waitForStop() && !boost::filesystem::exists(path("out.raw"));
        create("out.raw", bStopped ? "theirs" : "");
        process.send(SIGCONT);
        ToolResult const result = process.wait();
        if (!bStopped) {
            expectDone(result);
        } else {
            expectFailure(result, 1, path("out.raw"), "File exists");
            expectOutput("theirs");
            EXPECT_THAT(list(), ElementsAre("in.raw", "out.raw"));
        }
        boost::filesystem::remove(path("out.raw"));
        nbPlanes *= 2;
    }
}

TEST_F(Streaming, TheMemoryOfAConversionDoesNotGrowWithTheVolume) {
    std::string const input = createSparse("in.raw", g_gibibyte);
    Arguments const arguments = {"convert", input, path("out.raw"), "--overwrite"};
    ToolResult const small = runTool(arguments + raw("1024,1024,4", "int16"));
    ToolResult const large = runTool(arguments + raw("1024,1024,512", "int16"));
    EXPECT_EQ(0, small.status) << small.err;
    expectDone(large);
    EXPECT_EQ(g_gibibyte, boost::filesystem::file_size(_folder / "out.raw"));
    EXPECT_LT(large.maxRss - small.maxRss, 32 * 1024);
}

TEST_F(Streaming, TheMemoryOfAConversionToAndFromTiffDoesNotGrowWithTheVolume) {
    std::string const input = createSparse("in.raw", g_gibibyte / 8);
    Arguments const toTiff = {"convert", input, path("out.tif"), "--overwrite"};
    Arguments const toRaw = {"convert", path("out.tif"), path("out.raw"), "--overwrite"};
    EXPECT_EQ(0, runTool(toTiff + raw("512,512,2", "uint8")).status); // warns of the bytes behind
    ToolResult const smallToRaw = runTool(toRaw);
    ToolResult const smallToTiff = runTool({"convert", path("out.tif"), path("copy.tif")});
    ToolResult const large = runTool(toTiff + raw("512,512,512", "uint8"));
    ToolResult const largeToRaw = runTool(toRaw);
    for (ToolResult const& result : {smallToRaw, smallToTiff, large, largeToRaw}) {
        expectDone(result);
    }
    EXPECT_EQ(g_gibibyte / 8, boost::filesystem::file_size(_folder / "out.raw"));
    EXPECT_LT(large.maxRss - smallToTiff.maxRss, 32 * 1024);
    EXPECT_LT(largeToRaw.maxRss - smallToRaw.maxRss, 32 * 1024);
}

TEST_F(Streaming, AnInterruptedConversionToTiffLeavesTheEarlierOutputAndNothingElse) {
    create("out.tif", "earlier");
    ToolProcess process(Arguments{"convert", createEndlessToCompress(), path("out.tif"), "--overwrite",
                                  "--compression", "lzw"} +
                        rawVolumeToCompress());
    ASSERT_TRUE(waitForPixels());
    process.send(SIGINT);
    expectFailure(process.wait(), 130, "interrupted");
    EXPECT_EQ("earlier", read("out.tif"));
    EXPECT_THAT(list(), ElementsAre("in.raw", "out.tif"));
}

TEST_F(Streaming, TheMemoryOfAPreviewDoesNotGrowWithThePlane) {
    std::string const input = createSparse("in.raw", g_gibibyte / 2);
    Arguments const arguments = {"preview", input, path("out.png"), "--overwrite", "--max-size", "500"};
    ToolResult const small = runTool(arguments + raw("1024,1024", "uint8"));
    ToolResult const large = runTool(arguments + raw("32768,16384", "uint8"));
    expectDone(small);
    expectDone(large);
    EXPECT_LT(large.maxRss - small.maxRss, 32 * 1024);
}

TEST_F(Streaming, APictureThatTheSystemGivesNoMemoryForIsAFailure) {
    if (g_bSanitized) {
        GTEST_SKIP() << "a sanitizer needs the address space that this test takes away";
    }
    std::string const input = createSparse("in.raw", 1UL << 28);
    SoftLimit const limit(RLIMIT_AS, 1UL << 29);
    ToolResult const result = runTool(Arguments{"preview", input, path("out.png"), "--max-size", "16384"} +
                                      raw("16384,16384", "uint8"));
    EXPECT_EQ(1, result.status);
    EXPECT_THAT(result.err, testing::HasSubstr("not enough memory"));
    EXPECT_THAT(list(), ElementsAre("in.raw"));
}

} // namespace velmo::test
