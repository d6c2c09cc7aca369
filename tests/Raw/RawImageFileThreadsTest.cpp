// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "RawImageFileFixture.h"

#include <boost/filesystem/operations.hpp>

namespace velmo::image::file {

namespace {

using velmo::test::readFile;
using velmo::test::writeFile;

constexpr unsigned int g_nbThreads = 8;
constexpr vlUInt64 g_planePixels = 256;

class RawImageFileThreadsTest : public RawImageFileTest {
  protected:
    static ImageGeometryPtr makePlanes(vlUInt64 nbPlanes) {
        return makeGeometry(eIBT_UInt16, {16, 16, nbPlanes});
    }
    static PixelRun wholePlane(vlUInt64 z) { return {z, 0, 0, 0, g_planePixels}; }
    static std::string pixelsOf(vlUInt64 z) {
        return countingBytes(2 * g_planePixels, static_cast<unsigned int>(7 * z));
    }
};

TEST_F(RawImageFileThreadsTest, EachThreadWritesItsPlanesAndReadsTheOthersAfterwards) {
    constexpr vlUInt64 planesEach = 20;
    vlUInt64 const nbPlanes = g_nbThreads * planesEach;
    RawImageFile file;
    ASSERT_THAT(file.createFile(_path, *makePlanes(nbPlanes), "header"), Succeeds());
    onThreads(g_nbThreads, [&](unsigned int thread) {
        for (vlUInt64 z = thread; z < nbPlanes; z += g_nbThreads) {
            writePixels(file, wholePlane(z), pixelsOf(z));
            EXPECT_EQ(readPixels(file, wholePlane(z)), pixelsOf(z));
        }
    });
    onThreads(g_nbThreads, [&](unsigned int thread) {
        for (vlUInt64 step = 0; step < nbPlanes; ++step) {
            vlUInt64 const z = (step + thread) % nbPlanes;
            EXPECT_EQ(readPixels(file, wholePlane(z)), pixelsOf(z));
        }
    });
}

TEST_F(RawImageFileThreadsTest, ThreadsReadOneAccessorEachAtItsOwnPosition) {
    constexpr vlUInt64 nbPlanes = 16;
    std::string bytes;
    for (vlUInt64 z = 0; z < nbPlanes; ++z) {
        bytes += pixelsOf(z);
    }
    writeFile(_path, bytes);
    RawImageFile file;
    ASSERT_THAT(file.openFile(_path, eIAM_ReadOnly, 0, *makePlanes(nbPlanes)), Succeeds());
    onThreads(g_nbThreads, [&](unsigned int thread) {
        for (vlUInt64 round = 0; round < 100; ++round) {
            vlUInt64 const z = (thread + 3 * round) % nbPlanes;
            EXPECT_EQ(readPixels(file, {z, 0, 0, thread, 100}), pixelsOf(z).substr(2 * thread, 200));
        }
    });
}

TEST_F(RawImageFileThreadsTest, RacingFirstAccessesOpenOneStreamForEachThread) {
    for (int round = 0; round < 20; ++round) {
        RawImageFile file;
        openExample(file, eIAM_ReadOnly);
        onThreads(g_nbThreads, [&](unsigned int) {
            EXPECT_EQ(readPixels(file, {1, 0, 1, 0, 12}), countingBytes(24, 89));
            EXPECT_EQ(readPixels(file, {0, 0, 0, 0, 12}), countingBytes(24, 17));
        });
        EXPECT_EQ(countDescriptors(_path), 1U + g_nbThreads);
    }
}

TEST_F(RawImageFileThreadsTest, RacingFirstAccessesOfARemovedFileAllFail) {
    RawImageFile file;
    openExample(file, eIAM_ReadOnly);
    boost::filesystem::remove(_path);
    onThreads(g_nbThreads,
              [&](unsigned int) { EXPECT_THAT(tryRead(file, {}), FailsWith(openFailed(_path))); });
    EXPECT_EQ(countDescriptors(_path), 1U);
}

TEST_F(RawImageFileThreadsTest, AThreadWhoseStreamFailedDoesNotDisturbTheOthers) {
    RawImageFile file;
    openExample(file, eIAM_ReadOnly);
    PixelRun const beyond = {1, 0, 1, 12, 1};
    onThreads(g_nbThreads, [&](unsigned int thread) {
        bool const bFailing = thread % 2 == 0;
        if (bFailing) {
            EXPECT_THAT(tryRead(file, beyond), FailsWith(readFailed(_path, beyond)));
        }
        for (int round = 0; round < 100; ++round) {
            BoolResult const result = tryRead(file, {});
            EXPECT_EQ(result.getMessage(), bFailing ? seekFailed(_path, {}) : "");
        }
    });
}

TEST_F(RawImageFileThreadsTest, AThreadThatCouldNotOpenTheFileOpensItOnceItIsThere) {
    path const away = _folder / "away.raw";
    RawImageFile file;
    openExample(file, eIAM_ReadOnly);
    inOtherThread([&] {
        boost::filesystem::rename(_path, away);
        EXPECT_THAT(tryRead(file, {}), FailsWith(openFailed(_path)));
        boost::filesystem::rename(away, _path);
        EXPECT_THAT(tryRead(file, {}), Succeeds());
    });
}

// The stream of a thread that is gone may pass to one that follows under the same id.
TEST_F(RawImageFileThreadsTest, ThreadsThatFollowEachOtherRead) {
    RawImageFile file;
    openExample(file, eIAM_ReadOnly);
    for (vlUInt64 thread = 0; thread < 50; ++thread) {
        vlUInt64 const z = thread % 2;
        inOtherThread([&] {
            EXPECT_EQ(readPixels(file, {z, 0, 1, 0, 12}),
                      countingBytes(24, 1 + 64 + 24 * static_cast<unsigned int>(z)));
        });
    }
}

TEST_F(RawImageFileThreadsTest, AWriteIsSeenByAnotherThreadsStreamAtOnce) {
    RawImageFile file;
    openExample(file, eIAM_ReadWrite);
    std::promise<void> hasRead;
    std::promise<void> hasWritten;
    std::thread reader([&] {
        EXPECT_EQ(readPixels(file, {1, 0, 0, 0, 2}), countingBytes(4, 41));
        hasRead.set_value();
        hasWritten.get_future().wait();
        EXPECT_EQ(readPixels(file, {1, 0, 0, 0, 2}), "wxyz");
    });
    hasRead.get_future().wait();
    writePixels(file, {1, 0, 0, 0, 2}, "wxyz");
    hasWritten.set_value();
    reader.join();
}

TEST_F(RawImageFileThreadsTest, TheClassNameAndVersionAreReadFromAnyThread) {
    onThreads(g_nbThreads, [](unsigned int) {
        EXPECT_EQ(RawImageFile::getTypeName(), "velmo::image::file::RawImageFile");
        EXPECT_EQ(RawImageFile::getVersion(), 2U);
    });
}

} // namespace

} // namespace velmo::image::file
