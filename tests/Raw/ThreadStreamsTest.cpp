// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Utils/ThreadStreams.h"
#include "RawImageFileFixture.h"

#include <boost/filesystem/operations.hpp>
#include <set>
#include <vector>

namespace velmo {
namespace image {
namespace file {

namespace {

using velmo::test::readFile;
using velmo::test::writeFile;

class ThreadStreamsTest : public RawImageFileTest {
  protected:
    ThreadStreamsTest() { writeFile(_path, "0123456789"); }
};

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

TEST_F(ThreadStreamsTest, AStreamHasNoBuffer) {
    FStreamPtr const pStream = openStream(_path, eIAM_ReadWrite);
    pStream->write("ab", 2);
    EXPECT_EQ(readFile(_path), "ab23456789");
}

TEST_F(ThreadStreamsTest, AThreadKeepsItsStreamAndHasItAlone) {
    ThreadStreams streams;
    FStreamPtr const pStream = streams.find(_path, eIAM_ReadOnly);
    ASSERT_TRUE(pStream);
    EXPECT_EQ(streams.find(_path, eIAM_ReadOnly), pStream);
    inOtherThread([&] { EXPECT_NE(streams.find(_path, eIAM_ReadOnly), pStream); });
    EXPECT_EQ(countDescriptors(_path), 2U);
}

// Look-ups and first uses of many threads at once: without the lock the map breaks, and a thread loses its
// stream or finds that of another.
TEST_F(ThreadStreamsTest, ManyThreadsThatComeForTheFirstTimeAtOnceEachHaveAndKeepTheirOwn) {
    constexpr unsigned int nbThreads = 16;
    constexpr int nbRounds = 60;
    for (int round = 0; round < nbRounds; ++round) {
        ThreadStreams streams;
        std::vector<FStreamPtr> found(nbThreads);
        std::vector<int> nbLost(nbThreads, 0);
        onThreads(nbThreads, [&](unsigned int thread) {
            found[thread] = streams.find(_path, eIAM_ReadOnly);
            for (int look = 0; look < 50; ++look) {
                nbLost[thread] += streams.find(_path, eIAM_ReadOnly) == found[thread] ? 0 : 1;
            }
        });
        ASSERT_EQ(nbLost, std::vector<int>(nbThreads, 0));
        ASSERT_EQ(std::set<FStreamPtr>(found.begin(), found.end()).size(), nbThreads);
        found.clear();
        ASSERT_EQ(countDescriptors(_path), nbThreads);
    }
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
}

TEST_F(ThreadStreamsTest, AfterTheClosingAThreadOpensAnew) {
    ThreadStreams streams;
    FStreamPtr const pStream = streams.find(_path, eIAM_ReadOnly);
    streams.closeAll();
    FStreamPtr const pNext = streams.find(_path, eIAM_ReadOnly);
    EXPECT_NE(pNext, pStream);
    EXPECT_TRUE(pNext->is_open());
}

} // namespace

} // namespace file
} // namespace image
} // namespace velmo
