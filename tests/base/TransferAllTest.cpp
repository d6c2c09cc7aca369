// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include <VELMOBase/TransferAll.h>

#include <algorithm>
#include <gtest/gtest.h>
#include <vector>

namespace velmo {

namespace {

/// Results of calls one after the other; a negative one is an error number.
struct Calls {
    std::vector<int> results;
    std::vector<std::uint64_t> starts = {};

    Transferred transfer(std::uint64_t nbBytes) {
        return transferAll(nbBytes, [this](std::uint64_t done) -> ssize_t {
            int const result = results.at(starts.size());
            starts.push_back(done);
            errno = std::max(0, -result);
            return std::max(-1, result);
        });
    }
};

} // namespace

TEST(TransferAll, GoesOnAfterTheBytesThatACallHasMoved) {
    Calls calls = {{3, 1, 6}};
    Transferred const moved = calls.transfer(10);
    EXPECT_EQ(moved.nbBytes, 10U);
    EXPECT_EQ(moved.error, 0);
    EXPECT_EQ(calls.starts, (std::vector<std::uint64_t>{0, 3, 4}));
}

TEST(TransferAll, RepeatsACallThatASignalInterrupts) {
    Calls calls = {{-EINTR, 2, -EINTR, -EINTR, 3}};
    Transferred const moved = calls.transfer(5);
    EXPECT_EQ(moved.nbBytes, 5U);
    EXPECT_EQ(moved.error, 0);
}

TEST(TransferAll, EndsWhereACallMovesNothingAndAtAnError) {
    Calls atEnd = {{4, 0}};
    EXPECT_EQ(atEnd.transfer(9).nbBytes, 4U);
    Calls failing = {{4, -ENOSPC}};
    Transferred const moved = failing.transfer(9);
    EXPECT_EQ(moved.nbBytes, 4U);
    EXPECT_EQ(moved.error, ENOSPC);
}

TEST(TransferAll, OfNothingMakesNoCall) {
    Calls calls = {{}};
    EXPECT_EQ(calls.transfer(0).nbBytes, 0U);
    EXPECT_TRUE(calls.starts.empty());
}

} // namespace velmo
