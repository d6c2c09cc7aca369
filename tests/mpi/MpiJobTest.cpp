// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "MpiJobFixture.h"

#include "ImageBytes.h"
#include "Sanitizers.h"

#include <VELMOImageFile/VELMOImageFile.h>
#include <boost/filesystem/operations.hpp>
#include <unistd.h>

namespace velmo::test {

namespace fs = boost::filesystem;
using namespace image;
using namespace image::file;

namespace {

class MpiJob : public MpiJobFixture {};

} // namespace

TEST_F(MpiJob, EveryLoadHasThePixelsOfALoadInMemory) {
    for (int const nbRanks : {1, 2, 4}) {
        JobResult const result = run(nbRanks, "compare");
        EXPECT_EQ(result.out, "equal equal equal equal\n") << nbRanks << "\n" << result.err;
        EXPECT_EQ(result.status, 0);
    }
}

TEST_F(MpiJob, IdleRanksNeedAlmostNoProcessorTime) {
    JobResult const result = run(2, "idle load");
    ASSERT_EQ(result.status, 0) << result.err;
    EXPECT_LT(std::stod(result.out), g_bSanitized ? 0.1 : 0.02);
}

// The texts of one process, with the rank

TEST_F(MpiJob, AFileThatARankDoesNotSeeIsTheErrorOfOneProcessWithTheRank) {
    JobResult const result = run(2, "load once", {1, "chdir:" + getOther().string()});
    EXPECT_NE(result.status, 0);
    EXPECT_EQ(result.out,
              "file exception: Error while loading tiff image file \"image.tif\"\n"
              "Failed to read an object of class velmo::image::file::CheckedTiffImageFile from the "
              "archive\nFailed to open tiff image file image.tif\n"
              "Tiff Error : image.tif: No such file or directory" +
                  placeOfRank1(getOther()) + "\n")
        << result.err;
}

TEST_F(MpiJob, AFileThatIsShorterForARankIsAnErrorWithTheRank) {
    fs::copy_file(getFile("image.tif"), getOther() / "image.tif");
    fs::resize_file(getOther() / "image.tif", 100);
    JobResult const result = run(2, "load once", {1, "chdir:" + getOther().string()});
    EXPECT_NE(result.status, 0);
    EXPECT_THAT(result.out, testing::StartsWith("file exception: Error while loading tiff image file"));
    EXPECT_THAT(result.out, testing::EndsWith(placeOfRank1(getOther()) + "\n"));
}

TEST_F(MpiJob, AFileThatARankMayNotReadIsAnErrorWithTheRank) {
    if (geteuid() != 0) {
        GTEST_SKIP() << "only root can become another user";
    }
    fs::permissions(getFile("image.tif"), fs::owner_read | fs::owner_write);
    JobResult const result = run(2, "load once", {1, "user"});
    EXPECT_NE(result.status, 0);
    EXPECT_THAT(result.out, testing::HasSubstr("Permission denied" + placeOfRank1(getFile(""))));
}

TEST_F(MpiJob, AClassThatARankDoesNotKnowIsASerializationExceptionWithTheRank) {
    JobResult const result = run(2, "load once", {1, "class:velmo::image::file::CheckedTiffImageFile"});
    EXPECT_NE(result.status, 0);
    EXPECT_THAT(result.out, testing::StartsWith("serialization exception: "));
    EXPECT_THAT(result.out, testing::HasSubstr("CheckedTiffImageFile"));
    EXPECT_THAT(result.out, testing::EndsWith(placeOfRank1(getFile("")) + "\n"));
}

#if defined(VELMO_TEST_LIMITS_MEMORY)
TEST_F(MpiJob, ARankWithoutMemoryIsAnErrorWithTheRank) {
    ImageGeometryPtr const pGeometry = geometry3d(eIBT_UInt8, 8 << 20, 1, 40); // 5 planes in each of 8 blocks
    ImagePtr pImage;
    ASSERT_TRUE(ImageFactory::getInstance().createDefaultImage(*pGeometry, pImage));
    saveTiffImageFile(getFile("image.tif"), pImage, {eTC_Deflate});
    JobResult const result = run(2, "load once", {1, "memory"});
    EXPECT_NE(result.status, 0);
    EXPECT_THAT(result.out, testing::StartsWith("file exception: Failed to create distributed image\n"));
    EXPECT_THAT(result.out, testing::HasSubstr("41943040"));
    EXPECT_THAT(result.out, testing::EndsWith(placeOfRank1(getFile("")) + "\n")) << result.err;
}
#endif

// Dead ranks; mpi_death_test has all cases

TEST_F(MpiJob, ARankThatDiesDuringALoadEndsTheJob) {
    expectEnd("load", {1, "kill:1500"});
}

TEST_F(MpiJob, IfRank0DiesDuringASaveNothingIsLeft) {
    expectEnd("save raw", {0, "kill:1500"});
}

} // namespace velmo::test
