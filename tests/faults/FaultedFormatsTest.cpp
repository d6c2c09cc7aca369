// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "FaultedCalls.h"
#include "Processes.h"
#include "TemporaryFolder.h"

#include <gtest/gtest.h>

namespace velmo::test {

namespace {

std::vector<FaultSample> makeEverySample() {
    std::vector<FaultSample> samples = makeAllSamples();
    std::vector<FaultSample> const more = makeDistributedSamples();
    samples.insert(samples.end(), more.begin(), more.end());
    samples.push_back(makeForeignTiffSample());
    return samples;
}

/// Made once: each case is a process, and asks for the names of all.
FaultSample const& getSample(std::size_t index) {
    static std::vector<FaultSample> const samples = makeEverySample();
    return samples.at(index);
}

/// The save or the load of a sample.
struct Operation {
    bool bSaves;
    std::size_t sample;
    friend void PrintTo(Operation const& operation, std::ostream* pStream) {
        std::string name = getSample(operation.sample).name;
        std::replace(name.begin(), name.end(), ' ', '_');
        *pStream << (operation.bSaves ? "Save_" : "Load_") << name;
    }
};

/// This process itself neither saves nor loads: each of its children does so for the first time.
class FaultedFormats : public testing::TestWithParam<Operation> {
  protected:
    FaultedFormats() : _sample(getSample(GetParam().sample)), _path(_folder / ("image" + _sample.extension)) {
        if (!GetParam().bSaves) {
            EXPECT_EQ(saveInChild(_sample, _path, {0, eFM_Count}), "done");
        }
    }

    Tally tally(unsigned int calls, eFaultMode mode) const {
        return GetParam().bSaves ? tallySaves(_sample, _path, {calls, mode})
                                 : tallyLoads(_sample, _path, {calls, mode});
    }

    long countCallsOf(unsigned int calls) const {
        return countCalls(calls,
                          [this] { GetParam().bSaves ? _sample.save(_path) : void(_sample.load(_path)); });
    }

    TemporaryFolder _folder;
    FaultSample _sample;
    boost::filesystem::path _path;
    unsigned int const _transfer = GetParam().bSaves ? eFC_Write : eFC_Read; ///< what moves the pixels
};

std::vector<Operation> listOperations() {
    std::vector<Operation> operations;
    for (std::size_t sample = 0; sample < 12; ++sample) {
        operations.push_back({false, sample});
        if (sample < 6) { // all but im6
            operations.push_back({true, sample});
        }
    }
    return operations;
}

} // namespace

TEST_P(FaultedFormats, ATransferThatFailsOnceOrFromThereOnIsTheErrorOrWasNotNeeded) {
    std::set<std::string> allowed = {"done", "raised"};
    if (_sample.bLosesBrokenStrips) {
        allowed.insert("done, but other pixels");
    }
    for (eFaultMode const mode : {eFM_FailOnce, eFM_FailFromThere}) {
        Tally const outcomes = tally(_transfer, mode);
        expectOnly(outcomes, allowed);
        EXPECT_EQ(outcomes.count("raised"), 1U);
    }
}

TEST_P(FaultedFormats, AnInterruptedTransferIsDoneAgain) {
    expectOnly(tally(_transfer, eFM_Interrupt), {"done"});
}

TEST_P(FaultedFormats, TransfersThatMoveHalfOfTheirBytesAreContinued) {
    Faults const faults = {_transfer, eFM_Halve};
    EXPECT_EQ(GetParam().bSaves ? saveInChild(_sample, _path, faults) : loadInChild(_sample, _path, faults),
              "done");
}

TEST_P(FaultedFormats, AReadOfASaveThatFailsIsTheSaveErrorOrWasNotNeeded) {
    if (!GetParam().bSaves || countCallsOf(eFC_Read) == 0) {
        GTEST_SKIP() << "no save, or one that reads nothing";
    }
    expectOnly(tally(eFC_Read, eFM_FailOnce), {"done", "raised"});
}

TEST_P(FaultedFormats, AnOpenThatFailsIsTheError) {
    expectOnly(tally(eFC_Open, eFM_FailOnce), {"raised"});
}

TEST_P(FaultedFormats, ACloseOrALookAtTheFileThatFailsIsTheErrorOrWasNotNeededAndLeavesNoHandle) {
    expectOnly(tally(eFC_Close, eFM_FailOnce), {"done", "raised"});
    expectOnly(tally(eFC_Look, eFM_FailOnce), {"done", "raised"});
}

TEST_P(FaultedFormats, AnAllocationThatFailsIsTheErrorOrThrownAsItIs) {
    std::set<std::string> allowed = {"done", "raised", "no memory"};
    if (!GetParam().bSaves) {
        allowed.insert("thrown: The stream of the archive failed at item className");
    }
    expectOnly(tally(eFC_Allocate, eFM_FailOnce), allowed);
}

// A message needs memory too.
TEST_P(FaultedFormats, AllocationsThatFailFromOneOnEndInAFailureAndLeaveNoHandle) {
    expectOnly(tally(eFC_Allocate, eFM_FailFromThere), {"done", "raised", "no memory"});
}

// libtiff itself does not survive the lack of memory at many places, though at fewer than half: "killed".
TEST_P(FaultedFormats, AnAllocationOfLibtiffsThatFailsGivesNoOtherImageAndLeavesNoHandle) {
    auto const nbCalls = static_cast<std::size_t>(countCallsOf(eFC_AllocateInLibtiff));
    if (nbCalls == 0) {
        GTEST_SKIP() << "libtiff has no part in this";
    }
    Tally outcomes = tally(eFC_AllocateInLibtiff, eFM_FailOnce);
    EXPECT_LT(outcomes["killed"].size(), nbCalls / 2);
    expectOnly(outcomes, {"done", "raised", "killed"});
    EXPECT_EQ(outcomes.count("raised"), 1U);
}

INSTANTIATE_TEST_SUITE_P(Formats, FaultedFormats, testing::ValuesIn(listOperations()),
                         testing::PrintToStringParamName());

} // namespace velmo::test
