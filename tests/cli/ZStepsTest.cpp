// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "ResampleFixture.h"

#include <VELMOAttributes/ZSteps.h>
#include <VELMOSerialization/XmlFile.h>
#include <array>
#include <fcntl.h>
#include <fstream>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>

namespace velmo::test {

struct BadLine {
    char const* name;
    std::string text;
    int line;
};

namespace {

class ZSteps : public Resample {
  protected:
    /// A run that takes the steps 1 and 3 from the file.
    void expectSteps(std::string const& file) const {
        expectWarning(runTool(resample({"--overwrite"}, file)), "missing 4-9");
        EXPECT_EQ(planes({10, 20, 40, 60, 80}), read("out.raw"));
    }
};

/// The reading end of a pipe that holds the bytes and has no writer any more. Processes inherit it.
class InputPipe {
  public:
    explicit InputPipe(std::string const& bytes) {
        std::array<int, 2> ends{};
        EXPECT_EQ(0, pipe(ends.data()));
        EXPECT_EQ(static_cast<ssize_t>(bytes.size()), write(ends[1], bytes.data(), bytes.size()));
        close(ends[1]);
        _descriptor = ends[0];
    }
    ~InputPipe() { close(_descriptor); }
    InputPipe(InputPipe const&) = delete;
    InputPipe& operator=(InputPipe const&) = delete;
    int getDescriptor() const { return _descriptor; }

  private:
    int _descriptor;
};

class ZStepsBadLine : public Resample, public testing::WithParamInterface<BadLine> {};

} // namespace

TEST_P(ZStepsBadLine, IsNamedByItsNumber) {
    create("steps.txt", GetParam().text);
    expectStepsFailure("steps.txt", path("steps.txt"), "line " + std::to_string(GetParam().line) + ' ');
}

INSTANTIATE_TEST_SUITE_P(
    Lines, ZStepsBadLine,
    testing::Values(BadLine{"Word", "1\nthree\n", 2}, BadLine{"Zero", "0\n3\n", 1},
                    BadLine{"Negative", "1\n-3\n", 2}, BadLine{"BehindBlankLines", "\n1\n\n \nx", 5},
                    BadLine{"TwoNumbers", "1 3\n", 1}, BadLine{"Comma", "1,5\n3\n", 1},
                    BadLine{"Infinite", "1\ninf\n", 2}, BadLine{"NotANumber", "nan\n3\n", 1},
                    BadLine{"BeyondSinglePrecision", "1\n1e39\n", 2}, BadLine{"Vanishing", "1e-60\n3\n", 1},
                    BadLine{"LineWithoutAnEnd", std::string(2UL << 20, '1'), 1},
                    BadLine{"OneCharacterTooLong", "1\n3" + std::string(1UL << 20, ' ') + "\n", 2},
                    BadLine{"ZeroBytes", std::string(10, '\0'), 1}),
    getName<BadLine>);

TEST_F(ZSteps, ALineOfOneMebibyteIsRead) {
    create("steps.txt", "1\n3" + std::string((1UL << 20) - 1, ' ') + "\n");
    EXPECT_EQ(planes({10, 20, 40, 60, 80}), resampleToRaw());
}

TEST_F(ZSteps, AFileOrDeviceWithoutAnEndIsAFailureThatTakesNoMemory) {
    createSparse("sparse.txt", 4UL << 30);
    link("/dev/zero", "zero.txt");
    link("/dev/zero", "zero.xml");
    for (char const* const name : {"sparse.txt", "zero.txt", "zero.xml"}) {
        expectStepsFailure(name, "Error while loading z-steps", path(name));
        EXPECT_GT(1L << 20, runTool(resample({}, name)).maxRss) << name;
    }
}

TEST_F(ZSteps, ADeviceWithoutBytesHoldsNoStep) {
    expectStepsFailure("/dev/null", "Number of z-steps (0)", "(3-1)");
}

TEST_F(ZSteps, ComeFromAPipeOfTheShell) {
    InputPipe const pipe("1\n3\n"); // as <(printf '1\n3\n')
    expectSteps("/dev/fd/" + std::to_string(pipe.getDescriptor()));
}

TEST_F(ZSteps, ComeFromStandardInput) {
    InputPipe const pipe("1\n3\n");
    int const earlier = fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 3);
    dup2(pipe.getDescriptor(), STDIN_FILENO);
    expectSteps("/dev/stdin");
    earlier < 0 ? close(STDIN_FILENO) : dup2(earlier, STDIN_FILENO);
    close(earlier);
}

TEST_F(ZSteps, OfAPipeABadLineIsNamedToo) {
    InputPipe const pipe("1\nthree\n");
    std::string const file = "/dev/fd/" + std::to_string(pipe.getDescriptor());
    expectStepsFailure(file, file, "line 2 ");
}

TEST_F(ZSteps, ComeFromAPipeThatIsWrittenLater) {
    for (char const* const name : {"pipe", "pipe.xml"}) {
        imaproc::attr::ZSteps steps;
        steps.accessSteps() = {1, 3};
        writeToXmlFile(_folder / "steps.xml", steps);
        std::string const bytes = std::string(name) == "pipe" ? "1\n3\n" : read("steps.xml");
        ASSERT_EQ(0, mkfifo(path(name).c_str(), 0600));
        std::thread writer([&] { std::ofstream(path(name)) << bytes; });
        expectSteps(name);
        writer.join();
    }
}

TEST_F(ZSteps, WithoutAFileOrAWriterOfThePipeAreAFailureAndNoWait) {
    for (char const* const name : {"pipe", "pipe.xml"}) {
        ASSERT_EQ(0, mkfifo(path(name).c_str(), 0600));
    }
    boost::filesystem::create_directory(_folder / "folder");
    for (auto const& [name, reason] : {std::pair{"pipe", ""},
                                       {"pipe.xml", ""},
                                       {"none", "No such file or directory"},
                                       {"folder", "Is a directory"}}) {
        expectStepsFailure(name, "Error while loading z-steps file \"" + path(name) + "\": " + reason);
    }
}

} // namespace velmo::test
