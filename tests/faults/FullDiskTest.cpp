// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "FaultSample.h"
#include "PrivateDisk.h"
#include "Processes.h"
#include "TemporaryFolder.h"

#include <VELMOImage/DiskImage.h>
#include <VELMOImageFile/RawImageFileUtils.h>
#include <VELMOImageFile/TiffImageFileUtils.h>
#include <VELMOUtil/BaseException.h>
#include <boost/algorithm/string/predicate.hpp>
#include <boost/filesystem/operations.hpp>
#include <gtest/gtest.h>
#include <sys/resource.h>

namespace velmo::test {

namespace fs = boost::filesystem;
using namespace image::file;

namespace {

constexpr std::size_t g_diskSize = 256 * 1024;
constexpr std::size_t g_page = 4096;

class StorageTest : public testing::Test {
  protected:
    StorageTest() : _disk(_folder / "disk") {}

    TemporaryFolder _folder;
    fs::path _disk;
};

} // namespace

TEST_F(StorageTest, ASaveOntoAFullDiskFailsAndTheSameSaveIsRightOnceThereIsRoom) {
    for (FaultSample const& sample : makeSavedSamples()) {
        for (std::size_t const nbPagesLeft : {0U, 1U, 2U, 4U, 7U}) {
            std::string const text = onPrivateDisk(_disk, g_diskSize, [&] {
                fs::path const path = _disk / ("image" + sample.extension);
                fs::path const filler = _disk / "filler";
                fillDisk(filler, nbPagesLeft * g_page);
                std::string const first = describeSave(sample, path);
                fs::remove(filler);
                return join({first, describeSave(sample, path), describeLoad(sample, path)});
            });
            if (text == g_noMount) {
                GTEST_SKIP() << "this process cannot mount a disk";
            }
            EXPECT_EQ(text, "raised, done, done") << sample.name << ", pages left: " << nbPagesLeft;
        }
    }
}

TEST_F(StorageTest, OnADiskThatCannotBeWrittenASaveFailsAndLeavesTheFileWhichLoadsAndDoesNotOpen) {
    for (FaultSample const& sample : makeSavedSamples()) {
        std::string const text = onPrivateDisk(_disk, g_diskSize, [&]() -> std::string {
            fs::path const path = _disk / ("image" + sample.extension);
            sample.save(path);
            if (!forbidWrites(_disk)) {
                return g_noMount;
            }
            fs::path const other = _disk / ("new" + sample.extension);
            std::string const opened =
                sample.extension == ".tif"
                    ? describeOutcome(sample.loadError,
                                      [&] { openTiffImageFile(path, eTDM_Volume, eTBM_Default); })
                    : "raised";
            return join({describeSave(sample, path), describeSave(sample, other), describeLoad(sample, path),
                         fs::exists(other) ? "made" : "not made", opened});
        });
        if (text == g_noMount) {
            GTEST_SKIP() << "this process cannot mount a disk";
        }
        EXPECT_EQ(text, "raised, raised, done, not made, raised") << sample.name;
    }
}

TEST_F(StorageTest, InAFolderThatCannotBeWrittenNoFileIsMadeAndAnExistingOneIsReplaced) {
    fs::create_directory(_disk);
    for (FaultSample const& sample : makeSavedSamples()) {
        fs::path const path = _disk / ("image" + sample.extension);
        fs::path const other = _disk / ("new" + sample.extension);
        writeFile(path, "earlier");
        fs::permissions(path, fs::perms(0666));
        fs::permissions(_folder.getPath(), fs::perms(0755));
        fs::permissions(_disk, fs::perms(0555));
        std::string const text = asOrdinaryUser([&] {
            return join(
                {describeSave(sample, other), describeSave(sample, path), describeLoad(sample, path)});
        });
        fs::permissions(_disk, fs::perms(0755));
        if (text == g_noSuchUser) {
            GTEST_SKIP() << "this process cannot become another user";
        }
        EXPECT_EQ(text, "raised, done, done") << sample.name;
        EXPECT_FALSE(fs::exists(other));
    }
}

TEST_F(StorageTest, WhereTheSystemLimitsFilesASaveFailsAndNoFileIsLarger) {
    for (FaultSample const& sample : {makeRawSample(), makeInterleavedSample()}) {
        fs::path const path = _folder / ("image" + sample.extension);
        sample.save(path);
        std::size_t const whole = fs::file_size(path);
        for (std::size_t const limit : {std::size_t{0}, std::size_t{5}, whole / 4, whole / 2, whole - 1}) {
            EXPECT_EQ(withLimit(RLIMIT_FSIZE, limit, [&] { return describeSave(sample, path); }), "raised")
                << sample.name << ", limit: " << limit;
            EXPECT_LE(fs::file_size(path), limit);
        }
        EXPECT_EQ(withLimit(RLIMIT_FSIZE, 2 * whole, [&] { return describeSave(sample, path); }), "done");
        EXPECT_EQ(describeLoad(sample, path), "done");
    }
}

namespace {

std::string textOfSave(FaultSample const& sample, fs::path const& path, RawWriteOptions const& options) {
    try {
        saveRawImageFile(path, sample.pImage, options);
    } catch (BaseException const& failure) {
        return failure.what();
    }
    return "saved";
}

} // namespace

TEST(FullDisk, IsTheLastLineOfARawSaveWithOptionsAndTheOldFileStays) {
    TemporaryFolder const folder;
    fs::path const disk = folder / "disk";
    FaultSample const sample = makeRawSample();
    for (std::size_t const nbPagesLeft : {0U, 1U, 2U, 4U, 7U}) {
        std::string const text = onPrivateDisk(disk, std::size_t{256} * 1024, [&] {
            fs::path const path = disk / "image.raw";
            writeFile(path, "earlier");
            fillDisk(disk / "filler", nbPagesLeft * 4096);
            RawWriteOptions options;
            options.fileHeader = "header";
            std::string const reason = "\nNo space left on device";
            std::string const replaced = textOfSave(sample, path, options);
            std::string outcome = boost::algorithm::ends_with(replaced, reason) ? "named" : replaced;
            outcome += replaced.find(".velmo-image-") == std::string::npos ? "" : ", temporary name";
            outcome += ", " + readFile(path);
            options.bReplaceWhenWhole = false;
            std::string const inPlace = textOfSave(sample, path, options);
            return outcome + (boost::algorithm::ends_with(inPlace, reason) ? ", named" : ", " + inPlace) +
                   (std::distance(fs::directory_iterator(disk), {}) == 2 ? "" : ", rest");
        });
        if (text == g_noMount) {
            GTEST_SKIP() << "this process cannot mount a disk";
        }
        EXPECT_EQ(text, "named, earlier, named") << "pages left: " << nbPagesLeft;
    }
}

TEST(FullDisk, AWriteToItNamesThePlaneAndTheTarget) {
    TemporaryFolder const folder;
    fs::path const disk = folder / "disk";
    FaultSample const sample = makeRawSample();
    std::string const text = onPrivateDisk(disk, std::size_t{256} * 1024, [&] {
        fs::path const path = disk / "image.raw";
        writeFile(path, "earlier");
        fillDisk(disk / "filler", 4 * 4096);
        return textOfSave(sample, path, RawWriteOptions());
    });
    if (text == g_noMount) {
        GTEST_SKIP() << "this process cannot mount a disk";
    }
    std::string const path = (disk / "image.raw").string();
    EXPECT_EQ(text, "Error while saving raw image file \"" + path + "\"\nFailed to write raw image file " +
                        path + " for z=1, c=0, t=0, pixelStartOffset=0 and nbPixels=4480\n" +
                        "No space left on device");
}

} // namespace velmo::test
