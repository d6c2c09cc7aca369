// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "StreamingFixture.h"

#include <csignal>

namespace velmo::test {

using testing::ElementsAre;

namespace {

class ImportStreaming : public StreamingFixture {
  protected:
    /// An ImageJ stack of zeros in one directory, more than any machine imports in the time of a test.
    std::string createEndlessStack() const {
        TiffPage page;
        page.sizeX = 8192;
        page.sizeY = 4096;
        page.pixels = "begin";
        constexpr unsigned int nbPlanes = 1U << 16U;
        writeImageJStack(_folder / "in.tif", nbPlanes, page);
        boost::filesystem::resize_file(_folder / "in.tif", (nbPlanes + 1UL) * page.countBytes());
        return path("in.tif");
    }
};

} // namespace

TEST_F(ImportStreaming, AnInterruptLeavesTheEarlierOutputAndNothingElse) {
    create("out.raw", "earlier");
    for (int const signal : {SIGINT, SIGTERM}) {
        ToolProcess process({"import", createEndlessStack(), path("out.raw"), "--overwrite"});
        ASSERT_TRUE(waitForPixels());
        process.send(signal);
        expectFailure(process.wait(), 130, "interrupted");
        expectOutput("earlier");
        EXPECT_THAT(list(), ElementsAre("in.tif", "out.raw"));
    }
}

TEST_F(ImportStreaming, ABarIsShownOnATerminal) {
    TerminalProcess process({"import", createEndlessStack(), path("out.raw")});
    EXPECT_TRUE(process.waitFor(" %"));
    process.send(SIGTERM);
    EXPECT_EQ(130, process.wait().status);
    EXPECT_THAT(list(), ElementsAre("in.tif"));
}

} // namespace velmo::test
