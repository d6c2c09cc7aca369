// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "MpiJobFixture.h"

#include <algorithm>
#include <tuple>

namespace velmo::test {

namespace {

/// Command of the driver, rank, and fault of the rank.
using Death = std::tuple<std::string, int, std::string>;

std::string getCaseName(testing::TestParamInfo<Death> const& info) {
    auto const& [command, rank, fault] = info.param;
    std::string name = command + "_of_rank_" + std::to_string(rank) + '_' + fault;
    std::replace_if(
        name.begin(), name.end(), [](char letter) { return letter == ' ' || letter == ':'; }, '_');
    return name;
}

class MpiDeath : public MpiJobFixture, public testing::WithParamInterface<Death> {};

} // namespace

TEST_P(MpiDeath, EndsTheJobNamesTheRankAndLeavesNoPartialFile) {
    auto const [command, rank, fault] = GetParam();
    expectEnd(command, {rank, fault});
}

INSTANTIATE_TEST_SUITE_P(Phases, MpiDeath,
                         testing::Combine(testing::Values("idle", "load", "gather", "functions", "save tiff",
                                                          "save raw"),
                                          testing::Values(0, 1), testing::Values("kill:1500", "stop:1500")),
                         getCaseName);
INSTANTIATE_TEST_SUITE_P(Start, MpiDeath,
                         testing::Combine(testing::Values("idle"), testing::Values(0, 1),
                                          testing::Values("kill at start")),
                         getCaseName);

} // namespace velmo::test
