// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "ArchiveProcess.h"

#include <VELMOImageFile/TiffImageFile.h>
#include <VELMOImageFile/TiffImageFileUtils.h>
#include <boost/filesystem/operations.hpp>
#include <boost/make_shared.hpp>

namespace velmo::test {

namespace fs = boost::filesystem;
using namespace image;
using namespace image::file;

namespace {

class TiffArchiveProcess : public ArchiveProcess {
  protected:
    TiffArchiveProcess()
        : _path(_folder / "image.tif"), _pGeometry(makeSequence(eIBT_UInt16)),
          _pixels(makePixels(*_pGeometry)) {
        saveTiffImageFile(_path, makeMemoryImage(*_pGeometry, _pixels), eTC_Lzw);
    }

    boost::shared_ptr<TiffImageFile> open(eImageAccessMode access, eTiffDirectoryMode directoryMode) const {
        auto const pAccessor = boost::make_shared<TiffImageFile>();
        std::string ignored;
        EXPECT_TRUE(pAccessor->openFile(_path, access, directoryMode, eTBM_Default, ignored));
        return pAccessor;
    }

    fs::path const _path;
    ImageGeometryPtr const _pGeometry;
    std::string const _pixels;
};

std::string const g_description("sizes 4 3 2 1 2 type eIBT_UInt16\n");

} // namespace

TEST_P(TiffArchiveProcess, ARebuiltAccessorReadsTheSamePixels) {
    writeRecord(open(eIAM_ReadOnly, eTDM_Temporal));
    Outcome const outcome = runReader();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.output, "velmo::image::file::TiffImageFile mode 0 shared 0 " + g_description);
    EXPECT_EQ(readFile(_folder / "pixels"), _pixels);
}

TEST_P(TiffArchiveProcess, AJoinedAccessorOfSeveralFilesReadsTheSamePixels) {
    saveTiffImageFile(_folder / "image2.tif", makeMemoryImage(*_pGeometry, _pixels), eTC_None);
    ImagePtr const pJoined = openTiffImageFiles(_folder.getPath(), "image*.tif", eTDM_Temporal, eTBM_Default);
    writeRecord(boost::dynamic_pointer_cast<DiskImage>(pJoined)->getAccessor());
    Outcome const outcome = runReader();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.output,
              "velmo::image::JoinedImageAccessor mode 0 shared 0 sizes 4 3 2 1 4 type eIBT_UInt16\n");
    EXPECT_EQ(readFile(_folder / "pixels"), _pixels + _pixels);
}

TEST_P(TiffArchiveProcess, TheSharedRemoteFlagIsRebuilt) {
    auto const pAccessor = boost::make_shared<TiffImageFile>();
    std::string ignored;
    ASSERT_TRUE(pAccessor->openSharedRemoteFile(_path, eTDM_Volume, eTBM_Default, ignored));
    writeRecord(pAccessor);
    Outcome const outcome = runReader();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.output, "velmo::image::file::TiffImageFile mode 0 shared 1 " + g_description);
}

TEST_P(TiffArchiveProcess, AnotherProcessSeesWhatThisOneHasJustWritten) {
    auto const pAccessor = boost::make_shared<TiffImageFile>();
    ASSERT_TRUE(pAccessor->createFile(_path, *geometry3d(eIBT_UInt8, 3, 2, 2), nullptr));
    ASSERT_TRUE(pAccessor->writeRawData(1, 0, 0, 2, 3, "abc"));
    writeRecord(pAccessor);
    Outcome const outcome = runReader();
    EXPECT_EQ(outcome.status, 0);
    EXPECT_EQ(outcome.output,
              "velmo::image::file::TiffImageFile mode 2 shared 0 sizes 3 2 2 1 1 type eIBT_UInt8\n");
    EXPECT_EQ(readFile(_folder / "pixels"), std::string(8, '\0') + "abc" + '\0');
}

TEST_P(TiffArchiveProcess, AFileThatIsGoneIsRefusedForReadingAloneWithTheSystemsWords) {
    writeRecord(open(eIAM_ReadOnly, eTDM_Volume));
    fs::remove(_path);
    Outcome const outcome = runReader();
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.output, testing::HasSubstr("Failed to open tiff image file " + _path.string()));
    EXPECT_FALSE(fs::exists(_path));
}

// The file that is made anew stands on no directory, where a read fails.
TEST_P(TiffArchiveProcess, AFileThatIsGoneIsMadeAnewForReadingAndWriting) {
    writeRecord(open(eIAM_ReadWrite, eTDM_Volume));
    fs::remove(_path);
    Outcome const outcome = runReader();
    EXPECT_EQ(outcome.status, 1);
    EXPECT_THAT(outcome.output, testing::HasSubstr("TIFFTAG_BITSPERSAMPLE"));
    EXPECT_EQ(readPixels(*loadTiffImageFile(_path, eTBM_Default)), std::string(96, '\0'));
}

INSTANTIATE_TEST_SUITE_P(Archives, TiffArchiveProcess, testing::Values("binary", "xml"), getName);

} // namespace velmo::test
