// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "FaultSample.h"
#include "PrivateDisk.h"
#include "TemporaryFolder.h"

#include <VELMOImageFile/RawImageFileUtils.h>
#include <VELMOUtil/BaseException.h>
#include <boost/algorithm/string/predicate.hpp>
#include <boost/filesystem/operations.hpp>
#include <gtest/gtest.h>

namespace velmo::test {

namespace fs = boost::filesystem;
using namespace image::file;

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
