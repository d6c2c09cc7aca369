// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "RawFunctions.h"

#include <VELMOBaseProcessing/VELMOBaseProcessingLog.h>
#include <VELMOImage/MemoryImage.h>
#include <VELMOImage/VELMOImageLog.h>
#include <boost/filesystem/operations.hpp>
#include <boost/make_shared.hpp>
#include <set>
#include <stdexcept>
#include <sys/stat.h>
#include <thread>

namespace velmo::test {

namespace fs = boost::filesystem;
using namespace image;
using namespace image::file;

TEST_F(RawFunctions, ASaveReplacesALongerFile) {
    writeFile(_saved, makeBytes(5000, 7));
    saveRawImageFile(_saved, makeMemoryImage(*_pGeometry, _pixels));
    EXPECT_EQ(readFile(_saved), _pixels);
}

TEST_F(RawFunctions, ASaveIntoAMissingFolderOrOntoAFolderIsTheSaveError) {
    ImagePtr const pImage = makeMemoryImage(*_pGeometry, _pixels);
    for (fs::path const& path : {_folder / "missing" / "saved.raw", _folder.getPath()}) {
        expectRaisedText([&] { saveRawImageFile(path, pImage, "head"); },
                         saveError(path, "Failed to create raw image file " + path.string()));
    }
}

TEST_F(RawFunctions, QuotesAndAmpersandsAreMarkedInASaveErrorToo) {
    std::string const folder = _folder.getPath().string() + "/no\"folder&/";
    expectRaisedText([&] { saveRawImageFile(folder + "a.raw", makeMemoryImage(*_pGeometry, _pixels), ""); },
                     "Error while saving raw image file \"" + _folder.getPath().string() +
                         "/no&\"folder&&/a.raw\"\nFailed to create raw image file " + folder + "a.raw");
}

TEST_F(RawFunctions, AFullDiskIsTheSaveErrorWithTheSystemsWords) {
    struct stat device {};
    if (stat("/dev/full", &device) != 0 || !S_ISCHR(device.st_mode)) {
        GTEST_SKIP() << "this system has no /dev/full";
    }
    ImagePtr const pImage = makeMemoryImage(*_pGeometry, _pixels);
    expectRaisedText([&] { saveRawImageFile("/dev/full", pImage, "head"); },
                     saveError("/dev/full", "Failed to write file header for file /dev/full\nNo space left "
                                            "on device"));
    expectRaisedText([&] { saveRawImageFile("/dev/full", pImage, ""); },
                     saveError("/dev/full", "Failed to reserve 96 bytes for raw image file /dev/full"));
}

TEST_F(RawFunctions, AFailedSaveLeavesTheFileAtItsFullSizeAsFarAsItCame) {
    auto const pSource = boost::make_shared<HookedImage>(*_pGeometry);
    writePixels(*pSource, _pixels);
    pSource->setReadHook(failAt(3, "the last plane is gone"));
    expectRaisedText([&] { saveRawImageFile(_saved, pSource, "head"); },
                     saveError(_saved, "the last plane is gone"));
    EXPECT_EQ(readFile(_saved), "head" + _pixels.substr(0, 72) + std::string(24, '\0'));
    EXPECT_EQ(countOpen(_saved), 0);
}

TEST_F(RawFunctions, TheFileHasItsFullSizeBeforeTheFirstPlaneIsCopiedByTheCallingThread) {
    auto const pSource = boost::make_shared<HookedImage>(*_pGeometry);
    std::string atFirstRead;
    std::set<std::thread::id> readers;
    pSource->setReadHook([&](int access) {
        atFirstRead = access == 0 ? readFile(_saved) : atFirstRead;
        readers.insert(std::this_thread::get_id());
        return success();
    });
    saveRawImageFile(_saved, pSource, "head");
    EXPECT_EQ(atFirstRead, "head" + std::string(96, '\0'));
    EXPECT_EQ(readers, std::set<std::thread::id>{std::this_thread::get_id()});
}

TEST_F(RawFunctions, ASourceFileThatIsCutOffIsTheSaveErrorOfTheTargetWithTheSourcesPath) {
    DiskImagePtr const pSource = openRawImageFile(_path, *_pGeometry, 0);
    fs::resize_file(_path, 50);
    expectRaisedText([&] { saveRawImageFile(_saved, pSource, ""); },
                     saveError(_saved, "Failed to read raw image file " + _path.string() +
                                           " for z=0, c=0, t=1, pixelStartOffset=0 and nbPixels=12"));
    EXPECT_EQ(readFile(_saved), _pixels.substr(0, 48) + std::string(48, '\0'));
}

TEST_F(RawFunctions, ASaveOntoTheFileThatHoldsItsPixelsIsRefusedAndLeavesThem) {
    writeFile(_path, _pixels);
    fs::path const link = _folder / "link.raw";
    fs::create_symlink(_path, link);
    DiskImagePtr const pImage = openRawImageFile(_path, *_pGeometry, 0);
    for (fs::path const& target : {_path, link}) {
        expectRaisedText(
            [&] { saveRawImageFile(target, pImage, "head"); },
            saveError(target, "The pixels of the image to save lie in " + target.string() + " itself"));
        EXPECT_EQ(readFile(_path), _pixels);
    }
}

TEST_F(RawFunctions, ASaveOfNoImageIsRefusedBeforeTheFileIsTouched) {
    writeFile(_path, _pixels);
    expectPassedThrough<processor::VELMOBaseProcessingException>(
        [&] { saveRawImageFile(_path, ImageConstPtr()); });
    EXPECT_EQ(readFile(_path), _pixels);
}

TEST_F(RawFunctions, WhatASourceThrowsPassesThrough) {
    expectPassedThrough<VELMOImageException>( // without a geometry
        [&] { saveRawImageFile(_saved, boost::make_shared<MemoryImage>(), ""); });
    EXPECT_FALSE(fs::exists(_saved));
    auto const pSource = boost::make_shared<HookedImage>(*_pGeometry);
    pSource->setReadHook([](int /*access*/) -> BoolResult { throw std::logic_error("of the source"); });
    expectPassedThrough<std::logic_error>([&] { saveRawImageFile(_saved, pSource, ""); });
}

} // namespace velmo::test
