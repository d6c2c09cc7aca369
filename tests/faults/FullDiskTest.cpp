// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "FaultSample.h"
#include "ImageBytes.h"
#include "PrivateDisk.h"
#include "Processes.h"
#include "Raised.h"
#include "TemporaryFolder.h"

#include <VELMOImage/DiskImage.h>
#include <VELMOImageFile/RawImageFileUtils.h>
#include <VELMOImageFile/TiffImageFileUtils.h>
#include <VELMOImageFile/VELMOImageFileException.h>
#include <VELMOUtil/BaseException.h>
#include <boost/algorithm/string/predicate.hpp>
#include <boost/filesystem/operations.hpp>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <set>
#include <sys/resource.h>
#include <unistd.h>

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

using namespace image;

namespace {

constexpr std::size_t g_nbHandles = 64;

#ifdef VELMO_TEST_LEAVES_NO_HANDLE

/// Takes all handles that are left.
std::vector<int> takeHandles() {
    std::vector<int> handles;
    for (int handle = 0; (handle = open("/dev/null", O_RDONLY | O_CLOEXEC)) >= 0;) {
        handles.push_back(handle);
    }
    return handles;
}

void giveBack(std::vector<int> const& handles) {
    for (int const handle : handles) {
        close(handle);
    }
}

/// What comes of an action without any handle, which the look at the handles needs for itself.
std::string describeWithoutHandles(std::string const& beginning, std::function<void()> const& action) {
    return describeOutcome(beginning, [&] {
        std::vector<int> const handles = takeHandles();
        try {
            action();
        } catch (...) {
            giveBack(handles);
            throw;
        }
        giveBack(handles);
    });
}

#endif

class ResourceLimitTest : public testing::Test {
  protected:
    fs::path getPath(FaultSample const& sample) const { return _folder / ("image" + sample.extension); }

    TemporaryFolder _folder;
};

} // namespace

#ifdef VELMO_TEST_LEAVES_NO_HANDLE

TEST_F(ResourceLimitTest, WithoutAHandleSavesAndLoadsFailAndAreRightOnceThereIsOne) {
    for (FaultSample const& sample : makeAllSamples()) {
        fs::path const path = getPath(sample);
        bool const bSaves = !sample.saveError.empty();
        std::string const text = withLimit(RLIMIT_NOFILE, g_nbHandles, [&] {
            std::string const saved =
                bSaves ? describeWithoutHandles(sample.saveError, [&] { sample.save(path); }) : "raised";
            sample.save(path);
            return join({saved, describeWithoutHandles(sample.loadError, [&] { sample.load(path); }),
                         describeLoad(sample, path)});
        });
        EXPECT_EQ(text, "raised, raised, done") << sample.name;
    }
}

#endif

TEST_F(ResourceLimitTest, ManySavesAndLoadsOneAfterTheOtherNeedFewHandles) {
    for (FaultSample const& sample : makeAllSamples()) {
        std::string const text = withLimit(RLIMIT_NOFILE, g_nbHandles, [&] {
            std::string outcome = "done";
            for (std::size_t index = 0; index < g_nbHandles + 6 && outcome == "done"; ++index) {
                sample.save(getPath(sample));
                outcome = describeLoad(sample, getPath(sample));
            }
            return outcome;
        });
        EXPECT_EQ(text, "done") << sample.name;
    }
}

#ifdef VELMO_TEST_LEAVES_NO_HANDLE

TEST_F(ResourceLimitTest, ImagesThatAreOpenStayRightWhereOneMoreDoesNotOpen) {
    FaultSample const sample = makeTiffSample();
    fs::path const path = getPath(sample);
    sample.save(path);
    std::string const text = withLimit(RLIMIT_NOFILE, g_nbHandles, [&] {
        std::vector<ImagePtr> images;
        std::string outcome;
        try {
            while (images.size() < g_nbHandles) {
                images.push_back(openTiffImageFile(path, eTDM_Volume, eTBM_Default));
            }
        } catch (VELMOImageFileException const& exception) {
            outcome = exception.what();
        }
        EXPECT_THAT(outcome, testing::StartsWith(sample.loadError + quoted(path)));
        std::set<std::string> differences;
        for (ImagePtr const& pImage : images) {
            differences.insert(findDifference(sample, *pImage));
        }
        bool const bRight = differences == std::set<std::string>{""} && !testing::Test::HasFailure();
        return images.size() > g_nbHandles / 2 && bRight ? "right" : "wrong: " + outcome;
    });
    EXPECT_EQ(text, "right");
}

#endif

#ifdef VELMO_TEST_LIMITS_MEMORY

namespace {

constexpr std::size_t g_spareMemory = std::size_t{48} << 20U;
constexpr vlUInt64 g_side = 10240; ///< 100 MiB in a plane

} // namespace

TEST_F(ResourceLimitTest, AnImageThatFindsNoAddressesIsTheLoadError) {
    fs::path const raw = _folder / "image.raw";
    writeFile(raw, "");
    fs::resize_file(raw, g_side * g_side);
    auto const pGeometry = geometry3d(eIBT_UInt8, g_side, g_side, 1);
    ImagePtr const pOnDisk = openRawImageFile(raw, *pGeometry);
    fs::path const tiff = _folder / "image.tif";
    saveTiffImageFile(tiff, pOnDisk, eTC_Lzw);
    std::string const text = withLimit(RLIMIT_AS, measureAddressSpace() + g_spareMemory, [&] {
        return describeOutcome("Error while loading raw image file ",
                               [&] { loadRawImageFile(raw, *pGeometry); }) +
               ", " + describeOutcome("Error while loading tiff image file ", [&] {
                   loadTiffImageFile(tiff, eTBM_Default);
               });
    });
    EXPECT_EQ(text, "raised, raised");
}

TEST_F(ResourceLimitTest, APlaneThatFindsNoAddressesIsTheSaveErrorAsTiffAndIsSavedInPartsAsRaw) {
    fs::path const raw = _folder / "image.raw";
    writeFile(raw, "");
    fs::resize_file(raw, g_side * g_side);
    ImagePtr const pOnDisk = openRawImageFile(raw, *geometry3d(eIBT_UInt8, g_side, g_side, 1));
    std::string const text = withLimit(RLIMIT_AS, measureAddressSpace() + g_spareMemory, [&] {
        return join({describeOutcome("Error while saving tiff image file ",
                                     [&] { saveTiffImageFile(_folder / "image.tif", pOnDisk, eTC_Lzw); }),
                     describeOutcome("", [&] { saveRawImageFile(_folder / "copy.raw", pOnDisk); })});
    });
    EXPECT_EQ(text, "raised, done");
    EXPECT_EQ(fs::file_size(_folder / "copy.raw"), g_side * g_side);
}

#endif

} // namespace velmo::test
