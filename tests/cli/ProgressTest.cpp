// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "StreamingFixture.h"

#include <csignal>

namespace velmo::test {

using testing::HasSubstr;
using testing::Not;

namespace {

class ProgressBar : public StreamingFixture {
  protected:
    /// A preview that writes nothing before its end, which it does not come to.
    Arguments createLongWork() const {
        return Arguments{"preview", createEndless(), path("out.png")} + rawPlane();
    }

    /// The next line that is drawn after a moment in which one begun for another width can end.
    static std::string readLine(TerminalProcess& process) {
        std::string shown;
        for (int time = 0; time < 2; ++time) {
            process.takeShown();
            EXPECT_TRUE(process.waitFor(g_erase));
            shown = process.takeShown();
        }
        shown.resize(shown.rfind(g_erase));
        return shown.substr(shown.rfind('\r') + 1);
    }

    static std::string const g_erase; ///< the rest of a line
};

std::string const ProgressBar::g_erase = "\x1b[K";

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

TEST_F(ProgressBar, IsAsWideAsTheTerminalHasRoomForAtEachMoment) {
    TerminalProcess process(createLongWork(), 0);
    EXPECT_THAT(readLine(process), testing::MatchesRegex("\\[=* *\\]  *[0-9]+ %"));
    for (auto const& [nbColumns, length] : std::vector<std::pair<unsigned short, std::size_t>>{
             {200, 48}, {49, 48}, {48, 47}, {20, 19}, {14, 13}, {13, 5}, {6, 5}, {5, 0}, {80, 48}, {0, 48}}) {
        process.resize(nbColumns);
        EXPECT_EQ(length, readLine(process).size()) << nbColumns;
    }
    process.send(SIGINT);
    ToolResult const result = process.wait();
    EXPECT_EQ(130, result.status);
    EXPECT_THAT(result.out, testing::EndsWith("\r\x1b[Kvelmo-image: interrupted\r\n"));
}

TEST_F(ProgressBar, OfACheckIsRemovedBeforeTheTextOfAFile) {
    std::string const quick = create("quick.raw", "ABCD");
    TerminalProcess process(Arguments{"info", "--check", "--threads", "1", createEndless(), quick} +
                            raw("268435456,1,3", "uint8"));
    EXPECT_TRUE(process.waitFor(" %"));
    ToolResult const result = process.wait();
    EXPECT_EQ(1, result.status); // the second file is too short
    EXPECT_THAT(result.out, HasSubstr("\r\x1b[K" + path("in.raw") + "\r\n"));
    EXPECT_THAT(result.out.substr(result.out.find(path("in.raw"))), HasSubstr("\r\nvelmo-image: "));
}

TEST_F(ProgressBar, IsDrawnWhileAPipeIsRead) {
    for (auto const& [option, bDrawn] : {std::pair{" ", true}, {" --quiet ", false}}) {
        std::string const script =
            "(head -c 700; sleep 1.5; head -c 300; sleep 0.1) </dev/zero | " VELMO_IMAGE_TOOL " convert - '" +
            path("out.raw") + "' --overwrite --size 10,100 --type uint8" + option;
        TerminalProcess process({"--norc", "-c", script}, 80, "xterm", "/bin/bash");
        ToolResult const result = process.wait();
        EXPECT_EQ(0, result.status) << result.out;
        EXPECT_EQ(bDrawn, result.out.find(" %\x1b[K") != std::string::npos) << result.out;
    }
}

TEST_F(ProgressBar, IsNotDrawnOnATerminalThatCannotEraseALine) {
    TerminalProcess process(createLongWork(), 80, "dumb");
    EXPECT_TRUE(waitForLongWork(process.getPid()));
    process.send(SIGINT);
    EXPECT_EQ("velmo-image: interrupted\r\n", process.wait().out);
}

TEST_F(ProgressBar, IsNotDrawnForQuickWork) {
    using Clock = std::chrono::steady_clock;
    std::string const input = create("in.raw", "ABCD");
    constexpr int nbTries = 20; // on a machine so busy that a run takes a second, which is no quick work
    bool bQuick = false;
    for (int time = 0; time < nbTries && !bQuick; ++time) {
        Clock::time_point const begin = Clock::now();
        TerminalProcess process(Arguments{"convert", input, path("out.raw"), "--overwrite"} +
                                raw("2,2", "uint8"));
        ToolResult const result = process.wait();
        bQuick = Clock::now() - begin < std::chrono::seconds(1);
        EXPECT_EQ(0, result.status);
        if (bQuick) {
            EXPECT_EQ("", result.out);
        }
    }
    EXPECT_TRUE(bQuick);
}

TEST_F(ProgressBar, IsNotDrawnWhenQuiet) {
    TerminalProcess process(createLongWork() + Arguments{"--quiet"});
    EXPECT_TRUE(waitForLongWork(process.getPid()));
    process.send(SIGINT);
    EXPECT_EQ("velmo-image: interrupted\r\n", process.wait().out);
}

TEST_F(ProgressBar, IsNotDrawnIntoAFile) {
    ToolProcess process(createLongWork());
    EXPECT_TRUE(waitForLongWork(process.getPid()));
    process.send(SIGINT);
    expectFailure(process.wait(), 130, "interrupted");
}

} // namespace velmo::test
