// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "MpiJob.h"

#include "Im6Sample.h"
#include "ImageBytes.h"
#include "Sanitizers.h"
#include "TemporaryFolder.h"

#include <VELMOImageFile/VELMOImageFile.h>
#include <boost/filesystem/operations.hpp>
#include <unistd.h>

namespace velmo::test {

namespace fs = boost::filesystem;
using namespace image;
using namespace image::file;

namespace {

std::string getHost() {
    char name[256] = {};
    gethostname(name, sizeof(name) - 1);
    return name;
}

/// A folder with the files that mpi_probe reads, as a job's working folder.
class MpiJob : public testing::Test {
  protected:
    MpiJob() {
        fs::create_directory(_folder / "work");
        fs::create_directory(_folder / "other");
        ImageGeometryPtr const pGeometry = geometry3d(eIBT_UInt16, 7, 5, 23);
        ImagePtr const pImage = makeMemoryImage(*pGeometry, makePixels(*pGeometry));
        saveTiffImageFile(getFile("image.tif"), pImage, {eTC_Deflate});
        saveRawImageFile(getFile("more.raw"), pImage, std::string("head"));
        makeIm6Sequence().write(getFile("more.im6"));
    }

    fs::path getFile(std::string const& name) const { return _folder.getPath() / "work" / name; }
    fs::path getOther() const { return _folder.getPath() / "other"; }

    JobResult run(int nbRanks, std::string const& command, RankFault const& fault = {}) const {
        return runProbe(nbRanks, {command, "image.tif", "more"}, _folder.getPath() / "work", fault);
    }

    /// The end of a text of rank 1.
    std::string placeOfRank1(fs::path const& folder) const {
        return " (rank 1 on " + getHost() + " in " + fs::canonical(folder).string() + ")";
    }

    TemporaryFolder const _folder;
};

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

// Dead and hung ranks

/// Command of the driver, and fault of a rank.
class MpiDeath : public MpiJob,
                 public testing::WithParamInterface<std::tuple<char const*, int, char const*>> {};

TEST_P(MpiDeath, EndsTheJobNamesTheRankAndLeavesNoPartialFile) {
    auto const [command, rank, fault] = GetParam();
    ImageGeometryPtr const pGeometry = geometry3d(eIBT_UInt16, 500, 400, 60);
    ImagePtr const pImage = makeMemoryImage(*pGeometry, makePixels(*pGeometry));
    saveTiffImageFile(getFile("image.tif"), pImage, {eTC_None});
    JobResult const result = run(2, command, {rank, fault});
    EXPECT_NE(result.status, 0);
    EXPECT_LT(result.seconds, 14) << "10 seconds after the fault";
    EXPECT_THAT(result.err, testing::HasSubstr("rank " + std::to_string(rank)));
    for (auto const& entry : fs::directory_iterator(getFile(""))) {
        std::string const name = entry.path().filename().string();
        EXPECT_THAT(name, testing::AnyOf("image.tif", "more.raw", "more.im6", "more")) << result.err;
    }
    if (std::string(command) == "save raw" && fs::exists(getFile("more"))) {
        EXPECT_EQ(fs::file_size(getFile("more")), pGeometry->getFullMemorySize());
    }
    if (std::string(command) == "save tiff" && fs::exists(getFile("more"))) {
        EXPECT_EQ(readPixels(*loadTiffImageFile(getFile("more"), {})), readPixels(*pImage));
    }
}

INSTANTIATE_TEST_SUITE_P(Phases, MpiDeath,
                         testing::Combine(testing::Values("idle", "load", "gather", "functions", "save tiff",
                                                          "save raw"),
                                          testing::Values(0, 1), testing::Values("kill:1500", "stop:1500")));
INSTANTIATE_TEST_SUITE_P(Start, MpiDeath,
                         testing::Combine(testing::Values("idle"), testing::Values(0, 1),
                                          testing::Values("kill at start")));

} // namespace velmo::test
