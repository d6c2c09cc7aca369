// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "ForeignPrograms.h"
#include "TemporaryFolder.h"

#include <gmock/gmock.h>

namespace velmo::test {

namespace {

/// A script that compares a command of the tool with numpy, and what it prints if all results are equal.
struct NumpyCheck {
    char const* name;
    char const* script;
    char const* result;
};

std::ostream& operator<<(std::ostream& os, NumpyCheck const& check) {
    return os << check.name;
}

class Measurements : public testing::TestWithParam<NumpyCheck> {};

} // namespace

TEST_P(Measurements, EqualThoseOfNumpy) {
    std::optional<std::string> const python = findPython();
    if (!python) {
        GTEST_SKIP() << "no python3 with tifffile";
    }
    TemporaryFolder const folder;
    ProgramResult const result =
        runProgram({*python, "-B", std::string(VELMO_TEST_FOLDER "/") + GetParam().script, VELMO_IMAGE_TOOL,
                    folder.getPath().string()});
    EXPECT_EQ(0, result.status) << result.err;
    EXPECT_THAT(result.out, testing::MatchesRegex(std::string("[0-9]+ ") + GetParam().result + '\n'));
}

INSTANTIATE_TEST_SUITE_P(Commands, Measurements,
                         testing::Values(NumpyCheck{"Stats", "statistics_by_numpy.py", "results compared"},
                                         NumpyCheck{"Compare", "differences_by_numpy.py", "results checked"},
                                         NumpyCheck{"Project", "projections_by_numpy.py",
                                                    "projections compared"}),
                         [](auto const& check) { return check.param.name; });

} // namespace velmo::test
