// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOBase/SequentialFile.h"

#include "Processes.h"
#include "TemporaryFolder.h"

#include <boost/filesystem/operations.hpp>
#include <chrono>
#include <csignal>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <thread>
#include <unistd.h>
#include <vector>

namespace velmo::test {

namespace {

struct Outcome {
    std::string bytes;
    std::string failure;
};

bool operator==(Outcome const& one, Outcome const& other) {
    return one.bytes == other.bytes && one.failure == other.failure;
}

/// Without the bytes where there are many.
std::ostream& operator<<(std::ostream& stream, Outcome const& outcome) {
    return stream << outcome.bytes.size() << " bytes " << outcome.bytes.substr(0, 20) << ' '
                  << outcome.failure;
}

Outcome readAll(boost::filesystem::path const& path) {
    SequentialFile file(path);
    std::string bytes;
    std::vector<char> some(1 << 20U);
    while (file.read(some.data(), static_cast<std::streamsize>(some.size())) || file.gcount() != 0) {
        bytes.append(some.data(), static_cast<std::size_t>(file.gcount()));
    }
    return {bytes, file.getFailure()};
}

class SequentialFileTest : public testing::Test {
  protected:
    boost::filesystem::path makePipe() const {
        boost::filesystem::path const path = _folder / "pipe";
        EXPECT_EQ(mkfifo(path.c_str(), 0600), 0);
        return path;
    }

    TemporaryFolder const _folder;
};

/// Both ends of a pipe without a name, each closed once.
class Pipe {
  public:
    Pipe() { EXPECT_EQ(pipe(_ends), 0); }
    ~Pipe() {
        finish();
        close(_ends[0]);
    }
    Pipe(Pipe const&) = delete;
    Pipe& operator=(Pipe const&) = delete;

