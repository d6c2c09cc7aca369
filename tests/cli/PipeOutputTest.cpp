// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "PipeFixture.h"

#include <array>
#include <csignal>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace velmo::test {

using testing::HasSubstr;

namespace {

/// Two ends of a pipe.
class PipeEnds {
  public:
    PipeEnds() { EXPECT_EQ(0, pipe2(_ends.data(), O_CLOEXEC)); }
    ~PipeEnds() {
        closeReader();
        closeWriter();
    }
    PipeEnds(PipeEnds const&) = delete;
    PipeEnds& operator=(PipeEnds const&) = delete;
    int getReader() const { return _ends[0]; }
    int getWriter() const { return _ends[1]; }
    void closeReader() { closeEnd(0); }
    void closeWriter() { closeEnd(1); }

  private:
    void closeEnd(std::size_t end) {
        if (_ends[end] >= 0) {
            close(_ends[end]);
        }
        _ends[end] = -1;
    }

    std::array<int, 2> _ends{-1, -1};
};

/// A standard input for the processes that are started in its life.
class StandardInput {
  public:
    explicit StandardInput(int descriptor) : _earlier(fcntl(STDIN_FILENO, F_DUPFD_CLOEXEC, 3)) {
        dup2(descriptor, STDIN_FILENO);
    }
    ~StandardInput() {
        _earlier < 0 ? close(STDIN_FILENO) : dup2(_earlier, STDIN_FILENO);
        close(_earlier);
    }
    StandardInput(StandardInput const&) = delete;
    StandardInput& operator=(StandardInput const&) = delete;

  private:
    int const _earlier;
};

} // namespace

TEST_F(Pipe, RawPlanesGoToStandardOutputUnderEachOfItsNames) {
    writeInput("abcdef");
    for (char const* const name : {"-", "/dev/stdout", "/dev/fd/1"}) {
        SCOPED_TRACE(name);
        std::string const line = std::string("$tool convert in.tif ") + name;
        ToolResult const piped = runScript(line + " | cat");
        expectDone(piped);
        EXPECT_EQ("abcdefabcdef", piped.out);
        create("out", "before");
        expectDone(runScript(line + " >>out"));
        EXPECT_EQ("beforeabcdefabcdef", read("out"));
    }
    create("head", "header");
    EXPECT_EQ("headerabcdefabcdef", runScript("$tool convert in.tif - --header head | cat").out);
    expectDone(runScript("$tool convert in.tif >(cat >out) ; wait $!"));
    EXPECT_EQ("abcdefabcdef", read("out"));
}

TEST_F(Pipe, EachCommandThatWritesPlanesWritesThemToStandardOutput) {
    put("a1.tif", "abcdef");
    put("a2.tif", "ghijkl");
    create("steps.txt", "1\n");
    EXPECT_EQ("abcdefghijkl", runScript("$tool stack s 'a<INDEX>.tif' - | cat").out);
    EXPECT_EQ("abcdefghijkl", runScript("$tool stack s '*' - | cat").out);
    EXPECT_EQ("abcdefghijkl", runScript("$tool resample s 'a<INDEX>.tif' steps.txt - --size-z 2 | cat").out);
    ToolResult const imported = runScript("$tool import s/a1.tif - | cat");
    EXPECT_EQ("abcdef", imported.out);
    EXPECT_THAT(imported.err, HasSubstr("s/a1.tif -> -"));
    EXPECT_EQ("abcdef",
              runScript("$tool convert s/a1.tif - | $tool convert - - --size 3,2 --type uint8 | cat").out);
}

TEST_F(Pipe, LargePlanesPassThroughAPipeUnchanged) {
    std::string pixels;
    for (int row = 0; row < 3000; ++row) {
        pixels += std::string(1000, static_cast<char>(row * 7 % 251));
    }
    create("in.raw", pixels + pixels);
    std::string const size = " --size 1000,3000,2 --type uint8";
    expectDone(runScript("$tool convert in.raw -" + size + " | $tool convert - out.raw" + size));
    EXPECT_TRUE(pixels + pixels == read("out.raw"));
}

