// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Planes/ThreadStreams.h"
#include "RawImageFileFixture.h"

#include <atomic>
#include <boost/filesystem/operations.hpp>
#include <csignal>
#include <fcntl.h>
#include <set>
#include <thread>
#include <unistd.h>
#include <vector>

namespace velmo::image::file {

namespace {

class ThreadStreamsTest : public RawImageFileTest {
  protected:
    ThreadStreamsTest() { writeFile(_path, "0123456789"); }
};

/// Holds threads until all of them have come, and lets them go on at the same moment.
class SpinBarrier {
  public:
    explicit SpinBarrier(unsigned int nbThreads) : _nbThreads(nbThreads) {}
    void wait() {
        unsigned int const goal = (_nbArrived++ / _nbThreads + 1) * _nbThreads;
        while (_nbArrived < goal) {
            std::this_thread::yield();
        }
    }

  private:
    unsigned int const _nbThreads;
    std::atomic<unsigned int> _nbArrived{0};
};

/// Whether a thread of this process waits for something.
bool isAsleep(pid_t thread) {
    std::string const state = readFile("/proc/self/task/" + std::to_string(thread) + "/stat");
    return state.compare(state.rfind(')'), 3, ") S") == 0;
}

TEST_F(ThreadStreamsTest, ModeZeroOpensForReadingAndEveryOtherForReadingAndWriting) {
    EXPECT_FALSE(openStream(_path, eIAM_ReadOnly)->put('a').flush());
    EXPECT_EQ(readFile(_path), "0123456789");
    EXPECT_TRUE(openStream(_path, g_accessModeOne)->put('b').flush());
    EXPECT_EQ(readFile(_path), "b123456789");
    EXPECT_TRUE(openStream(_path, eIAM_ReadWrite)->put('c').flush());
    EXPECT_EQ(readFile(_path), "c123456789");
    EXPECT_EQ(openStream(_path, eIAM_ReadWrite)->get(), 'c');
}

TEST_F(ThreadStreamsTest, CreatingEmptiesTheFileAndGivesAStreamThatCannotRead) {
    FStreamPtr const pStream = createStream(_path);
    EXPECT_TRUE(pStream->good());
    EXPECT_EQ(boost::filesystem::file_size(_path), 0U);
    EXPECT_TRUE(pStream->write("ab", 2).flush());
    pStream->seekg(0);
    EXPECT_EQ(pStream->get(), std::char_traits<char>::eof());
}

TEST_F(ThreadStreamsTest, AThreadKeepsItsStreamAndHasItAlone) {
    ThreadStreams streams;
    FStreamPtr const pStream = streams.find(_path, eIAM_ReadOnly);
    ASSERT_TRUE(pStream);
    EXPECT_EQ(streams.find(_path, eIAM_ReadOnly), pStream);
    inOtherThread([&] { EXPECT_NE(streams.find(_path, eIAM_ReadOnly), pStream); });
    EXPECT_EQ(countDescriptors(_path), 2U);
}

// Without the lock the map breaks, and a thread loses its stream or finds that of another.
TEST_F(ThreadStreamsTest, ThreadsThatComeForTheFirstTimeAtOnceEachHaveAndKeepTheirOwn) {
    constexpr unsigned int nbThreads = 4;
    constexpr int nbRounds = 2000;
    ThreadStreams streams;
    SpinBarrier barrier(nbThreads);
    std::vector<FStreamPtr> found(nbThreads);
    std::vector<int> nbLost(nbThreads, 0);
    int nbShared = 0;
    onThreads(nbThreads, [&](unsigned int thread) {
        for (int round = 0; round < nbRounds; ++round) {
            barrier.wait();
            found[thread] = streams.find(_path, eIAM_ReadOnly);
            barrier.wait();
            nbLost[thread] += streams.find(_path, eIAM_ReadOnly) == found[thread] ? 0 : 1;
            barrier.wait();
            if (thread == 0) {
                nbShared += std::set<FStreamPtr>(found.begin(), found.end()).size() == nbThreads ? 0 : 1;
                streams.closeAll();
            }
        }
    });
    EXPECT_EQ(nbLost, std::vector<int>(nbThreads, 0));
    EXPECT_EQ(nbShared, 0);
    EXPECT_EQ(countDescriptors(_path), 0U);
}

// A lease of the file holds an opening back until it is given up.
TEST_F(ThreadStreamsTest, ALookUpWaitsUntilTheOpeningOfAnotherThreadHasEnded) {
    signal(SIGIO, SIG_IGN); // what the holder of a lease is asked with
    int const holder = open(_path.c_str(), O_RDWR | O_CLOEXEC);
    if (fcntl(holder, F_SETLEASE, F_WRLCK) != 0) {
        close(holder);
        GTEST_SKIP() << "this file system has no leases";
    }
    ThreadStreams streams;
    std::atomic<pid_t> lookingThread{0};
    std::atomic<bool> bFound{false};
    std::thread opening([&] { EXPECT_TRUE(streams.find(_path, eIAM_ReadOnly)); });
    while (fcntl(holder, F_GETLEASE) == F_WRLCK) {
        std::this_thread::yield(); // until the opening asks for it
    }
    std::thread looking([&] {
        writeFile(_folder / "other.raw", "");
        lookingThread = gettid();
        EXPECT_TRUE(streams.find(_folder / "other.raw", eIAM_ReadOnly));
        bFound = true;
    });
    while (!bFound && (lookingThread == 0 || !isAsleep(lookingThread))) {
        std::this_thread::yield();
    }
    EXPECT_FALSE(bFound);
    fcntl(holder, F_SETLEASE, F_UNLCK);
    opening.join();
    looking.join();
    close(holder);
}

TEST_F(ThreadStreamsTest, AnInsertedStreamIsFoundAgain) {
    ThreadStreams streams;
    FStreamPtr const pStream = openStream(_path, eIAM_ReadOnly);
    streams.insert(pStream);
    EXPECT_EQ(streams.find(_folder / "not looked at", eIAM_ReadOnly), pStream);
}

TEST_F(ThreadStreamsTest, WhatDoesNotOpenIsNotKept) {
    ThreadStreams streams;
    path const missing = _folder / "missing.raw";
    EXPECT_FALSE(streams.find(missing, eIAM_ReadOnly));
    EXPECT_FALSE(streams.find(missing, eIAM_ReadWrite));
    EXPECT_FALSE(boost::filesystem::exists(missing));
    EXPECT_TRUE(streams.find(_path, eIAM_ReadOnly));
}

TEST_F(ThreadStreamsTest, AStreamThatFailsToCloseDoesNotKeepTheOthersOpen) {
    ThreadStreams streams;
    FStreamPtr const pClosed = streams.find(_path, eIAM_ReadOnly);
    FStreamPtr pOther;
    inOtherThread([&] { pOther = streams.find(_path, eIAM_ReadOnly); });
    pClosed->close();
    streams.closeAll();
    EXPECT_TRUE(pClosed->fail());
    EXPECT_FALSE(pOther->is_open());
    EXPECT_FALSE(pOther->fail());
    EXPECT_EQ(countDescriptors(_path), 0U);
    FStreamPtr const pNext = streams.find(_path, eIAM_ReadWrite);
    EXPECT_NE(pNext, pClosed);
    pNext->write("ab", 2); // a stream has no buffer
    EXPECT_EQ(readFile(_path), "ab23456789");
}

} // namespace

} // namespace velmo::image::file
