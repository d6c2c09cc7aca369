// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CapturedLog.h"
#include "ImageBytes.h"
#include "TemporaryFolder.h"
#include "TiffFixture.h"

#include <VELMOImageFile/VELMOImageFile.h>
#include <VELMOImageFile/VELMOImageFileLog.h>

namespace velmo::test {

using namespace image;
using namespace image::file;

namespace {

namespace attr = imaproc::attr;

/// Files that a plain call accepts and a call with options does not.
class OptionCalls : public testing::Test {
  protected:
    OptionCalls() {
        RawDirectory directory = greyDirectory();
        directory.next = 8; // the first directory again
        writeRawTiff(_folder / "circle.tif", {directory});
        writeRawTiff(_folder / "second.tif", {greyDirectory()});
    }

    template <class Call>
    static void expectCheck(Call const& call, eImageFileCheckMessage::domain id) {
        try {
            call();
            ADD_FAILURE() << "a plain call";
        } catch (VELMOImageFileException const& error) {
            EXPECT_TRUE(error.getMessageIds().contains(id)) << error.what();
        }
    }

    TemporaryFolder _folder;
    boost::filesystem::path _circle = _folder / "circle.tif";
};

} // namespace

TEST_F(OptionCalls, AreThoseWithoutAnEnumerator) {
    auto const breaksOff = eImageFileCheckMessage::eIFCM_ChainBreaksOff;
    expectCheck([&] { loadTiffImageFile(_circle); }, breaksOff);
    expectCheck([&] { loadTiffImageFile(_circle, {}); }, breaksOff);
    expectCheck([&] { loadTiffImageFile(_circle, {eTDM_Temporal}); }, breaksOff);
    expectCheck([&] { openTiffImageFile(_circle); }, breaksOff);
    expectCheck([&] { openTiffImageFile(_circle, {}); }, breaksOff);
    expectCheck([&] { openTiffImageFile(_circle, {}, eIAM_ReadWrite); }, breaksOff);
    expectCheck([&] { loadDistributedTiffImageFile(_circle); }, breaksOff);
    expectCheck([&] { loadDistributedTiffImageFile(_circle, {}, true); }, breaksOff);
    expectCheck([&] { loadTiffImageFiles(_folder.getPath(), "circle.tif"); }, breaksOff);
    expectCheck([&] { openTiffImageFiles(_folder.getPath(), "*", {}); }, breaksOff);
    EXPECT_EQ(loadTiffImageFile(_circle, eTBM_Default)->getGeometry().getSizeZ(), 1U);
    EXPECT_EQ(loadTiffImageFile(_circle, eTDM_Volume, eTBM_Default)->getGeometry().getSizeZ(), 1U);
}

TEST_F(OptionCalls, OfAModelTakeEmptyBraces) {
    DistributedImagePtr const pModel = loadDistributedTiffImageFile(_folder / "second.tif");
    auto const breaksOff = eImageFileCheckMessage::eIFCM_ChainBreaksOff;
    expectCheck([&] { loadDistributedTiffImageFile(_circle, *pModel); }, breaksOff);
    expectCheck([&] { loadDistributedTiffImageFile(_circle, *pModel, {}); }, breaksOff);
    expectCheck([&] { loadDistributedTiffImageFile(_circle, *pModel, {}, false); }, breaksOff);
    EXPECT_TRUE(loadDistributedTiffImageFile(_circle, *pModel, eTBM_Default, false));
}

TEST_F(OptionCalls, OfUnevenPlanesTakeEmptyBraces) {
    writeFile(_folder / "steps.txt", "no number\n");
    auto const load = [&](auto... options) {
        return loadCustomZStackImageFiles(_folder.getPath(), _folder / "steps.txt", 2, attr::eIP_Linear,
                                          "second.tif", options...);
    };
    EXPECT_TRUE(load(eTBM_Default)); // one match is not resampled, and the steps are not read
    EXPECT_THROW(load(), VELMOImageFileException);
    EXPECT_THROW(loadCustomZStackImageFiles(_folder.getPath(), _folder / "steps.txt", 2, attr::eIP_Linear,
                                            "second.tif", {}),
                 VELMOImageFileException);
}

TEST_F(OptionCalls, OfASaveTakeBracesForTheOptions) {
    ImageGeometryPtr const pEmpty = geometry3d(eIBT_UInt8, 4, 3, 0);
    ImagePtr const pImage = makeMemoryImage(*pEmpty, "");
    boost::filesystem::path const path = _folder / "saved.tif";
    auto const withoutPixels = eImageFileCheckMessage::eIFCM_ImageWithoutPixels;
    expectCheck([&] { saveTiffImageFile(path, pImage); }, withoutPixels);
    expectCheck([&] { saveTiffImageFile(path, pImage, {}); }, withoutPixels);
    expectCheck([&] { saveTiffImageFile(path, pImage, {eTC_Lzw}); }, withoutPixels);
    expectCheck([&] { saveTiffImageFile(path, pImage, {eTC_Lzw, false}); }, withoutPixels);
    CapturedLog const log(getVELMOImageFileLogger());
    EXPECT_NO_THROW(saveTiffImageFile(path, pImage, eTC_Lzw));
    ASSERT_EQ(log.getRecords().size(), 1U);
    EXPECT_EQ(log.getRecords()[0].message, "The image has no pixels, its file could not be loaded again");
    EXPECT_EQ(log.getRecords()[0].level, log4cplus::WARN_LOG_LEVEL);
}

TEST_F(OptionCalls, InBracesCompressAsTheySay) {
    ImageGeometryPtr const pGeometry = geometry3d(eIBT_UInt8, 64, 64, 1);
    ImagePtr const pImage = makeMemoryImage(*pGeometry, std::string(64 * 64, 'a'));
    saveTiffImageFile(_folder / "plain.tif", pImage, {});
    saveTiffImageFile(_folder / "lzw.tif", pImage, {eTC_Lzw});
    EXPECT_GT(readFile(_folder / "plain.tif").size(), 64U * 64U);
    EXPECT_LT(readFile(_folder / "lzw.tif").size(), 64U * 64U);
}

} // namespace velmo::test
