// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "FaultedFixture.h"

namespace velmo::test {

class FaultedSave : public FaultedTest {
  protected:
    Tally tally(unsigned int calls, eFaultMode mode) const {
        return tallySaves(_sample, _path, {calls, mode});
    }
};

TEST_P(FaultedSave, AWriteThatFailsIsTheSaveErrorOrWasNotNeeded) {
    Tally const outcomes = tally(eFC_Write, eFM_FailOnce);
    expectOnly(outcomes, {"done", "raised"});
    EXPECT_EQ(outcomes.count("raised"), 1U);
}

TEST_P(FaultedSave, WritesThatFailFromOneOnAreTheSaveError) {
    Tally const outcomes = tally(eFC_Write, eFM_FailFromThere);
    expectOnly(outcomes, {"done", "raised"});
    EXPECT_EQ(outcomes.count("raised"), 1U);
}

TEST_P(FaultedSave, AnInterruptedWriteIsDoneAgain) {
    expectOnly(tally(eFC_Write, eFM_Interrupt), {"done"});
}

TEST_P(FaultedSave, WritesThatMoveHalfOfTheirBytesAreContinued) {
    EXPECT_EQ(saveInChild(_sample, _path, {eFC_Write, eFM_Halve}), "done");
}

TEST_P(FaultedSave, AnOpenThatFailsIsTheSaveError) {
    expectOnly(tally(eFC_Open, eFM_FailOnce), {"raised"});
}

TEST_P(FaultedSave, ACloseThatFailsLeavesTheFileAndNoHandle) {
    expectOnly(tally(eFC_Close, eFM_FailOnce), {"done", "raised"});
}

TEST_P(FaultedSave, AReadThatFailsIsTheSaveErrorOrWasNotNeeded) {
    if (countCalls(eFC_Read, [this] { _sample.save(_path); }) == 0) {
        GTEST_SKIP() << "this save reads nothing";
    }
    expectOnly(tally(eFC_Read, eFM_FailOnce), {"done", "raised"});
}

TEST_P(FaultedSave, ALookAtTheFileThatFailsIsTheSaveErrorOrWasNotNeeded) {
    expectOnly(tally(eFC_Look, eFM_FailOnce), {"done", "raised"});
}

TEST_P(FaultedSave, AnAllocationThatFailsIsTheSaveErrorOrThrownAsItIs) {
    expectOnly(tally(eFC_Allocate, eFM_FailOnce), {"done", "raised", "no memory"});
}

// A message needs memory too.
TEST_P(FaultedSave, AllocationsThatFailFromOneOnEndInAFailureAndLeaveNoHandle) {
    Tally const outcomes = tally(eFC_Allocate, eFM_FailFromThere);
    expectOnly(outcomes, {"done", "raised", "no memory"});
}

// libtiff itself does not survive the lack of memory at many places, though at fewer than half: "killed".
TEST_P(FaultedSave, AnAllocationOfLibtiffsThatFailsGivesNoOtherImageAndLeavesNoHandle) {
    auto const nbCalls =
        static_cast<std::size_t>(countCalls(eFC_AllocateInLibtiff, [this] { _sample.save(_path); }));
    if (nbCalls == 0) {
        GTEST_SKIP() << "libtiff has no part in this";
    }
    Tally outcomes = tally(eFC_AllocateInLibtiff, eFM_FailOnce);
    EXPECT_LT(outcomes["killed"].size(), nbCalls / 2);
    expectOnly(outcomes, {"done", "raised", "killed"});
    EXPECT_EQ(outcomes.count("raised"), 1U);
}

INSTANTIATE_TEST_SUITE_P(Formats, FaultedSave, testing::Range<std::size_t>(0, 5),
                         getSampleName); // all but im6

} // namespace velmo::test
