// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "MpiJobFixture.h"

#include <tuple>

namespace velmo::test {

namespace {

/// Command of the driver, and fault of a rank.
class MpiDeath : public MpiJobFixture,
                 public testing::WithParamInterface<std::tuple<char const*, int, char const*>> {};

} // namespace

TEST_P(MpiDeath, EndsTheJobNamesTheRankAndLeavesNoPartialFile) {
    auto const [command, rank, fault] = GetParam();
    expectEnd(command, {rank, fault});
}

INSTANTIATE_TEST_SUITE_P(Phases, MpiDeath,
                         testing::Combine(testing::Values("idle", "load", "gather", "functions", "save tiff",
                                                          "save raw"),
                                          testing::Values(0, 1), testing::Values("kill:1500", "stop:1500")));
INSTANTIATE_TEST_SUITE_P(Start, MpiDeath,
                         testing::Combine(testing::Values("idle"), testing::Values(0, 1),
                                          testing::Values("kill at start")));

} // namespace velmo::test