    void put(std::string const& bytes) const {
        EXPECT_EQ(write(_ends[1], bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    }
    void finish() {
        if (_ends[1] >= 0) {
            close(_ends[1]);
        }
        _ends[1] = -1;
    }
    boost::filesystem::path getPath() const { return "/dev/fd/" + std::to_string(_ends[0]); }

  private:
    int _ends[2] = {-1, -1};
};

/// A thread that opens the pipe, for which it waits for the reader, and writes to it. It is about to open it
/// when this returns.
template <class Write>
std::thread startWriter(Write const& writeAll) {
    std::promise<void> begun;
    std::future<void> const hasBegun = begun.get_future();
    std::thread writer([begun = std::move(begun), writeAll]() mutable {
        begun.set_value();
        writeAll();
    });
    hasBegun.wait();
    return writer;
}

void writeTo(boost::filesystem::path const& path, std::string const& bytes) {
    int const descriptor = open(path.c_str(), O_WRONLY | O_CLOEXEC); // waits for the reader
    EXPECT_EQ(write(descriptor, bytes.data(), bytes.size()), static_cast<ssize_t>(bytes.size()));
    close(descriptor);
}

} // namespace

TEST_F(SequentialFileTest, AnOrdinaryFileIsReadToItsEnd) {
    for (std::size_t const size : {std::size_t{0}, std::size_t{1}, std::size_t{65536}, std::size_t{200001}}) {
        std::string bytes(size, 'x');
        for (std::size_t index = 0; index < size; ++index) {
            bytes[index] = static_cast<char>(index * 7 % 256);
        }
        writeFile(_folder / "file", bytes);
        EXPECT_EQ(readAll(_folder / "file"), (Outcome{bytes, ""}));
    }
}

TEST_F(SequentialFileTest, AnOrdinaryFileMayBeOfAnySize) {
    writeFile(_folder / "file", "");
    boost::filesystem::resize_file(_folder / "file", SequentialFile::s_maxStreamSize + 1);
    Outcome const outcome = readAll(_folder / "file");
    EXPECT_EQ(outcome.bytes.size(), SequentialFile::s_maxStreamSize + 1);
    EXPECT_EQ(outcome.failure, "");
}

TEST_F(SequentialFileTest, WhatCannotBeOpenedOrReadIsAFailureWithTheSystemsText) {
    EXPECT_EQ(readAll(_folder / "missing").failure, "No such file or directory");
    EXPECT_EQ(readAll("").failure, "No such file or directory");
    EXPECT_EQ(readAll(_folder.getPath()).failure, "Is a directory");
    EXPECT_EQ(readAll("/proc/self/mem").failure, "Input/output error");
}

TEST_F(SequentialFileTest, AFileIsClosedWithTheStream) {
    writeFile(_folder / "file", "bytes");
    {
        SequentialFile const file(_folder / "file");
        EXPECT_EQ(countDescriptors(_folder / "file"), 1U);
    }
    EXPECT_EQ(countDescriptors(_folder / "file"), 0U);
}

TEST_F(SequentialFileTest, APipeWithoutANameIsReadToTheEndOfItsWriter) {
    for (std::string const bytes : {"all that was written", ""}) {
        Pipe pipe;
        pipe.put(bytes.substr(0, bytes.size() / 2));
        pipe.put(bytes.substr(bytes.size() / 2));
        pipe.finish();
        EXPECT_EQ(readAll(pipe.getPath()), (Outcome{bytes, ""}));
    }
}

TEST_F(SequentialFileTest, AWriterThatLeavesWithoutAByteAfterTheOpeningIsTheEnd) {
    boost::filesystem::path const path = makePipe();
    int const reader = open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC);
    int const writer = open(path.c_str(), O_WRONLY | O_CLOEXEC);
    SequentialFile file(path); // behind the writer
    close(writer);
    EXPECT_EQ(file.get(), std::char_traits<char>::eof());
    EXPECT_EQ(file.getFailure(), "");
    close(reader);
}

TEST_F(SequentialFileTest, AWriterThatTakesItsTimeIsWaitedFor) {
    Pipe pipe;
    SequentialFile file(pipe.getPath());
    std::promise<void> firstWasRead;
    std::thread writer([&] {
        pipe.put("1");
        firstWasRead.get_future().wait(); // the reader has nothing to read now
        pipe.put("2");
        pipe.finish();
    });
    EXPECT_EQ(file.get(), '1');
    firstWasRead.set_value();
    EXPECT_EQ(file.get(), '2');
    EXPECT_EQ(file.get(), std::char_traits<char>::eof());
    EXPECT_EQ(file.getFailure(), "");
    writer.join();
}

TEST_F(SequentialFileTest, APipeWithANameIsReadFromAWriterThatWaitsForItsReader) {
    boost::filesystem::path const path = makePipe();
    for (std::size_t const size : {300000U, 0U}) { // more than a pipe holds, and nothing
        std::string const bytes(size, 'y');
        std::thread writer = startWriter([&] { writeTo(path, bytes); });
        Outcome const outcome = readAll(path);
        writer.join();
        EXPECT_EQ(outcome, (Outcome{bytes, ""}));
    }
}

TEST_F(SequentialFileTest, APipeWithoutAWriterIsAFailureInBoundedTime) {
    boost::filesystem::path const path = makePipe();
    EXPECT_EQ(inChild([&] { return readAll(path).failure; }),
              "No process has opened the pipe for writing within 2 seconds");
}

TEST_F(SequentialFileTest, ADeviceWithoutAnEndIsAFailureAndOneOfNothingIsEmpty) {
    Outcome const endless = readAll("/dev/zero");
    EXPECT_EQ(endless.failure, "The stream does not end within 16777216 bytes");
    EXPECT_LE(endless.bytes.size(), SequentialFile::s_maxStreamSize);
    EXPECT_EQ(readAll("/dev/null"), Outcome());
}

TEST_F(SequentialFileTest, AStreamOfExactlyTheLargestSizeIsRead) {
    boost::filesystem::path const path = makePipe();
    std::string const bytes(SequentialFile::s_maxStreamSize, 'z');
    auto const writeAll = [&](std::string const& more) {
        int const descriptor = open(path.c_str(), O_WRONLY | O_CLOEXEC);
        for (std::string const& part : {bytes, more}) {
            for (std::size_t nbWritten = 0; nbWritten < part.size();) {
                ssize_t const nbBytes = write(descriptor, part.data() + nbWritten, part.size() - nbWritten);
                if (nbBytes <= 0) {
                    break; // the reader has left
                }
                nbWritten += static_cast<std::size_t>(nbBytes);
            }
        }
        close(descriptor);
    };
    auto const formerAction = std::signal(SIGPIPE, SIG_IGN);
    for (std::string const more : {"", "1"}) {
        std::thread writer = startWriter([&] { writeAll(more); });
        Outcome const outcome = readAll(path);
        writer.join();
        EXPECT_EQ(outcome.failure, more.empty() ? "" : "The stream does not end within 16777216 bytes");
        EXPECT_TRUE(!more.empty() || outcome.bytes == bytes);
    }
    std::signal(SIGPIPE, formerAction);
}

TEST_F(SequentialFileTest, ASignalDoesNotEndTheWait) {
    struct sigaction action = {};
    struct sigaction former = {};
    action.sa_handler = [](int) {};
    sigaction(SIGUSR1, &action, &former); // without SA_RESTART
    Pipe pipe;
    pthread_t const reader = pthread_self();
    std::thread writer([&] {
        for (int round = 0; round < 50; ++round) {
            pthread_kill(reader, SIGUSR1);
            std::this_thread::yield();
        }
        pipe.put("late");
        pipe.finish();
    });
    Outcome const outcome = readAll(pipe.getPath());
    writer.join();
    sigaction(SIGUSR1, &former, nullptr);
    EXPECT_EQ(outcome, (Outcome{"late", ""}));
}

} // namespace velmo::test
