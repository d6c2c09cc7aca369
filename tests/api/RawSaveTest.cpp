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

TEST_F(RawFunctions, ASavedFileIsTheHeaderAndThePlanes) {
    fs::path const saved = _folder / "saved.raw";
    ImagePtr const pImage = makeMemoryImage(*_pGeometry, _pixels);
    std::string const header("head\0er\n", 8);
    saveRawImageFile(saved, pImage, header);
    EXPECT_EQ(readFile(saved), header + _pixels);
    EXPECT_EQ(countOpen(saved), 0);
}

TEST_F(RawFunctions, WithoutAHeaderASavedFileIsThePlanesAlone) {
    fs::path const saved = _folder / "saved.raw";
    saveRawImageFile(saved, makeMemoryImage(*_pGeometry, _pixels));
    EXPECT_EQ(readFile(saved), _pixels);
}

TEST_F(RawFunctions, ASaveReplacesALongerFile) {
    fs::path const saved = _folder / "saved.raw";
    writeFile(saved, makeBytes(5000, 7));
    saveRawImageFile(saved, makeMemoryImage(*_pGeometry, _pixels), "");
    EXPECT_EQ(readFile(saved), _pixels);
}

TEST_F(RawFunctions, EveryKindOfImageSavesTheSameBytes) {
    fs::path const saved = _folder / "saved.raw";
    auto const pHooked = boost::make_shared<HookedImage>(*_pGeometry);
    writePixels(*pHooked, _pixels);
    writeFile(_path, "at 5." + _pixels);
    ImageConstPtr const sources[] = {makeMemoryImage(*_pGeometry, _pixels),
                                     openRawImageFile(_path, *_pGeometry, 5),
                                     makeDistributedImage(*_pGeometry, _pixels), pHooked};
    for (ImageConstPtr const& pSource : sources) {
        fs::remove(saved);
        saveRawImageFile(saved, pSource, "head");
        EXPECT_EQ(readFile(saved), "head" + _pixels);
    }
}

TEST_F(RawFunctions, EachPlaneOfAHeterogeneousImageTakesTheBytesOfItsOwnType) {
    fs::path const saved = _folder / "saved.raw";
    auto const pGeometry = makeHeterogeneous();
    std::string const pixels = makeBytes(60 * (1 + 4 + 2));
    saveRawImageFile(saved, makeMemoryImage(*pGeometry, pixels), "head");
    EXPECT_EQ(readFile(saved), "head" + pixels);
}

TEST_F(RawFunctions, ABinaryPixelIsOneByteInTheFile) {
    fs::path const saved = _folder / "saved.raw";
    std::string const pixels("\0\1\1\0\1\0\0\1\1", 9);
    saveRawImageFile(saved, makeMemoryImage(*geometry3d(eIBT_Binary, 3, 3, 1), pixels), "");
    EXPECT_EQ(readFile(saved), pixels);
}

TEST_F(RawFunctions, AnImageWithoutPixelsAndHeaderSavesAnEmptyFile) {
    fs::path const saved = _folder / "saved.raw";
    saveRawImageFile(saved, makeMemoryImage(*geometry3d(eIBT_UInt8, 0, 3, 2), ""), "");
    EXPECT_EQ(readFile(saved), "");
}

TEST_F(RawFunctions, AHeaderWithoutPixelsIsSavedWhole) {
    fs::path const saved = _folder / "saved.raw";
    saveRawImageFile(saved, makeMemoryImage(*geometry3d(eIBT_UInt8, 0, 3, 2), ""), "head");
    EXPECT_EQ(readFile(saved), "head");
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
    fs::path const saved = _folder / "saved.raw";
    auto const pSource = boost::make_shared<HookedImage>(*_pGeometry);
    writePixels(*pSource, _pixels);
    pSource->setReadHook(failAt(3, "the last plane is gone"));
    expectRaisedText([&] { saveRawImageFile(saved, pSource, "head"); },
                     saveError(saved, "the last plane is gone"));
    EXPECT_EQ(readFile(saved), "head" + _pixels.substr(0, 72) + std::string(24, '\0'));
    EXPECT_EQ(countOpen(saved), 0);
}

TEST_F(RawFunctions, TheFileHasItsFullSizeBeforeTheFirstPlaneIsCopied) {
    fs::path const saved = _folder / "saved.raw";
    auto const pSource = boost::make_shared<HookedImage>(*_pGeometry);
    std::string atFirstRead;
    pSource->setReadHook([&](int access) {
        if (access == 0) {
            atFirstRead = readFile(saved);
        }
        return success();
    });
    saveRawImageFile(saved, pSource, "head");
    EXPECT_EQ(atFirstRead, "head" + std::string(96, '\0'));
}

TEST_F(RawFunctions, ASaveReadsItsSourceOnTheCallingThread) {
    auto const pSource = boost::make_shared<HookedImage>(*_pGeometry);
    std::set<std::thread::id> readers;
    pSource->setReadHook([&](int /*access*/) {
        readers.insert(std::this_thread::get_id());
        return success();
    });
    saveRawImageFile(_folder / "saved.raw", pSource, "");
    EXPECT_EQ(readers, std::set<std::thread::id>{std::this_thread::get_id()});
}

TEST_F(RawFunctions, ASourceFileThatIsCutOffIsTheSaveErrorOfTheTargetWithTheSourcesPath) {
    fs::path const saved = _folder / "saved.raw";
    DiskImagePtr const pSource = openRawImageFile(_path, *_pGeometry, 0);
    fs::resize_file(_path, 50);
    expectRaisedText([&] { saveRawImageFile(saved, pSource, ""); },
                     saveError(saved, "Failed to read raw image file " + _path.string() +
                                          " for z=0, c=0, t=1, pixelStartOffset=0 and nbPixels=12"));
    EXPECT_EQ(readFile(saved), _pixels.substr(0, 48) + std::string(48, '\0'));
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
    auto const pSource = boost::make_shared<HookedImage>(*_pGeometry);
    pSource->setReadHook([](int /*access*/) -> BoolResult { throw std::logic_error("of the source"); });
    expectPassedThrough<std::logic_error>([&] { saveRawImageFile(_folder / "saved.raw", pSource, ""); });
}

TEST_F(RawFunctions, ASourceWithoutAGeometryIsRefusedByTheImageLibrary) {
    fs::path const saved = _folder / "saved.raw";
    expectPassedThrough<VELMOImageException>(
        [&] { saveRawImageFile(saved, boost::make_shared<MemoryImage>(), ""); });
    EXPECT_FALSE(fs::exists(saved));
}

} // namespace velmo::test