TEST_F(Pipe, ATiffFileIsNotWrittenToStandardOutput) {
    writeInput("abcdef");
    for (char const* const command : {"convert in.tif", "stack . 'in.tif'", "import in.tif"}) {
        expectFailure(runScript("$tool " + (command + std::string(" - --output-format tiff | cat"))), 2,
                      "TIFF", "standard output", "seekable");
    }
}

TEST_F(Pipe, PlanesAreNotWrittenToATerminal) {
    writeInput("abcdef");
    TerminalProcess process({"convert", path("in.tif"), "-"});
    ToolResult const result = process.wait();
    EXPECT_EQ(2, result.status);
    EXPECT_THAT(result.out, hasWords("terminal", "redirect"));
}

TEST_F(Pipe, TheInputIsNotAppendedToItself) {
    create("in.raw", "ABCDEFGH");
    expectFailure(runScript("$tool convert in.raw - >>in.raw" + g_raw), 1, "\"-\"", "is the input");
    EXPECT_EQ("ABCDEFGH", read("in.raw"));
}

TEST_F(Pipe, AReaderThatGoesAwayIsAFailureAndNoSignal) {
    createSparse("in.raw", 1UL << 24);
    PipeEnds ends;
    ends.closeReader();
    ToolProcess process(Arguments{"convert", path("in.raw"), "-"} + raw("4096,4096", "uint8"),
                        ends.getWriter());
    expectFailure(process.wait(), 1, "\"-\"", "reader has closed the pipe");
    ToolResult const result =
        runScript("$tool convert in.raw - --size 4096,4096 --type uint8 | head -c 5 | wc -c");
    EXPECT_EQ(1, result.status);
    EXPECT_THAT(result.err, isMessage("reader has closed the pipe"));
    EXPECT_EQ("5\n", result.out);
}

TEST_F(Pipe, AFullDiskBehindStandardOutputIsAFailure) {
    create("in.raw", "ABCDEFGH");
    expectFailure(runScript("$tool convert in.raw - >/dev/full" + g_raw), 1, "\"-\"",
                  "No space left on device");
}

TEST_F(Pipe, ANamedPipeIsWrittenFromItsFirstByteToItsLast) {
    writeInput("abcdef");
    ASSERT_EQ(0, mkfifo(path("pipe").c_str(), 0600));
    expectDone(runScript("cat pipe >out & $tool convert in.tif pipe && wait $!"));
    EXPECT_EQ("abcdefabcdef", read("out"));
    expectDone(runScript("cat out >pipe & $tool convert pipe back.raw --size 3,2,2 --type uint8 && wait $!"));
    EXPECT_EQ("abcdefabcdef", read("back.raw"));
}

TEST_F(Pipe, AnInterruptEndsTheWaitForAWriterOrAReader) {
    createSparse("in.raw", 1UL << 24);
    ASSERT_EQ(0, mkfifo(path("pipe").c_str(), 0600));
    PipeEnds const input;
    PipeEnds const output;
    Arguments const size = raw("4096,4096", "uint8");
    for (Arguments const& arguments : {Arguments{"convert", "-", path("out.raw")},
                                       {"info", "-"},
                                       {"convert", path("pipe"), path("out.raw")},
                                       {"convert", path("in.raw"), path("pipe")},
                                       {"convert", path("in.raw"), "-"}}) {
        for (int const signal : {SIGINT, SIGTERM}) {
            StandardInput const standardInput(input.getReader());
            ToolProcess process(arguments + size,
                                arguments.back() == "-" && arguments.size() == 3 ? output.getWriter() : -1);
            ASSERT_TRUE(process.waitForSleep());
            process.send(signal);
            ASSERT_TRUE(process.waitForEnd());
            expectFailure(process.wait(), 130, "interrupted");
            EXPECT_THAT(list(), testing::ElementsAre("in.raw", "pipe", "s"));
        }
    }
}

} // namespace velmo::test
