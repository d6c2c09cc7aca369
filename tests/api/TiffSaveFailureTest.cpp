// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "PrivateDisk.h"
#include "TiffFunctions.h"

#include <VELMOBaseProcessing/VELMOBaseProcessingLog.h>
#include <boost/filesystem/operations.hpp>
#include <boost/make_shared.hpp>
#include <gmock/gmock.h>
#include <sys/resource.h>
#include <sys/stat.h>

namespace velmo::test {

namespace fs = boost::filesystem;
using namespace image;
using namespace image::file;

namespace {

class TiffSaveFailure : public TiffFunctions {
  protected:
    TiffSaveFailure() : _pImage(makeMemoryImage(*_pGeometry, _pixels)) {}

    std::string trySave(fs::path const& path, ImageConstPtr const& pImage,
                        eTiffCompression compression = eTC_None) const {
        return textThrownBy([&] { saveTiffImageFile(path, pImage, compression); });
    }

    ImagePtr _pImage;
};

/// Pixels that a codec cannot make smaller.
ImagePtr makeLargeImage() {
    auto const pGeometry = geometry3d(eIBT_UInt16, 100, 100, 20);
    return makeMemoryImage(*pGeometry, makePixels(*pGeometry));
}

} // namespace

// Targets that cannot be written

TEST_F(TiffSaveFailure, AMissingFolderOrAFolderIsTheSaveErrorWithTheSystemsWords) {
    fs::path const missing = _folder / "missing" / "image.tif";
    fs::path const& folder = _folder.getPath();
    expectRaisedText([&] { saveTiffImageFile(missing, _pImage, eTC_None); },
                     saveError(missing, createFailed(missing, "No such file or directory")));
    expectRaisedText([&] { saveTiffImageFile(folder, _pImage, eTC_None); },
                     saveError(folder, createFailed(folder, "Is a directory")));
}

TEST_F(TiffSaveFailure, AFileThatMustNotBeWrittenIsTheSaveErrorAndStaysAsItIs) {
    writeFile(_path, "not to be written");
    fs::permissions(_folder.getPath(), fs::perms(0755));
    fs::permissions(_path, fs::perms(0444));
    std::string const text = asOrdinaryUser([&] { return trySave(_path, _pImage); });
    if (text == g_noSuchUser) {
        GTEST_SKIP() << "this process cannot become another user";
    }
    EXPECT_EQ(text, saveError(_path, createFailed(_path, "Permission denied")));
    EXPECT_EQ(readFile(_path), "not to be written");
}

#if !defined(__clang__)
TEST_F(TiffSaveFailure, ARaiseNamesThePublicFunctionInFull) {
    auto const raised = expectRaised([&] { saveTiffImageFile("/missing/folder", _pImage, eTC_None); });
    EXPECT_EQ(raised ? raised->function : std::string(),
              "void velmo::image::file::saveTiffImageFile(const boost::filesystem::path&, const "
              "velmo::image::ImageConstPtr&, const eTiffCompression&)");
}
#endif

TEST_F(TiffSaveFailure, PlanesWithoutPixelsAreTheSaveErrorWithLibtiffsWords) {
    ImageGeometryPtr const geometries[] = {geometry3d(eIBT_UInt8, 0, 3, 2), geometry3d(eIBT_UInt8, 3, 0, 2),
                                           geometry3d(eIBT_None, 3, 3, 1)};
    for (ImageGeometryPtr const& pGeometry : geometries) {
        SCOPED_TRACE(describeGeometry(*pGeometry));
        auto const raised =
            expectRaised([&] { saveTiffImageFile(_path, makeMemoryImage(*pGeometry, ""), eTC_None); });
        ASSERT_TRUE(raised);
        EXPECT_THAT(raised->text, testing::StartsWith(saveError(_path, "")));
        EXPECT_THAT(raised->text, testing::ContainsRegex("\nTiff Error : ."));
        EXPECT_EQ(countOpen(_path), 0);
    }
}

// Full disks

TEST_F(TiffSaveFailure, WhereverTheDiskIsFullTheSaveErrorNamesTheFileWithLibtiffsWords) {
    ImagePtr const pLarge = makeLargeImage();
    for (eTiffCompression const compression : {eTC_None, eTC_Lzw, eTC_Deflate}) {
        saveTiffImageFile(_path, pLarge, compression);
        vlUInt64 const size = fs::file_size(_path);
        for (vlUInt64 const limit :
             {vlUInt64{0}, vlUInt64{4}, vlUInt64{1000}, size / 3, size / 2, size - 300}) {
            SCOPED_TRACE(testing::Message() << compression << " limit " << limit);
            fs::remove(_path);
            std::string const text =
                withLimit(RLIMIT_FSIZE, limit, [&] { return trySave(_path, pLarge, compression); });
            EXPECT_THAT(text, testing::StartsWith(saveError(_path, "")));
            std::string const nested = text.substr(std::min(text.size(), saveError(_path, "").size()));
            EXPECT_THAT(nested, testing::HasSubstr(_path.string()));
            EXPECT_THAT(nested, testing::ContainsRegex("\nTiff (Error|Warning) : ."));
            EXPECT_TRUE(fs::exists(_path));
        }
    }
}

// Sources that must not be saved

TEST_F(TiffSaveFailure, ASaveOntoTheFileThatHoldsItsPixelsIsRefusedAndLeavesThem) {
    saveExample(eTC_Lzw);
    std::string const bytes = readFile(_path);
    fs::path const link = _folder / "link.tif";
    fs::path const hardLink = _folder / "hard-link.tif";
    fs::create_symlink(_path, link);
    fs::create_hard_link(_path, hardLink);
    DiskImagePtr const pImage = openTiffImageFile(_path, eTDM_Volume, eTBM_Default);
    for (fs::path const& target : {_path, link, hardLink, _folder.getPath() / "." / "image.tif"}) {
        expectRaisedText(
            [&] { saveTiffImageFile(target, pImage, eTC_None); },
            saveError(target, "The pixels of the image to save lie in " + target.string() + " itself"));
        EXPECT_EQ(readFile(_path), bytes);
    }
    EXPECT_EQ(readPixels(*pImage), _pixels);
    saveTiffImageFile(_folder / "copy.tif", pImage, eTC_None);
    EXPECT_EQ(readPixels(*loadTiffImageFile(_folder / "copy.tif", eTBM_Default)), _pixels);
}

TEST_F(TiffSaveFailure, ASaveOfNoImageIsRefusedBeforeTheFileIsTouched) {
    writeFile(_path, "untouched");
    expectPassedThrough<processor::VELMOBaseProcessingException>(
        [&] { saveTiffImageFile(_path, ImageConstPtr(), eTC_None); });
    EXPECT_EQ(readFile(_path), "untouched");
}

} // namespace velmo::test
