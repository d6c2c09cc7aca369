// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "FaultedFixture.h"

namespace velmo::test {

class FaultedLoad : public FaultedTest {
  protected:
    FaultedLoad() { EXPECT_EQ(saveInChild(_sample, _path, {0, eFM_Count}), "done"); }
    /// What may come of a read that fails.
    std::set<std::string> getOutcomes() const {
        return _sample.bLosesBrokenStrips ? std::set<std::string>{"done", "raised", "done, but other pixels"}
                                          : std::set<std::string>{"done", "raised"};
    }
    Tally tally(unsigned int calls, eFaultMode mode) const {
        return tallyLoads(_sample, _path, {calls, mode});
    }
};

TEST_P(FaultedLoad, AReadThatFailsIsTheLoadError) {
    Tally const outcomes = tally(eFC_Read, eFM_FailOnce);
    expectOnly(outcomes, getOutcomes());
    EXPECT_EQ(outcomes.count("raised"), 1U);
}

TEST_P(FaultedLoad, ReadsThatFailFromOneOnAreTheLoadError) {
    Tally const outcomes = tally(eFC_Read, eFM_FailFromThere);
    expectOnly(outcomes, getOutcomes());
    EXPECT_EQ(outcomes.count("raised"), 1U);
}

TEST_P(FaultedLoad, AnInterruptedReadIsDoneAgain) {
    expectOnly(tally(eFC_Read, eFM_Interrupt), {"done"});
}

TEST_P(FaultedLoad, ReadsThatMoveHalfOfTheirBytesAreContinued) {
    EXPECT_EQ(loadInChild(_sample, _path, {eFC_Read, eFM_Halve}), "done");
}

TEST_P(FaultedLoad, AnOpenThatFailsIsTheLoadError) {
    expectOnly(tally(eFC_Open, eFM_FailOnce), {"raised"});
}

TEST_P(FaultedLoad, ACloseThatFailsLeavesNoHandle) {
    expectOnly(tally(eFC_Close, eFM_FailOnce), {"done", "raised"});
}

TEST_P(FaultedLoad, ALookAtTheFileThatFailsIsTheLoadErrorOrWasNotNeeded) {
    expectOnly(tally(eFC_Look, eFM_FailOnce), {"done", "raised"});
}

TEST_P(FaultedLoad, AnAllocationThatFailsIsTheLoadErrorOrThrownAsItIs) {
    expectOnly(tally(eFC_Allocate, eFM_FailOnce),
               {"done", "raised", "no memory", "thrown: The stream of the archive failed at item className"});
}

// A message needs memory too.
TEST_P(FaultedLoad, AllocationsThatFailFromOneOnEndInAFailureAndLeaveNoHandle) {
    Tally const outcomes = tally(eFC_Allocate, eFM_FailFromThere);
    expectOnly(outcomes, {"done", "raised", "no memory"});
}

// libtiff itself does not survive the lack of memory at many places, though at fewer than half: "killed".
TEST_P(FaultedLoad, AnAllocationOfLibtiffsThatFailsGivesNoOtherImageAndLeavesNoHandle) {
    auto const nbCalls =
        static_cast<std::size_t>(countCalls(eFC_AllocateInLibtiff, [this] { _sample.load(_path); }));
    if (nbCalls == 0) {
        GTEST_SKIP() << "libtiff has no part in this";
    }
    Tally outcomes = tally(eFC_AllocateInLibtiff, eFM_FailOnce);
    EXPECT_LT(outcomes["killed"].size(), nbCalls / 2);
    expectOnly(outcomes, {"done", "raised", "killed"});
    EXPECT_EQ(outcomes.count("raised"), 1U);
}

INSTANTIATE_TEST_SUITE_P(Formats, FaultedLoad, testing::Range<std::size_t>(0, 11), getSampleName);

} // namespace velmo::test
