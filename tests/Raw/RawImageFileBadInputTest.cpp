// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CpuTime.h"
#include "PrivateDisk.h"
#include "RawImageFileFixture.h"

#include <VELMOImage/VELMOImageLog.h>

#include <boost/filesystem/operations.hpp>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <malloc.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace velmo::image::file {

namespace {

namespace fs = boost::filesystem;

path const g_fullDisk = "/dev/full";

class RawImageFileBadInputTest : public RawImageFileTest {
  protected:
    /// The text of a creation that fails; ", open" where it leaves a file in the accessor.
    static std::string create(path const& path, std::string const& header = "head") {
        RawImageFile file;
        std::string const text = file.createFile(path, *makeExampleGeometry(), header).getMessage();
        return text + (file.isInit() ? ", open" : "");
    }

    /// What `work` returns where files end at `nbBytes`.
    static std::string withLargestFile(std::size_t nbBytes, std::function<std::string()> const& work) {
        return velmo::test::withLimit(RLIMIT_FSIZE, nbBytes, work);
    }
};

// Things that are no file

TEST_F(RawImageFileBadInputTest, WhatIsNoFileIsNotCreatedAndDoesNotHang) {
    ASSERT_EQ(mkfifo(_path.c_str(), 0600), 0);
    for (path const& path : {_folder.getPath(), _path, fs::path()}) {
        EXPECT_EQ(inChild([&] { return create(path); }), createFailed(path));
    }
}

TEST_F(RawImageFileBadInputTest, AFileThatBecameAPipeIsRefusedByTheNextStream) {
    RawImageFile file;
    openExample(file, eIAM_ReadOnly);
    fs::remove(_path);
    ASSERT_EQ(mkfifo(_path.c_str(), 0600), 0);
    EXPECT_EQ(inChild([&] {
                  file.clearDerived();
                  return tryRead(file, {}).getMessage();
              }),
              openFailed(_path));
}

TEST_F(RawImageFileBadInputTest, ATerminalInWhichNothingCanBeSoughtIsRefused) {
    int const terminal = posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_GE(terminal, 0);
    ASSERT_EQ(grantpt(terminal), 0);
    ASSERT_EQ(unlockpt(terminal), 0);
    fs::path const path(ptsname(terminal));
    RawImageFile file;
    EXPECT_EQ(file.openFile(path, eIAM_ReadWrite, 0, *geometry3d(eIBT_UInt8, 1, 1, 1)).getMessage(),
              "Failed to open raw image file " + path.string());
    EXPECT_FALSE(file.isInit());
    close(terminal);
}

// Rights

TEST_F(RawImageFileBadInputTest, AFileThatTheUserMayNotWriteIsNotCreatedAndOneThatHeMayNotReadIsNotOpened) {
    writeFile(_path, countingBytes(g_exampleEnd));
    for (fs::perms const rights : {fs::no_perms, fs::owner_read | fs::group_read | fs::others_read}) {
        fs::permissions(_path, rights);
        std::string const texts = asOrdinaryUser([&] {
            RawImageFile file;
            return create(_path) + ";" +
                   file.openFile(_path, eIAM_ReadOnly, 0, *makeExampleGeometry()).getMessage();
        });
        if (texts == g_noSuchUser) {
            GTEST_SKIP() << "this process cannot become an ordinary user";
        }
        EXPECT_EQ(texts, createFailed(_path) + ";" + (rights == fs::no_perms ? openFailed(_path) : ""));
    }
    EXPECT_EQ(readFile(_path), countingBytes(g_exampleEnd));
}

// No room

TEST_F(RawImageFileBadInputTest, AHeaderOrAReservationThatFindsNoRoomFails) {
    EXPECT_EQ(create(g_fullDisk), headerFailed(g_fullDisk, "No space left on device"));
    EXPECT_EQ(create(g_fullDisk, ""), reserveFailed(96, g_fullDisk));
    EXPECT_EQ(countDescriptors(g_fullDisk), 0U);
}

TEST_F(RawImageFileBadInputTest, AWriteToAFullDiskFails) {
    std::string const text = velmo::test::onPrivateDisk(_folder / "disk", 65536, [&] {
        path const full = _folder / "disk" / "planes.raw";
        RawImageFile file;
        EXPECT_THAT(file.createFile(full, *makeGeometry(eIBT_UInt8, {64, 64, 256}), ""), Succeeds());
        PixelRun run = {0, 0, 0, 0, 4096};
        BoolResult result = success();
        for (; result && run.z < 256; run.z += result ? 1 : 0) {
            result = tryWrite(file, run);
        }
        return result.getMessage() == writeFailed(full, run) ? "failed as it should" : result.getMessage();
    });
    if (text == velmo::test::g_noMount) {
        GTEST_SKIP() << "this process may not mount a file system";
    }
    EXPECT_EQ(text, "failed as it should");
}

TEST_F(RawImageFileBadInputTest, AHeaderOrAReservationThatPassesTheLargestFileFails) {
    EXPECT_EQ(withLargestFile(64, [&] { return create(_path, countingBytes(100)); }),
              headerFailed(_path, "File too large"));
    EXPECT_EQ(readFile(_path), countingBytes(64));
    EXPECT_EQ(withLargestFile(64, [&] { return create(_path); }), reserveFailed(100, _path));
    EXPECT_EQ(readFile(_path), "head");
}

TEST_F(RawImageFileBadInputTest, AWriteThatPassesTheLargestFileFails) {
    RawImageFile file;
    openExample(file, eIAM_ReadWrite);
    PixelRun const run = {1, 0, 0, 0, 12};
    EXPECT_EQ(withLargestFile(50, [&] { return tryWrite(file, run).getMessage(); }), writeFailed(_path, run));
    EXPECT_EQ(readFile(_path).substr(64), countingBytes(g_exampleEnd).substr(64));
}

TEST_F(RawImageFileBadInputTest, AResizingThatPassesTheLargestFileFails) {
    RawImageFile file;
    openExample(file, eIAM_ReadWrite);
    EXPECT_EQ(
        withLargestFile(150, [&] { return file.resizeData(*makeGeometry(eIBT_UInt8, {151})).getMessage(); }),
        reserveFailed(151, _path));
    EXPECT_EQ(readFile(_path), countingBytes(g_exampleEnd));
}

// The reason of the system

TEST_F(RawImageFileBadInputTest, AfterAFailedCreationErrnoIsTheReason) {
    RawImageFile file;
    ImageGeometryPtr const pGeometry = makeExampleGeometry();
    EXPECT_FALSE(file.createFile(g_fullDisk, *pGeometry, "head"));
    EXPECT_EQ(errno, ENOSPC);
    errno = 0;
    EXPECT_FALSE(file.createFile(g_fullDisk, *pGeometry, ""));
    EXPECT_EQ(errno, ENOSPC);
    EXPECT_FALSE(file.createFile(_folder / "missing" / "planes.raw", *pGeometry, ""));
    EXPECT_EQ(errno, ENOENT);
    EXPECT_FALSE(file.createFile(_folder.getPath(), *pGeometry, ""));
    EXPECT_EQ(errno, EISDIR);
}

TEST_F(RawImageFileBadInputTest, AfterAFailedTransferErrnoIsTheReasonOrZeroWhereTheSystemDidNotFail) {
    RawImageFile file;
    openExample(file, eIAM_ReadWrite);
    EXPECT_EQ(withLargestFile(50,
                              [&] {
                                  bool const bWritten(tryWrite(file, {1, 0, 0, 0, 12}));
                                  return bWritten ? "written" : std::to_string(errno);
                              }),
              std::to_string(EFBIG));
    errno = ENOSPC;
    fs::resize_file(_path, g_exampleEnd - 1);
    EXPECT_FALSE(tryRead(file, {1, 0, 1, 0, 12}));
    EXPECT_EQ(errno, 0);
    errno = ENOSPC;
    EXPECT_THAT(tryWrite(file, {}), FailsWith(seekFailed(_path, {})));
    EXPECT_EQ(errno, 0);
    fs::remove(_path);
    inOtherThread([&] {
        EXPECT_FALSE(tryWrite(file, {}));
        EXPECT_EQ(errno, ENOENT);
    });
    errno = ENOSPC;
    file.clear();
    EXPECT_EQ(errno, 0);
}

// Numbers that pass 64 bits

TEST_F(RawImageFileBadInputTest, AnOffsetNearTheEndOf64BitsIsAFileTooShort) {
    writeFile(_path, countingBytes(g_exampleEnd));
    RawImageFile file;
    for (vlUInt64 const offset : {g_largest - 95, g_largest - 1, g_largest, g_largest / 2}) {
        EXPECT_THAT(file.openFile(_path, eIAM_ReadOnly, offset, *makeExampleGeometry()),
                    FailsWith(geometryExceeds(96, offset, 112, _path)));
        EXPECT_FALSE(file.isInit());
    }
    EXPECT_THAT(file.openFile(_path, eIAM_ReadWrite, g_largest, *makeExampleGeometry()),
                FailsWith(reserveFailed(g_largest, _path)));
}

TEST_F(RawImageFileBadInputTest, AResizingBeyondAnyFileFails) {
    RawImageFile file;
    openExample(file, eIAM_ReadWrite);
    vlUInt64 const side = vlUInt64(1) << 31U;
    EXPECT_THAT(file.resizeData(*makeGeometry(eIBT_UInt8, {side, side, 2})),
                FailsWith(reserveFailed(2 * side * side, _path)));
    EXPECT_EQ(readFile(_path), countingBytes(g_exampleEnd));
}

TEST_F(RawImageFileBadInputTest, AnEndThatPasses64BitsWithItsHeaderIsNotReserved) {
    RawImageFile file;
    EXPECT_THAT(file.createFile(_path, *makeGeometry(eIBT_UInt8, {g_largest}), "head"),
                FailsWith(reserveFailed(g_largest, _path)));
    EXPECT_EQ(readFile(_path), "head");
}

TEST_F(RawImageFileBadInputTest, AGeometryThatOutgrew64BitsIsThrownAndNoFileIsMade) {
    ImageGeometryPtr const pGeometry = makeGeometry(eIBT_UInt16, {g_largest / 4});
    pGeometry->getVolumeGeometry().init3d(3);
    RawImageFile file;
    EXPECT_THROW(file.createFile(_path, *pGeometry, ""), VELMOImageException);
    EXPECT_FALSE(file.isInit());
    EXPECT_FALSE(fs::exists(_path));
}

// Many planes

constexpr vlUInt64 g_manyPlanes = 10000000;

TEST_F(RawImageFileBadInputTest, TheLastOfTenMillionPlanesIsFound) {
    makeSparseFile(256 * g_manyPlanes);
    RawImageFile file;
    ASSERT_THAT(file.openFile(_path, eIAM_ReadWrite, 0, *makeGeometry(eIBT_UInt8, {16, 16, g_manyPlanes})),
                Succeeds());
    writePixels(file, {g_manyPlanes - 1, 0, 0, 255, 1}, "x");
    EXPECT_EQ(readPixels(file, {g_manyPlanes - 1, 0, 0, 254, 2}), std::string("\0x", 2));
    EXPECT_EQ(fs::file_size(_path), 256 * g_manyPlanes);
}

#ifdef VELMO_TEST_LIMITS_MEMORY // a sanitizer has a heap of its own
// The allocator counts what it keeps for the next small request as used: the figures are not exact to the
// byte.
constexpr std::size_t g_memorySlack = 65536;

std::size_t bytesInUse() {
    struct mallinfo2 const info = mallinfo2();
    return info.uordblks + info.hblkhd;
}

TEST_F(RawImageFileBadInputTest, TheMemoryOfAnOpenFileDoesNotGrowWithItsPlanes) {
    makeSparseFile(256 * g_manyPlanes);
    std::size_t used[2] = {};
    for (std::size_t index = 0; index < 2; ++index) {
        ImageGeometryPtr const pGeometry = makeGeometry(eIBT_UInt8, {16, 16, index == 0 ? 10 : g_manyPlanes});
        std::size_t const before = bytesInUse();
        RawImageFile file;
        ASSERT_THAT(file.openFile(_path, eIAM_ReadOnly, 0, *pGeometry), Succeeds());
        used[index] = bytesInUse() - before;
    }
    EXPECT_LE(used[1], 2 * used[0] + g_memorySlack);
}
#endif

TEST_F(RawImageFileBadInputTest, TheTimeOfAnOpeningDoesNotGrowWithThePlanes) {
    makeSparseFile(256 * g_manyPlanes);
    auto const measureOpening = [&](vlUInt64 nbPlanes) {
        ImageGeometryPtr const pGeometry = makeGeometry(eIBT_UInt8, {16, 16, nbPlanes});
        return test::measureCpuTime([&] {
            RawImageFile file;
            EXPECT_THAT(file.openFile(_path, eIAM_ReadOnly, 0, *pGeometry), Succeeds());
        });
    };
    EXPECT_LE(measureOpening(g_manyPlanes), 2 * measureOpening(10) + std::chrono::milliseconds(5));
}

} // namespace

} // namespace velmo::image::file
