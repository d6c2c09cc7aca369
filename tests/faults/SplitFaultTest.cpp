// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CliFixture.h"
#include "FaultedTool.h"

#include <algorithm>
#include <csignal>

namespace velmo::test {

namespace fs = boost::filesystem;

namespace {

constexpr char const* g_earlierFile = "an earlier file";

/// Splits of three planes into a folder that the tool creates.
class SplitFault : public CliTest {
  protected:
    SplitFault() {
        create("in.raw", "abcdefghijkl");
        _arguments = Arguments{"split", path("in.raw"), path("p"), "z<INDEX>.tif"} + raw("2,2,3", "uint8");
    }

    long countCalls(unsigned int calls) const {
        expectDone(_tool.start(_arguments, calls, 0, eFM_Count)->wait());
        fs::remove_all(_folder / "p");
        return _tool.getCount();
    }

    /// Whether the folder has the three planes and nothing else.
    bool isSplit() const {
        ToolResult const result =
            runTool({"stack", path("p"), "z<INDEX>.tif", path("all.raw"), "--overwrite"});
        bool const bWhole = result.status == 0 && read("all.raw") == "abcdefghijkl";
        fs::remove(_folder / "all.raw");
        return bWhole && std::distance(fs::directory_iterator(_folder / "p"), fs::directory_iterator()) == 3;
    }

    /// All files or no folder.
    void expectAllOrNothing(unsigned int calls, eFaultMode mode) const {
        long const nbCalls = countCalls(calls);
        ASSERT_GT(nbCalls, 0);
        long nbFailures = 0;
        for (long call = 1; call <= nbCalls; call += std::max(1L, nbCalls / 80)) {
            ToolResult const result = _tool.start(_arguments, calls, call, mode)->wait();
            SCOPED_TRACE(testing::Message() << "call " << call << " of " << nbCalls << ": " << result.err);
            nbFailures += result.status;
            if (result.status == 0) {
                EXPECT_TRUE(isSplit());
                fs::remove_all(_folder / "p");
            } else {
                EXPECT_EQ(1, result.status);
                EXPECT_THAT(result.err, testing::StartsWith("velmo-image: "));
            }
            EXPECT_THAT(list(), testing::ElementsAre("in.raw"));
        }
        EXPECT_GT(nbFailures, 0);
    }

    FaultedTool _tool;
    Arguments _arguments;
};

} // namespace

TEST_F(SplitFault, AWriteThatFailsLeavesNothing) {
    expectAllOrNothing(eFC_Write, eFM_FailOnce);
    expectAllOrNothing(eFC_Write, eFM_FailFromThere);
}

TEST_F(SplitFault, ARenamingThatFailsLeavesNothing) {
    expectAllOrNothing(eFC_Name, eFM_FailOnce);
}

TEST_F(SplitFault, AReadThatFailsLeavesNothing) {
    expectAllOrNothing(eFC_Read, eFM_FailOnce);
}

TEST_F(SplitFault, AnAllocationThatFailsLeavesNothing) {
    expectAllOrNothing(eFC_Allocate, eFM_FailOnce);
    expectAllOrNothing(eFC_Allocate, eFM_FailFromThere);
}

TEST_F(SplitFault, AnInterruptBeforeAnyCallLeavesAllFilesOrNothing) {
    constexpr unsigned int calls = eFC_Write + eFC_Close + eFC_Name;
    long const nbCalls = countCalls(calls);
    ASSERT_GT(nbCalls, 0);
    int nbInterrupted = 0;
    for (long call = 1; call <= nbCalls && !HasFailure(); ++call) {
        SCOPED_TRACE(testing::Message() << "call " << call << " of " << nbCalls);
        auto const pProcess = _tool.start(_arguments, calls, call, eFM_Stop);
        ASSERT_TRUE(pProcess->waitForStop());
        pProcess->send(SIGINT);
        pProcess->send(SIGCONT);
        ToolResult const result = pProcess->wait();
        nbInterrupted += result.status == 130 ? 1 : 0;
        EXPECT_EQ(result.status == 130 ? "velmo-image: interrupted\n" : "", result.err);
        EXPECT_EQ(result.status == 0, exists("p") && isSplit());
        fs::remove_all(result.status == 0 ? _folder / "p" : fs::path());
        EXPECT_THAT(list(), testing::ElementsAre("in.raw"));
    }
    EXPECT_GT(nbInterrupted, 0);
}

TEST_F(SplitFault, AKilledSplitLeavesEarlierFilesOrWholeOnes) {
    constexpr unsigned int calls = eFC_Write + eFC_Close + eFC_Name;
    _arguments.emplace_back("--overwrite");
    long const nbCalls = countCalls(calls);
    fs::create_directory(_folder / "p");
    for (long call = 1; call <= nbCalls && !HasFailure(); ++call) {
        SCOPED_TRACE(testing::Message() << "call " << call << " of " << nbCalls);
        for (char const* const name : {"p/z0.tif", "p/z1.tif", "p/z2.tif"}) {
            create(name, g_earlierFile);
        }
        auto const pProcess = _tool.start(_arguments, calls, call, eFM_Stop);
        if (!pProcess->waitForStop()) { // a call less: the folder exists
            EXPECT_EQ(0, pProcess->wait().status);
            break;
        }
        pProcess->send(SIGKILL);
        EXPECT_EQ(1000 + SIGKILL, pProcess->wait().status);
        for (char const* const name : {"p/z0.tif", "p/z1.tif", "p/z2.tif"}) {
            EXPECT_TRUE(read(name) == g_earlierFile || runTool({"info", "--check", path(name)}).status == 0)
                << name;
        }
        expectDone(runTool(_arguments));
        EXPECT_TRUE(isSplit());
    }
}

} // namespace velmo::test
