// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Im6ImageFileFixture.h"

#include <boost/filesystem/operations.hpp>

namespace velmo::image::file {

namespace {

constexpr unsigned int g_nbThreads = 8;

using Im6ImageFileThreadsTest = Im6ImageFileTest;

TEST_F(Im6ImageFileThreadsTest, ThreadsReadOneAccessorEachAtItsOwnPosition) {
    constexpr vlUInt64 nbPlanes = 16;
    constexpr vlUInt64 planeBytes = 512;
    Im6Sample sample;
    sample.sizeX = sample.sizeY = 16;
    sample.sizeZ = nbPlanes;
    sample.dataType = 18;
    sample.pixels = countingBytes(nbPlanes * planeBytes);
    Im6ImageFile file;
    open(sample, file);
    onThreads(g_nbThreads, [&](unsigned int thread) {
        for (vlUInt64 round = 0; round < 100; ++round) {
            vlUInt64 const z = (thread + 3 * round) % nbPlanes;
            EXPECT_EQ(readPixels(file, {z, 0, 0, thread, 100}),
                      sample.pixels.substr(z * planeBytes + 2 * thread, 200));
        }
    });
    EXPECT_EQ(countDescriptors(_path), 1U + g_nbThreads);
}

TEST_F(Im6ImageFileThreadsTest, RacingFirstAccessesOpenOneStreamForEachThread) {
    for (int round = 0; round < 20; ++round) {
        Im6ImageFile file;
        open(makeIm6Sequence(), file);
        onThreads(g_nbThreads, [&](unsigned int) {
            EXPECT_EQ(readPixels(file, {1, 2, 1, 0, 2}), countingBytes(4, 45));
            EXPECT_EQ(readPixels(file, {0, 0, 0, 0, 2}), countingBytes(4));
        });
        EXPECT_EQ(countDescriptors(_path), 1U + g_nbThreads);
    }
}

TEST_F(Im6ImageFileThreadsTest, RacingFirstAccessesOfARemovedFileAllFail) {
    Im6ImageFile file;
    open(makeIm6Sequence(), file);
    boost::filesystem::remove(_path);
    onThreads(g_nbThreads,
              [&](unsigned int) { EXPECT_THAT(tryRead(file, {}), FailsWith(openFailed(_path))); });
    EXPECT_EQ(countDescriptors(_path), 1U);
}

TEST_F(Im6ImageFileThreadsTest, AThreadWhoseStreamFailedDoesNotDisturbTheOthers) {
    Im6ImageFile file;
    open(makeIm6Sequence(), file);
    PixelRun const beyond = {1, 2, 1, 2, 1};
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

TEST_F(Im6ImageFileThreadsTest, WritesBesideReadsDisturbNothing) {
    Im6ImageFile file;
    open(makeIm6Sequence(), file, eIAM_ReadWrite);
    onThreads(g_nbThreads, [&](unsigned int thread) {
        for (int round = 0; round < 100; ++round) {
            if (thread % 2 == 0) {
                EXPECT_THAT(tryWrite(file, {}), Succeeds());
            } else {
                EXPECT_EQ(readPixels(file, {0, 0, 0, 0, 24}), countingBytes(48));
            }
        }
    });
}

TEST_F(Im6ImageFileThreadsTest, AccessorsOfOneFileReadAtOnce) {
    makeIm6Sequence().write(_path);
    onThreads(g_nbThreads, [&](unsigned int) {
        for (int round = 0; round < 20; ++round) {
            Im6ImageFile file;
            ASSERT_THAT(file.openFile(_path, eIAM_ReadOnly), Succeeds());
            EXPECT_EQ(readPixels(file, {0, 0, 0, 0, 24}), countingBytes(48));
        }
    });
}

TEST_F(Im6ImageFileThreadsTest, TheClassNameAndVersionAreReadFromAnyThread) {
    onThreads(g_nbThreads, [](unsigned int) {
        EXPECT_EQ(Im6ImageFile::getTypeName(), "velmo::image::file::Im6ImageFile");
        EXPECT_EQ(Im6ImageFile::getVersion(), 1U);
    });
}

} // namespace

} // namespace velmo::image::file
