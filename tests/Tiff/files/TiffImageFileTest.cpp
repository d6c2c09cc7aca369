// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CapturedLog.h"
#include "ThrownText.h"
#include "files/TiffImageFileFixture.h"

#include <VELMOImage/VELMOImageLog.h>
#include <VELMOSerialization/DynamicObjectFactory.h>
#include <VELMOUtil/Logging.h>
#include <VELMOUtil/VELMOUtilLog.h>
#include <boost/filesystem/operations.hpp>

namespace velmo::image::file {

namespace {

using velmo::test::CapturedLog;
using velmo::test::thrownText;

constexpr char const* g_typeName = "velmo::image::file::TiffImageFile";

/// A call that must throw exactly `Exception` and write its text at ERROR, once.
template <class Exception, class Call>
std::string textLoggedAndThrownBy(Call const& call) {
    CapturedLog const log(getBaseLogger());
    std::string const text = thrownText<Exception>(call);
    EXPECT_EQ(log.getRecords().size(), 1U);
    for (CapturedLog::Record const& record : log.getRecords()) {
        EXPECT_EQ(record.level, log4cplus::ERROR_LOG_LEVEL);
        EXPECT_EQ(record.message, text);
    }
    return text;
}

// What it is

TEST_F(TiffImageFileTest, HasItsNameAndVersionInEveryForm) {
    TiffImageFile const file;
    EXPECT_EQ(TiffImageFile::getTypeName(), g_typeName);
    EXPECT_EQ(&TiffImageFile::getTypeName(), &TiffImageFile::getTypeName());
    EXPECT_EQ(TiffImageFile::getVersion(), 1U);
    EXPECT_EQ(file.getClassName(), g_typeName);
    EXPECT_EQ(file.getImageInfoStr(), g_typeName);
}

TEST_F(TiffImageFileTest, IsMadeByItsMakersAndByTheFactory) {
    TiffImageFile const file;
    std::unique_ptr<BaseDynamicObject> const made[] = {
        std::unique_ptr<BaseDynamicObject>(TiffImageFile::createNewObject()),
        std::unique_ptr<BaseDynamicObject>(file.createNew()),
        std::unique_ptr<BaseDynamicObject>(DynamicObjectFactory::getInstance().createNew(g_typeName))};
    for (auto const& pObject : made) {
        auto const* const pFile = dynamic_cast<TiffImageFile const*>(pObject.get());
        ASSERT_NE(pFile, nullptr);
        EXPECT_FALSE(pFile->isInit());
    }
    for (DynamicObjectPtr const& pObject : {TiffImageFile::createSharedObject(), file.createShared(),
                                            DynamicObjectFactory::getInstance().createShared(g_typeName)}) {
        EXPECT_TRUE(boost::dynamic_pointer_cast<TiffImageFile>(pObject));
    }
}

TEST_F(TiffImageFileTest, EveryCopyIsRefused) {
    TiffImageFile file;
    openExample(file);
    EXPECT_FALSE(file.hasCopySupport());
    TiffImageFile const other;
    std::string const text = textLoggedAndThrownBy<VELMOUtilException>([&] { file.copy(other); });
    EXPECT_THAT(text, testing::HasSubstr(g_typeName));
    EXPECT_EQ(textLoggedAndThrownBy<VELMOUtilException>([&] { delete file.duplicate(); }), text);
    EXPECT_EQ(textLoggedAndThrownBy<VELMOUtilException>([&] { file.duplicateShared(); }), text);
    expectExample(file);
}

TEST_F(TiffImageFileTest, StoresABinaryPixelInAByteOnceAFileIsOpen) {
    TiffImageFile file;
    std::string const text =
        textLoggedAndThrownBy<VELMOImageException>([&] { file.hasBinary8BitsStorage(); });
    EXPECT_FALSE(text.empty());
    openExample(file);
    EXPECT_TRUE(file.hasBinary8BitsStorage());
    file.clear();
    EXPECT_THROW(file.hasBinary8BitsStorage(), VELMOImageException);
}

// Without a file

TEST_F(TiffImageFileTest, HasNoFileAtFirst) {
    TiffImageFile const file;
    EXPECT_FALSE(file.isInit());
    EXPECT_TRUE(file.getFilePath().empty());
    EXPECT_THROW(file.getGeometry(), VELMOImageException);
}

TEST_F(TiffImageFileTest, AReadWithoutAFileIsAFailureAndAWriteThrows) {
    TiffImageFile file;
    testing::internal::CaptureStdout();
    BoolResult const result = tryRead(file, {});
    std::string const printed = testing::internal::GetCapturedStdout();
    EXPECT_FALSE(result);
    EXPECT_FALSE(result.getMessage().empty());
    EXPECT_EQ(printed, result.getMessage() + '\n');
    EXPECT_THROW(tryWrite(file, {}), VELMOImageException);
    EXPECT_THROW(tryWrite(file, {}), VELMOImageException); // the lock was given back
}

TEST_F(TiffImageFileTest, AResizingWithoutAFileFails) {
    TiffImageFile file;
    EXPECT_THAT(file.resizeData(*_pGeometry), FailsLike("Failed to create tiff image file"));
    EXPECT_FALSE(file.isInit());
}

// What closes the file

TEST_F(TiffImageFileTest, OneDescriptorIsOpenUntilTheAccessorGoes) {
    {
        TiffImageFile file;
        openExample(file);
        expectExample(file);
        EXPECT_EQ(countDescriptors(_path), 1U);
    }
    EXPECT_EQ(countDescriptors(_path), 0U);
}

TEST_F(TiffImageFileTest, ClearingClosesTheFileAndForgetsIt) {
    TiffImageFile file;
    openExample(file, eIAM_ReadWrite);
    file.clear();
    EXPECT_EQ(countDescriptors(_path), 0U);
    EXPECT_FALSE(file.isInit());
    EXPECT_TRUE(file.getFilePath().empty());
    file.clear();
    EXPECT_FALSE(file.isInit());
}

TEST_F(TiffImageFileTest, OpeningAnotherFileClosesTheFirst) {
    TiffImageFile file;
    openExample(file);
    path const other = _folder / "other.tif";
    writeExample(other);
    ASSERT_THAT(openFile(file, other), Succeeds());
    EXPECT_EQ(countDescriptors(_path), 0U);
    EXPECT_EQ(countDescriptors(other), 1U);
    expectExample(file);
}

TEST_F(TiffImageFileTest, AFailedOpenLeavesTheEarlierFileClosed) {
    path const missing = _folder / "missing.tif";
    TiffImageFile file;
    openExample(file);
    EXPECT_THAT(openFile(file, missing), FailsInWords(openFailed(missing)));
    EXPECT_EQ(countDescriptors(_path), 0U);
    EXPECT_FALSE(file.isInit());
    openExample(file);
    EXPECT_THAT(file.openSharedRemoteFile(missing, eTDM_Volume, eTBM_Default, _userProperties),
                FailsInWords(openFailed(missing)));
    EXPECT_EQ(countDescriptors(_path), 0U);
    EXPECT_FALSE(file.isInit());
    EXPECT_FALSE(file.hasSharedRemoteAccess());
}

TEST_F(TiffImageFileTest, AFailedCreationLeavesTheEarlierFileClosed) {
    TiffImageFile file;
    openExample(file);
    path const target = _folder / "missing" / "image.tif";
    EXPECT_THAT(file.createFile(target, *_pGeometry, nullptr),
                FailsInWords("Failed to create tiff image file " + target.string() + "\n"));
    EXPECT_EQ(countDescriptors(_path), 0U);
    EXPECT_FALSE(file.isInit());
}

TEST_F(TiffImageFileTest, AReadWithoutBitsPerSampleClosesTheFileAndLaterAccessesFail) {
    TiffImageFile file;
    ASSERT_THAT(file.createFile(_path, *_pGeometry, nullptr), Succeeds());
    EXPECT_THAT(tryRead(file, {}), FailsInWords(getTagFailed("TIFFTAG_BITSPERSAMPLE", _path)));
    EXPECT_EQ(countDescriptors(_path), 0U);
    for (int round = 0; round < 2; ++round) {
        EXPECT_THAT(tryRead(file, {}), FailsWith(closedEarlier(_path)));
        EXPECT_THAT(tryWrite(file, {}), FailsWith(closedEarlier(_path)));
    }
    EXPECT_TRUE(file.isInit());
    EXPECT_THAT(openFile(file, _path, {eIAM_ReadWrite}), Succeeds());
    EXPECT_EQ(readPixels(file, wholePlane(file, 1, 1, 1)), std::string(24, '\0'));
}

TEST_F(TiffImageFileTest, AWriteWithoutRowsPerStripClosesTheFileAndLaterAccessesFail) {
    RawDirectory directory = greyDirectory(); // libtiff gives an uncompressed one rows per strip
    directory.set(TIFFTAG_COMPRESSION, shorts({COMPRESSION_LZW})).without(TIFFTAG_ROWSPERSTRIP);
    writeRawTiff(_path, {directory});
    TiffImageFile file;
    ASSERT_THAT(openFile(file, _path, {eIAM_ReadWrite}), Succeeds());
    EXPECT_THAT(tryWrite(file, {}), FailsInWords(getTagFailed("TIFFTAG_ROWSPERSTRIP", _path)));
    EXPECT_EQ(countDescriptors(_path), 0U);
    EXPECT_THAT(tryWrite(file, {}), FailsWith(closedEarlier(_path)));
    EXPECT_THAT(tryRead(file, {}), FailsWith(closedEarlier(_path)));
}

} // namespace

} // namespace velmo::image::file
