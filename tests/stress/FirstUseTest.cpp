// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

// Fresh processes, whose threads use the library for the first time all at once.

#include "Im6Sample.h"
#include "ImageBytes.h"
#include "TemporaryFolder.h"

#include <VELMOImageFile/TiffImageFileUtils.h>
#include <chrono>
#include <cstdlib>
#include <gtest/gtest.h>
#include <sys/wait.h>

namespace velmo::test {

namespace {

class FirstUse : public testing::Test {
  protected:
    FirstUse() {
        std::string const pixels = "ABCDEFGHIJKLMNOPQRSTUVWX";
        writeFile(_folder / "image.raw", pixels);
        Im6Sample sample;
        sample.sizeZ = 2;
        sample.pixels = pixels;
        sample.write(_folder / "image.im6");
        image::file::saveTiffImageFile(
            _folder / "image.tif", makeMemoryImage(*image::geometry3d(image::eIBT_UInt8, 4, 3, 2), pixels),
            image::file::eTC_Lzw);
    }

    /// One process after the other, as many as begin within this time.
    void expectNoComplaint(std::string const& program) const {
        auto const end = std::chrono::steady_clock::now() + std::chrono::milliseconds(700);
        int nbProcesses = 0;
        while (!HasFailure() && (nbProcesses++ < 2 || std::chrono::steady_clock::now() < end)) {
            std::string const command = program + " " + _folder.getPath().string() + " >" +
                                        (_folder / "output").string() + " 2>" + (_folder / "errors").string();
            int const status = std::system(command.c_str());
            EXPECT_TRUE(WIFEXITED(status) && WEXITSTATUS(status) == 0) << status;
            EXPECT_EQ(readFile(_folder / "output"), "");
            if (HasFailure()) {
                ADD_FAILURE() << readFile(_folder / "errors");
            }
        }
    }

    TemporaryFolder const _folder;
};

} // namespace

TEST_F(FirstUse, OfEachPartOfTheLibraryMayHappenOnAllThreadsAtOnce) {
    expectNoComplaint(VELMO_TEST_FIRST_USES);
}

TEST_F(FirstUse, MayBeTheLoadingItself) {
    expectNoComplaint(std::string(VELMO_TEST_LOAD_USES) + " together " + VELMO_TEST_LIBRARY);
}

TEST_F(FirstUse, MayFollowAnUnloadingByAnotherThread) {
#ifdef VELMO_TEST_SEES_NO_LOADER
    GTEST_SKIP() << "the thread sanitizer does not see the lock that the loader holds meanwhile";
#else
    expectNoComplaint(std::string(VELMO_TEST_LOAD_USES) + " apart " + VELMO_TEST_LIBRARY);
#endif
}

} // namespace velmo::test
