// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Sanitizers.h"
#include "SoftLimit.h"
#include "StreamingFixture.h"

#include <csignal>

namespace velmo::test {

using testing::ElementsAre;

namespace {

namespace fs = boost::filesystem;

/// What convert does with parts and types of large images, and split with many planes.
class EditStreaming : public StreamingFixture {
  protected:
    static constexpr unsigned long g_planeSize = 1UL << 20;
    static constexpr unsigned long g_nbPlanes = 256;

    static std::string sizeOf(unsigned long nbPlanes) { return "1024,512," + std::to_string(nbPlanes); }

    /// A run on a few planes and on many: the memory of both is nearly the same.
    void expectBoundedMemory(Arguments const& arguments, Arguments const& options) const {
        ToolResult const small = runTool(arguments + raw(sizeOf(2), "uint16") + options);
        EXPECT_EQ(0, small.status) << small.err; // warns of the bytes behind
        ToolResult const large = runTool(arguments + raw(sizeOf(g_nbPlanes), "uint16") + options);
        EXPECT_EQ(0, large.status) << large.err;
        EXPECT_LT(large.maxRss - small.maxRss, 32 * 1024);
    }

    std::vector<std::string> listIn(std::string const& folder) const {
        std::vector<std::string> names;
        for (auto const& entry : fs::directory_iterator(_folder / folder)) {
            names.push_back(entry.path().filename().string());
        }
        return names;
    }

    Arguments splitEndless() const {
        return Arguments{"split",        createEndlessToCompress(), path("p"),
                         "z<INDEX>.tif", "--compression",           "lzw"} +
               rawVolumeToCompress();
    }

    /// Until the split has begun a file.
    bool waitForFile() const {
        return waitUntil([this] {
            boost::system::error_code ignored;
            return fs::exists(_folder / "p", ignored) && !fs::is_empty(_folder / "p", ignored);
        });
    }
};

class EditStreamingSignals : public EditStreaming, public testing::WithParamInterface<int> {};

} // namespace

TEST_F(EditStreaming, TheMemoryOfPartsAndConversionsDoesNotGrowWithTheVolume) {
    std::string const input = createSparse("in.raw", g_planeSize * g_nbPlanes);
    for (char const* const output : {"out.raw", "out.tif"}) {
        for (Arguments const& options : {Arguments{"--region", "3,5,1000,500"},
                                         {"--to-type", "uint8"},
                                         {"--to-type", "real32", "--z", "::1"}}) {
            expectBoundedMemory({"convert", input, path(output), "--overwrite"}, options);
        }
    }
    EXPECT_EQ(g_planeSize * 2 * g_nbPlanes, fs::file_size(_folder / "out.raw"));
}

TEST_F(EditStreaming, TheMemoryOfPartsOfACompressedTiffDoesNotGrowWithTheVolume) {
    std::string const input = createSparse("in.raw", g_planeSize * g_nbPlanes);
    Arguments const toTiff = {"convert", input, path("in.tif"), "--overwrite", "--compression", "deflate"};
    std::vector<ToolResult> results;
    for (unsigned long const nbPlanes : {2UL, g_nbPlanes}) {
        EXPECT_EQ(0, runTool(toTiff + raw(sizeOf(nbPlanes), "uint16")).status);
        results.push_back(runTool({"convert", path("in.tif"), path("out.raw"), "--region", "3,5,1000,500",
                                   "--to-type", "uint8", "--overwrite"}));
        expectDone(results.back());
    }
    EXPECT_EQ(1000UL * 500 * g_nbPlanes, fs::file_size(_folder / "out.raw"));
    EXPECT_LT(results[1].maxRss - results[0].maxRss, 32 * 1024);
}

TEST_F(EditStreaming, APartIsReadOfAVolumeThatIsLargerThanMemory) {
    if (g_bSanitized) {
        GTEST_SKIP() << "a sanitizer needs the address space that this test takes away";
    }
    std::string const input = createEndless();
    SoftLimit const limit(RLIMIT_AS, 1UL << 29);
    expectDone(runTool(Arguments{"convert", input, path("out.raw"), "--region", "131070,1022,2,2", "--z",
                                 "16383", "--to-type", "uint16"} +
                       rawVolume()));
    EXPECT_EQ(std::string(8, '\0'), read("out.raw"));
}

TEST_F(EditStreaming, TheMemoryOfASplitDoesNotGrowWithTheVolume) {
    std::string const input = createSparse("in.raw", g_planeSize * g_nbPlanes);
    expectBoundedMemory({"split", input, path("p"), "z<INDEX>.tif", "--overwrite", "--digits", "3"}, {});
    EXPECT_EQ(g_nbPlanes, listIn("p").size());
}

TEST_P(EditStreamingSignals, EndASplitWhichLeavesNothing) {
    ToolProcess process(splitEndless());
    ASSERT_TRUE(waitForFile());
    ASSERT_TRUE(waitForReads(process.getPid()));
    process.send(GetParam());
    expectFailure(process.wait(), 130, "interrupted");
    EXPECT_THAT(list(), ElementsAre("in.raw"));
}

INSTANTIATE_TEST_SUITE_P(Signals, EditStreamingSignals, testing::Values(SIGINT, SIGTERM, SIGHUP),
                         getSignalName);

TEST_F(EditStreaming, AnInterruptedSplitLeavesTheEarlierFiles) {
    fs::create_directory(_folder / "p");
    create("p/z00.tif", "earlier");
    ToolProcess process(splitEndless() + Arguments{"--overwrite"});
    ASSERT_TRUE(waitForReads(process.getPid()));
    process.send(SIGINT);
    expectFailure(process.wait(), 130, "interrupted");
    EXPECT_THAT(listIn("p"), ElementsAre("z00.tif"));
    EXPECT_EQ("earlier", read("p/z00.tif"));
}

TEST_F(EditStreaming, WhatAKilledSplitLeavesIsRemovedByTheNext) {
    ToolProcess process(splitEndless());
    ASSERT_TRUE(waitForFile());
    ASSERT_TRUE(waitForReads(process.getPid()));
    process.send(SIGKILL);
    EXPECT_EQ(1000 + SIGKILL, process.wait().status);
    for (std::string const& name : listIn("p")) {
        EXPECT_EQ(0U, name.find(".velmo-image-")) << name;
    }
    create("small.raw", "AB");
    expectDone(
        runTool(Arguments{"split", path("small.raw"), path("p"), "z<INDEX>.tif"} + raw("1,1,2", "uint8")));
    EXPECT_THAT(listIn("p"), testing::UnorderedElementsAre("z0.tif", "z1.tif"));
}

} // namespace velmo::test
