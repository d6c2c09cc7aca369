// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CliFixture.h"
#include "FaultSample.h"
#include "FaultedTool.h"
#include "ImageBytes.h"

#include <VELMOImageFile/TiffImageFileUtils.h>
#include <algorithm>
#include <csignal>
#include <memory>

namespace velmo::test {

namespace fs = boost::filesystem;
using namespace image;
using namespace image::file;

namespace {

constexpr char const* g_earlier = "an earlier output";
constexpr long g_mostRuns = 60;

/// A conversion of the four planes of a sample.
struct Conversion {
    char const* name;
    char const* input;
    char const* output;
    Arguments options;
};

std::ostream& operator<<(std::ostream& stream, Conversion const& conversion) {
    return stream << conversion.name;
}

class ToolFault : public CliTest, public testing::WithParamInterface<Conversion> {
  protected:
    ToolFault() {
        writeFile(_folder / "in.raw", _pixels);
        auto const pGeometry = geometry3d(eIBT_UInt16, 70, 64, 4);
        saveTiffImageFile(_folder / "in.tif", makeMemoryImage(*pGeometry, _pixels), eTC_Lzw);
    }

    ToolResult convert(unsigned int calls, long at, eFaultMode mode) const {
        return start(calls, at, mode)->wait();
    }

    std::unique_ptr<ToolProcess> start(unsigned int calls, long at, eFaultMode mode) const {
        return _tool.start(
            Arguments{"convert", path(GetParam().input), path(GetParam().output), "--overwrite"} +
                GetParam().options,
            calls, at, mode);
    }

    long countCalls(unsigned int calls) const {
        expectDone(convert(calls, 0, eFM_Count));
        return _tool.getCount();
    }

    bool isConverted() const {
        std::string const name = GetParam().output;
        if (read(name) == g_earlier) {
            return false;
        }
        return name == "out.raw" ? read(name) == _pixels
                                 : readPixels(*loadTiffImageFile(_folder / name, eTBM_Default)) == _pixels;
    }

    /// Not more than some of the calls, spread over all of them.
    void expectEarlierOrWholeOutput(unsigned int calls, eFaultMode mode = eFM_FailOnce) const {
        long const nbCalls = countCalls(calls);
        long nbFailures = 0;
        ASSERT_GT(nbCalls, 0);
        for (long call = 1; call <= nbCalls; call += std::max(1L, nbCalls / g_mostRuns)) {
            writeFile(_folder / GetParam().output, g_earlier);
            ToolResult const result = convert(calls, call, mode);
            SCOPED_TRACE(testing::Message() << "call " << call << " of " << nbCalls << ": " << result.err);
            nbFailures += result.status;
            if (result.status == 0) {
                EXPECT_TRUE(isConverted());
            } else {
                EXPECT_EQ(result.status, 1);
                EXPECT_EQ(read(GetParam().output), g_earlier);
                EXPECT_THAT(result.err, testing::StartsWith("velmo-image: "));
            }
            EXPECT_THAT(list(), testing::ElementsAre("in.raw", "in.tif", GetParam().output));
        }
        EXPECT_GT(nbFailures, 0);
    }

    /// Runs stop before each call in turn, and are sent the signal there.
    template <class Check>
    void sendAtEachCall(int signal, Check const& check) const {
        constexpr unsigned int calls = eFC_Write + eFC_Close + eFC_Name;
        long const nbCalls = countCalls(calls);
        ASSERT_GT(nbCalls, 0);
        for (long call = 1; call <= nbCalls && !HasFailure(); ++call) {
            SCOPED_TRACE(testing::Message() << "call " << call << " of " << nbCalls);
            writeFile(_folder / GetParam().output, g_earlier);
            auto const pProcess = start(calls, call, eFM_Stop);
            ASSERT_TRUE(pProcess->waitForStop());
            pProcess->send(signal);
            pProcess->send(SIGCONT);
            ToolResult const result = pProcess->wait();
            check(result, isConverted());
        }
    }

    std::vector<std::string> getNames() const { return {"in.raw", "in.tif", GetParam().output}; }

    FaultedTool _tool;
    std::string const _pixels = readPixels(*makeRawSample().pImage);
};

} // namespace

TEST_P(ToolFault, AWriteThatFailsLeavesTheEarlierOutput) {
    expectEarlierOrWholeOutput(eFC_Write);
}

TEST_P(ToolFault, AReadThatFailsLeavesTheEarlierOutput) {
    expectEarlierOrWholeOutput(eFC_Read);
}

TEST_P(ToolFault, AnAllocationThatFailsLeavesTheEarlierOutput) {
    expectEarlierOrWholeOutput(eFC_Allocate);
}

TEST_P(ToolFault, WritesThatFailFromOneOnLeaveTheEarlierOutput) {
    expectEarlierOrWholeOutput(eFC_Write, eFM_FailFromThere);
}

TEST_P(ToolFault, AllocationsThatFailFromOneOnLeaveTheEarlierOutput) {
    expectEarlierOrWholeOutput(eFC_Allocate, eFM_FailFromThere);
}

TEST_P(ToolFault, AKillBeforeAnyCallLeavesTheEarlierOrTheWholeOutput) {
    int nbUnfinished = 0;
    sendAtEachCall(SIGKILL, [&](ToolResult const& result, bool bConverted) {
        EXPECT_EQ(1000 + SIGKILL, result.status);
        EXPECT_TRUE(bConverted || read(GetParam().output) == g_earlier);
        nbUnfinished += list() == getNames() ? 0 : 1;
        expectDone(convert(eFC_Write, 0, eFM_Count));
        EXPECT_TRUE(isConverted());
        EXPECT_EQ(getNames(), list());
    });
    EXPECT_GT(nbUnfinished, 0);
}

TEST_P(ToolFault, AnInterruptBeforeAnyCallLeavesTheEarlierOrTheWholeOutputAndNothingElse) {
    for (int const signal : {SIGINT, SIGTERM}) {
        int nbInterrupted = 0;
        sendAtEachCall(signal, [&](ToolResult const& result, bool bConverted) {
            nbInterrupted += result.status == 130 ? 1 : 0;
            EXPECT_EQ(result.status == 130 ? "velmo-image: interrupted\n" : "", result.err);
            EXPECT_EQ(result.status, bConverted ? 0 : 130);
            EXPECT_TRUE(bConverted || read(GetParam().output) == g_earlier);
            EXPECT_EQ(getNames(), list());
        });
        EXPECT_GT(nbInterrupted, 0);
    }
}

TEST_P(ToolFault, WritesAndReadsThatMoveHalfOfTheirBytesAreContinued) {
    expectDone(convert(eFC_Write + eFC_Read, 1, eFM_Halve));
    EXPECT_TRUE(isConverted());
}

INSTANTIATE_TEST_SUITE_P(
    Formats, ToolFault,
    testing::Values(Conversion{"RawToTiff", "in.raw", "out.tif", raw("70,64,4", "uint16")},
                    Conversion{"RawToLzw", "in.raw", "out.tif",
                               Arguments{"--compression", "lzw"} + raw("70,64,4", "uint16")},
                    Conversion{
                        "RawToTiffForImageJ", "in.raw", "out.tif",
                        Arguments{"--imagej", "--pixel-size", "1,1,1", "--to-type", "int16", "--z", ":"} +
                            raw("70,64,4", "int16")},
                    Conversion{"TiffToRaw", "in.tif", "out.raw", {}}),
    getName<Conversion>);

} // namespace velmo::test
