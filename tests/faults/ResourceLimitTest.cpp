// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "FaultSample.h"
#include "ImageBytes.h"
#include "PrivateDisk.h"
#include "Raised.h"
#include "TemporaryFolder.h"

#include <VELMOImage/DiskImage.h>
#include <VELMOImageFile/RawImageFileUtils.h>
#include <VELMOImageFile/TiffImageFileUtils.h>
#include <VELMOImageFile/VELMOImageFileException.h>
#include <boost/filesystem/operations.hpp>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <set>
#include <sys/resource.h>
#include <unistd.h>

namespace velmo::test {

namespace fs = boost::filesystem;
using namespace image;
using namespace image::file;

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
