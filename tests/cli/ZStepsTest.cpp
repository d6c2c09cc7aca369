// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "ResampleFixture.h"

#include <sys/stat.h>

namespace velmo {
namespace test {

namespace {

using ZSteps = Resample;

struct BadLine {
    char const* name;
    std::string text;
    int line;
};

std::ostream& operator<<(std::ostream& os, BadLine const& line) {
    return os << line.name;
}

class ZStepsBadLine : public Resample, public testing::WithParamInterface<BadLine> {};

} // namespace

TEST_P(ZStepsBadLine, IsNamedByItsNumber) {
    create("steps.txt", GetParam().text);
    expectStepsFailure("Error while loading z-steps txt file \"" + path("steps.txt") + "\": field at line " +
                       std::to_string(GetParam().line) + " is not a positive numerical value");
}

INSTANTIATE_TEST_SUITE_P(
    Lines, ZStepsBadLine,
    testing::Values(BadLine{"Word", "1\nthree\n", 2}, BadLine{"Zero", "0\n3\n", 1},
                    BadLine{"Negative", "1\n-3\n", 2}, BadLine{"BehindBlankLines", "\n1\n\n \nx", 5},
                    BadLine{"TwoNumbers", "1 3\n", 1}, BadLine{"Comma", "1,5\n3\n", 1},
                    BadLine{"Infinite", "1\ninf\n", 2}, BadLine{"NotANumber", "nan\n3\n", 1},
                    BadLine{"BeyondSinglePrecision", "1\n1e39\n", 2}, BadLine{"Vanishing", "1e-60\n3\n", 1},
                    BadLine{"LineWithoutAnEnd", std::string(1UL << 20, '1'), 1},
                    BadLine{"OneCharacterTooLong", "1\n3" + std::string(4096, ' ') + "\n", 2},
                    BadLine{"ZeroBytes", std::string(10, '\0'), 1}),
    getName<BadLine>);

TEST_F(ZSteps, ALineOf4096CharactersIsRead) {
    create("steps.txt", "1\n3" + std::string(4095, ' ') + "\n");
    EXPECT_EQ(planes({10, 20, 40, 60, 80}), resampleToRaw());
}

TEST_F(ZSteps, AFileOfGigabytesWithoutALineFeedTakesNoMemory) {
    createSparse("steps.txt", 4UL << 30);
    ToolResult const result = runTool(resample());
    EXPECT_EQ(1, result.status);
    EXPECT_THAT(result.err, testing::HasSubstr("field at line 1 is not a positive numerical value"));
    EXPECT_GT(1L << 20, result.maxRss);
}

TEST_F(ZSteps, ADeviceIsRefusedWhateverItsName) {
    for (char const* const name : {"steps.txt", "steps.xml"}) {
        for (char const* const device : {"/dev/zero", "/dev/null"}) {
            boost::filesystem::remove(_folder / name);
            boost::filesystem::create_symlink(device, _folder / name);
            expectStepsFailure("Error while loading z-steps file \"" + path(name) + "\": Illegal seek", name);
        }
    }
}

TEST_F(ZSteps, AFileOfStepsThatCannotBeReadIsAFailure) {
    std::string const start = "Error while loading z-steps file \"" + path("steps.txt") + "\": ";
    boost::filesystem::remove(_folder / "steps.txt");
    expectStepsFailure(start + "No such file or directory");
    boost::filesystem::create_directory(_folder / "steps.txt");
    expectStepsFailure(start + "Is a directory");
    boost::filesystem::remove(_folder / "steps.txt");
    ASSERT_EQ(0, mkfifo(path("steps.txt").c_str(), 0600));
    expectStepsFailure(start + "Illegal seek");
}

} // namespace test
} // namespace velmo
