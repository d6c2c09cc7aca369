// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "PrivateDisk.h"
#include "Processes.h"
#include "RawFunctions.h"

#include <VELMOBaseProcessing/VELMOBaseProcessingLog.h>
#include <VELMOImage/VELMOImageLog.h>
#include <algorithm>
#include <boost/filesystem/operations.hpp>
#include <boost/make_shared.hpp>
#include <cerrno>
#include <csignal>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>

namespace velmo::test {

namespace fs = boost::filesystem;
using namespace image;
using namespace image::file;
using testing::HasSubstr;
using testing::UnorderedElementsAre;

namespace {

RawWriteOptions makeOptions(std::string const& fileHeader, bool bReplaceWhenWhole = true) {
    RawWriteOptions options;
    options.fileHeader = fileHeader;
    options.bReplaceWhenWhole = bReplaceWhenWhole;
    return options;
}

class RawSaveWithOptions : public RawFunctions {
  protected:
    RawSaveWithOptions() : _pImage(makeMemoryImage(*_pGeometry, _pixels)) { fs::remove(_path); }

    std::vector<std::string> list() const {
        std::vector<std::string> names;
        for (fs::directory_entry const& entry : fs::directory_iterator(_folder.getPath())) {
            names.push_back(entry.path().filename().string());
        }
        return names;
    }

    ImagePtr _pImage;
};

/// An image of a geometry for which there is no memory.
class ImmenseImage : public BaseImage {
  public:
    explicit ImmenseImage(BaseImageGeometry const& geometry) { setGeometry(geometry); }

  private:
    BoolResult readPixelsDerived(vlUInt64 /*z*/, vlUInt64 /*c*/, vlUInt64 /*t*/, vlUInt64 /*pixelStart*/,
                                 vlUInt64 /*nbPixels*/, void* /*buffer*/) const override {
        return success();
    }
    BoolResult writePixelsDerived(vlUInt64 /*z*/, vlUInt64 /*c*/, vlUInt64 /*t*/, vlUInt64 /*pixelStart*/,
                                  vlUInt64 /*nbPixels*/, void const* /*buffer*/) override {
        return success();
    }
};

} // namespace

// What is written

TEST_F(RawSaveWithOptions, TheFileIsTheHeaderAndThePlanesAsThoseOfTheSaveWithout) {
    fs::path const plain = _folder / "plain.raw";
    auto const pHooked = boost::make_shared<HookedImage>(*_pGeometry);
    writePixels(*pHooked, _pixels);
    writeFile(_path, "at 5." + _pixels);
    ImageConstPtr const sources[] = {
        _pImage,
        openRawImageFile(_path, *_pGeometry, 5),
        makeDistributedImage(*_pGeometry, _pixels),
        pHooked,
        makeMemoryImage(*makeHeterogeneous(), makeBytes(420)),
        makeMemoryImage(*geometry3d(eIBT_Binary, 3, 1, 1), std::string("\0\1\1", 3)),
        makeMemoryImage(*geometry3d(eIBT_UInt8, 0, 3, 2), "")};
    std::string const header("head\0er\n", 8);
    for (ImageConstPtr const& pSource : sources) {
        for (bool const bReplaceWhenWhole : {true, false}) {
            saveRawImageFile(plain, pSource, header);
            saveRawImageFile(_saved, pSource, makeOptions(header, bReplaceWhenWhole));
            EXPECT_EQ(readFile(plain), header + readPixels(*pSource));
            EXPECT_EQ(countOpen(plain), 0);
            EXPECT_EQ(readFile(_saved), readFile(plain));
            EXPECT_EQ(readPixels(*loadRawImageFile(_saved, pSource->getGeometry(), header.size())),
                      readPixels(*pSource));
            EXPECT_EQ(countOpen(_saved), 0);
            fs::remove(_saved);
        }
    }
}

// A braced argument and everything else that was a header before stays one.
TEST_F(RawSaveWithOptions, EveryCallWithoutTheTypeOfTheOptionsIsTheOneWithoutOptions) {
    saveRawImageFile(_saved, _pImage, {});
    EXPECT_EQ(readFile(_saved), _pixels);
    saveRawImageFile(_saved, _pImage, "head");
    EXPECT_EQ(readFile(_saved), "head" + _pixels);
    saveRawImageFile(_saved, _pImage, {"header"});
    EXPECT_EQ(readFile(_saved), "header" + _pixels);
    saveRawImageFile(_saved.string(), _pImage, {'h', 'e'});
    EXPECT_EQ(readFile(_saved), "he" + _pixels);
    fs::path const missing = _folder / "missing" / "saved.raw";
    expectRaisedText([&] { saveRawImageFile(missing, _pImage, {}); },
                     saveError(missing, "Failed to create raw image file " + missing.string()));
}

// The old file

TEST_F(RawSaveWithOptions, TheOldFileIsThereUntilTheNewOneIsWhole) {
    writeFile(_saved, "earlier");
    auto const pSource = boost::make_shared<HookedImage>(*_pGeometry);
    writePixels(*pSource, _pixels);
    int nbReads = 0;
    pSource->setReadHook([&](int /*access*/) {
        EXPECT_EQ(readFile(_saved), "earlier");
        ++nbReads;
        return success();
    });
    saveRawImageFile(_saved, pSource, RawWriteOptions());
    EXPECT_GT(nbReads, 0);
    EXPECT_EQ(readFile(_saved), _pixels);
    EXPECT_THAT(list(), UnorderedElementsAre("saved.raw"));
}

TEST_F(RawSaveWithOptions, AFailedSaveLeavesTheOldFileOrNone) {
    auto const pSource = boost::make_shared<HookedImage>(*_pGeometry);
    pSource->setReadHook(failAt(3, "the last plane is gone"));
    auto const save = [&] { saveRawImageFile(_saved, pSource, makeOptions("head")); };
    expectRaisedText(save, saveError(_saved, "the last plane is gone"));
    EXPECT_THAT(list(), UnorderedElementsAre());
    writeFile(_saved, "earlier");
    pSource->setReadHook([](int /*access*/) -> BoolResult { throw std::out_of_range("thrown"); });
    EXPECT_THROW(save(), std::out_of_range);
    EXPECT_EQ(readFile(_saved), "earlier");
    EXPECT_THAT(list(), UnorderedElementsAre("saved.raw"));
}

TEST_F(RawSaveWithOptions, InPlaceAFailedSaveLeavesTheFileIncomplete) {
    writeFile(_saved, "earlier");
    auto const pSource = boost::make_shared<HookedImage>(*_pGeometry);
    writePixels(*pSource, _pixels);
    pSource->setReadHook(failAt(3, "the last plane is gone"));
    expectRaisedText([&] { saveRawImageFile(_saved, pSource, makeOptions("head", false)); },
                     saveError(_saved, "the last plane is gone"));
    EXPECT_EQ(readFile(_saved), "head" + _pixels.substr(0, 72) + std::string(24, '\0'));
    EXPECT_THAT(list(), UnorderedElementsAre("saved.raw"));
}

TEST_F(RawSaveWithOptions, AKilledSaveLeavesTheOldFileAndTheNextSaveTidiesUp) {
    writeFile(_saved, "earlier");
    auto const pSource = boost::make_shared<HookedImage>(*_pGeometry);
    pSource->setReadHook([](int access) {
        if (access == 2) {
            raise(SIGKILL);
        }
        return success();
    });
    EXPECT_EQ(inChild([&]() -> std::string {
                  saveRawImageFile(_saved, pSource, RawWriteOptions());
                  return "saved";
              }),
              "killed");
    EXPECT_EQ(readFile(_saved), "earlier");
    EXPECT_EQ(list().size(), 2U);
    saveRawImageFile(_folder / "other.raw", _pImage, RawWriteOptions());
    EXPECT_THAT(list(), UnorderedElementsAre("other.raw", "saved.raw"));
    EXPECT_EQ(readFile(_saved), "earlier");
}

// What is refused before the file is touched

TEST_F(RawSaveWithOptions, AnImageThatLiesInTheTargetIsRefused) {
    writeFile(_saved, _pixels);
    DiskImagePtr const pImage = openRawImageFile(_saved, *_pGeometry, 0);
    for (bool const bReplaceWhenWhole : {true, false}) {
        expectRaisedText(
            [&] { saveRawImageFile(_saved, pImage, makeOptions("head", bReplaceWhenWhole)); },
            saveError(_saved, "The pixels of the image to save lie in " + _saved.string() + " itself"));
        EXPECT_EQ(readFile(_saved), _pixels);
        expectPassedThrough<processor::VELMOBaseProcessingException>(
            [&] { saveRawImageFile(_saved, ImageConstPtr(), makeOptions("head", bReplaceWhenWhole)); });
        EXPECT_EQ(readFile(_saved), _pixels);
    }
}

// The reason stands in the last line

TEST_F(RawSaveWithOptions, AFileThatCannotBeCreatedIsTheSaveErrorWithTheSystemsReason) {
    fs::path const missing = _folder / "missing" / "saved.raw";
    for (bool const bReplaceWhenWhole : {true, false}) {
        RawWriteOptions const options = makeOptions("head", bReplaceWhenWhole);
        auto const raised = expectRaised([&] { saveRawImageFile(missing, _pImage, options); });
        ASSERT_TRUE(raised);
        EXPECT_EQ(raised->text, saveError(missing, "Failed to create raw image file " + missing.string() +
                                                       "\nNo such file or directory"));
        EXPECT_THAT(raised->function, HasSubstr("saveRawImageFile"));
        fs::path const folder = _folder.getPath();
        expectRaisedText(
            [&] { saveRawImageFile(folder, _pImage, options); },
            saveError(folder, "Failed to create raw image file " + folder.string() + "\nIs a directory"));
        ASSERT_EQ(mkfifo(_saved.c_str(), 0600), 0);
        expectRaisedText(
            [&] { saveRawImageFile(_saved, _pImage, options); },
            saveError(_saved, "Failed to create raw image file " + _saved.string() + "\nIllegal seek"));
        fs::remove(_saved);
    }
}

TEST_F(RawSaveWithOptions, AFullDeviceIsNamedOnce) {
    struct stat device = {};
    if (stat("/dev/full", &device) != 0 || !S_ISCHR(device.st_mode)) {
        GTEST_SKIP() << "this system has no /dev/full";
    }
    for (bool const bReplaceWhenWhole : {true, false}) {
        expectRaisedText(
            [&] { saveRawImageFile("/dev/full", _pImage, makeOptions("head", bReplaceWhenWhole)); },
            saveError("/dev/full",
                      "Failed to write file header for file /dev/full\nNo space left on device"));
        expectRaisedText(
            [&] { saveRawImageFile("/dev/full", _pImage, makeOptions("", bReplaceWhenWhole)); },
            saveError("/dev/full",
                      "Failed to reserve 96 bytes for raw image file /dev/full\nNo space left on device"));
    }
}

TEST_F(RawSaveWithOptions, ALimitOfTheSizeOfFilesIsNamedAndLeavesTheOldFile) {
    writeFile(_saved, "earlier");
    std::string const text = withLimit(RLIMIT_FSIZE, 50, [&]() -> std::string {
        try {
            saveRawImageFile(_saved, _pImage, RawWriteOptions());
        } catch (BaseException const& failure) {
            return failure.what();
        }
        return "saved";
    });
    EXPECT_EQ(text, saveError(_saved, "Failed to reserve 96 bytes for raw image file " + _saved.string() +
                                          "\nFile too large"));
    EXPECT_EQ(readFile(_saved), "earlier");
    EXPECT_THAT(list(), UnorderedElementsAre("saved.raw"));
}

TEST_F(RawSaveWithOptions, WhereTheSystemDidNotFailThereIsNoReason) {
    vlUInt64 const side = vlUInt64{1} << 21U;
    auto const pImage = boost::make_shared<ImmenseImage>(*geometry3d(eIBT_UInt8, side, side, side + 1));
    errno = ENOSPC;
    expectRaisedText([&] { saveRawImageFile(_saved, pImage, RawWriteOptions()); },
                     saveError(_saved, "Failed to reserve " + std::to_string(side * side * (side + 1)) +
                                           " bytes for raw image file " + _saved.string()));
    EXPECT_THAT(list(), UnorderedElementsAre());
}

TEST_F(RawSaveWithOptions, AFailureOfTheSourceHasNoReasonOfTheTargets) {
    writeFile(_path, _pixels);
    DiskImagePtr const pSource = openRawImageFile(_path, *_pGeometry, 0);
    fs::resize_file(_path, 50);
    expectRaisedText([&] { saveRawImageFile(_saved, pSource, RawWriteOptions()); },
                     saveError(_saved, "Failed to read raw image file " + _path.string() +
                                           " for z=0, c=0, t=1, pixelStartOffset=0 and nbPixels=12"));
    EXPECT_THAT(list(), UnorderedElementsAre("image.raw"));
}

} // namespace velmo::test
