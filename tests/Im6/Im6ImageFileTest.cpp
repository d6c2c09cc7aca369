// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Im6ImageFileFixture.h"

#include <VELMOImage/GeometricCalibration.h>
#include <VELMOImage/VELMOImageLog.h>
#include <VELMOImageFile/VELMOImageFileLog.h>
#include <VELMOSerialization/DynamicObjectFactory.h>
#include <VELMOUtil/Logging.h>
#include <VELMOUtil/VELMOUtilLog.h>
#include <boost/filesystem/operations.hpp>
#include <fcntl.h>
#include <sys/stat.h>

namespace velmo::image::file {

namespace {

namespace fs = boost::filesystem;

/// The words of the failures to open a path in each mode, in a child, which would be killed if one hung.
std::string openAllWays(path const& path) {
    return inChild([&] {
        Im6ImageFile file;
        return file.openFile(path, eIAM_ReadOnly).getMessage() + ";" +
               file.openFile(path, eIAM_ReadWrite).getMessage() + ";" +
               file.openSharedRemoteFile(path, eIAM_ReadOnly).getMessage();
    });
}

std::string refusedAllWays(path const& path) {
    return openFailed(path) + ";" + openFailed(path) + ";" + openFailed(path);
}

// Identity

TEST(Im6ImageFile, NamesItsClassAndVersion) {
    Im6ImageFile const file;
    EXPECT_EQ(Im6ImageFile::getTypeName(), "velmo::image::file::Im6ImageFile");
    EXPECT_EQ(file.getClassName(), "velmo::image::file::Im6ImageFile");
    EXPECT_EQ(Im6ImageFile::getVersion(), 1U);
}

TEST(Im6ImageFile, IsMadeByItselfAndByTheFactoryAsANewObjectWithoutAFile) {
    Im6ImageFile const file;
    DynamicObjectFactory const& factory = DynamicObjectFactory::getInstance();
    DynamicObjectPtr const objects[] = {
        DynamicObjectPtr(Im6ImageFile::createNewObject()),
        Im6ImageFile::createSharedObject(),
        DynamicObjectPtr(file.createNew()),
        file.createShared(),
        DynamicObjectPtr(factory.createNew("velmo::image::file::Im6ImageFile")),
        factory.createShared("velmo::image::file::Im6ImageFile")};
    for (DynamicObjectPtr const& pObject : objects) {
        auto const pFile = boost::dynamic_pointer_cast<Im6ImageFile>(pObject);
        ASSERT_TRUE(pFile);
        EXPECT_FALSE(pFile->isInit());
    }
}

TEST(Im6ImageFile, CannotBeCopied) {
    Im6ImageFile file;
    Im6ImageFile const other;
    std::string const text = "Objects of class velmo::image::file::Im6ImageFile cannot be copied";
    CapturedLog const log(getVELMOUtilLogger());
    EXPECT_FALSE(file.hasCopySupport());
    EXPECT_EQ(thrownText<VELMOUtilException>([&] { file.copy(other); }), text);
    EXPECT_EQ(thrownText<VELMOUtilException>([&] { file.duplicate(); }), text);
    EXPECT_EQ(thrownText<VELMOUtilException>([&] { file.duplicateShared(); }), text);
    EXPECT_EQ(log.getRecords().size(), 3U);
}

// Without a file

TEST(Im6ImageFile, ReadingWithoutAFileFailsAtTheOpening) {
    Im6ImageFile file;
    EXPECT_FALSE(file.isInit());
    EXPECT_THAT(tryRead(file, {}), FailsWith(openFailed("")));
}

TEST(Im6ImageFile, WritingAndResizingWithoutAFileDoNothingAndSucceed) {
    Im6ImageFile file;
    EXPECT_THAT(tryWrite(file, {9, 9, 9, 9, 9}), Succeeds());
    EXPECT_THAT(file.writeRawData(0, 0, 0, 0, 1, nullptr), Succeeds());
    EXPECT_THAT(file.resizeData(*geometry3d(eIBT_UInt8, 1, 1, 1)), Succeeds());
    EXPECT_FALSE(file.isInit());
}

TEST(Im6ImageFile, TheStorageOfBinaryPixelsIsUnknownWithoutAFile) {
    Im6ImageFile const file;
    CapturedLog const log(getVELMOImageLogger());
    EXPECT_EQ(thrownText<VELMOImageException>([&] { file.hasBinary8BitsStorage(); }),
              "The image accessor is not initialised");
    EXPECT_EQ(log.getRecords().size(), 1U);
}

TEST_F(Im6ImageFileTest, BinaryPixelsAreStoredInOneByteEachInAnyOpenFile) {
    for (std::uint32_t const dataType : {20U, 34U}) {
        Im6Sample sample;
        sample.dataType = dataType;
        sample.pixels = countingBytes(12);
        Im6ImageFile file;
        open(sample, file);
        EXPECT_TRUE(file.hasBinary8BitsStorage());
        EXPECT_EQ(readPixels(file, {0, 0, 0, 0, 12}), sample.pixels);
        file.clear();
        EXPECT_THROW(file.hasBinary8BitsStorage(), VELMOImageException);
    }
}

// Opening

TEST_F(Im6ImageFileTest, AnOpenAccessorDescribesItsFile) {
    for (eImageAccessMode const accessMode : g_accessModes) {
        Im6ImageFile file;
        open(makeIm6Sequence(), file, accessMode);
        EXPECT_TRUE(file.isInit());
        EXPECT_EQ(file.getFilePath(), _path);
        EXPECT_EQ(file.getAccessMode(), accessMode);
        EXPECT_EQ(describeGeometry(file.getGeometry()), "x=2 y=1 z=2 c=3 t=2 eIBT_UInt16");
        EXPECT_FALSE(file.getGeometricCalibrationConstPtr());
        EXPECT_FALSE(file.hasSharedRemoteAccess());
    }
}

TEST_F(Im6ImageFileTest, NothingIsLoggedByAnOpeningThatSucceedsOrFails) {
    CapturedLog const log(getBaseLogger());
    Im6ImageFile file;
    open(makeIm6Sequence(), file);
    EXPECT_FALSE(file.openFile(_folder / "missing.im6", eIAM_ReadOnly));
    expectTooShort(Im6Sample().toHeader(), 128);
    EXPECT_TRUE(log.getRecords().empty());
}

TEST_F(Im6ImageFileTest, ASharedRemoteOpeningIsRemembered) {
    makeIm6Sequence().write(_path);
    Im6ImageFile file;
    for (eImageAccessMode const accessMode : g_accessModes) {
        ASSERT_THAT(file.openSharedRemoteFile(_path, accessMode), Succeeds());
        EXPECT_TRUE(file.hasSharedRemoteAccess());
        EXPECT_EQ(file.getAccessMode(), accessMode);
        ASSERT_THAT(file.openFile(_path, accessMode), Succeeds());
        EXPECT_FALSE(file.hasSharedRemoteAccess());
    }
}

TEST_F(Im6ImageFileTest, AFileOfAnotherFormatIsThrownAndLeavesNoFileInTheAccessor) {
    path const other = _folder / "other.im6";
    Im6Sample sample = makeIm6Sequence();
    sample.magic = 0x6935;
    sample.write(other);
    for (eImageAccessMode const accessMode : g_accessModes) {
        Im6ImageFile file;
        open(makeIm6Sequence(), file);
        CapturedLog const log(getVELMOImageLogger());
        CapturedLog const moduleLog(getVELMOImageFileLogger());
        EXPECT_EQ(thrownText<VELMOImageException>([&] { file.openFile(other, accessMode); }),
                  g_invalidFormat);
        EXPECT_EQ(log.getRecords().size(), 1U);
        EXPECT_TRUE(moduleLog.getRecords().empty());
        EXPECT_FALSE(file.isInit());
        EXPECT_EQ(countDescriptors(other), 0U);
        EXPECT_EQ(countDescriptors(_path), 0U);
    }
}

TEST_F(Im6ImageFileTest, ADataTypeThatIsNotKnownOpensAsPixelsOfNoBytes) {
    for (std::uint32_t const dataType : {3U, 21U, 64U, 67U, 0xFFFFFFFFU}) {
        Im6Sample sample;
        sample.dataType = dataType;
        Im6ImageFile file;
        open(sample, file);
        EXPECT_EQ(file.getGeometry().getBufferType(), eIBT_None);
        EXPECT_EQ(readPixels(file, {0, 0, 0, 0, 12}), "");
    }
}

TEST_F(Im6ImageFileTest, AMissingFileIsRefusedAndNotMade) {
    EXPECT_EQ(openAllWays(_path), refusedAllWays(_path));
    EXPECT_FALSE(fs::exists(_path));
}

TEST_F(Im6ImageFileTest, ADirectoryIsRefused) {
    EXPECT_EQ(openAllWays(_folder.getPath()), refusedAllWays(_folder.getPath()));
}

TEST_F(Im6ImageFileTest, AnEmptyPathIsRefused) {
    EXPECT_EQ(openAllWays(""), refusedAllWays(""));
}

TEST_F(Im6ImageFileTest, ANamedPipeIsRefusedAndDoesNotHang) {
    ASSERT_EQ(mkfifo(_path.c_str(), 0600), 0);
    EXPECT_EQ(openAllWays(_path), refusedAllWays(_path));
}

TEST_F(Im6ImageFileTest, APathStandsInATextAsItIs) {
    path const odd = _folder / "a \"b\" & %s.im6";
    Im6ImageFile file;
    EXPECT_THAT(
        file.openFile(odd, eIAM_ReadOnly),
        FailsWith("Failed to open im6 image file " + _folder.getPath().string() + "/a \"b\" & %s.im6"));
}

TEST_F(Im6ImageFileTest, AFileThatTheUserMayNotWriteOpensForReadingAlone) {
    makeIm6Sequence().write(_path);
    fs::permissions(_path, fs::owner_read | fs::group_read | fs::others_read);
    std::string const texts = asOrdinaryUser([&] {
        Im6ImageFile file;
        return file.openFile(_path, eIAM_ReadOnly).getMessage() + ";" +
               file.openFile(_path, eIAM_ReadWrite).getMessage();
    });
    if (texts == g_noSuchUser) {
        GTEST_SKIP() << "this process cannot become an ordinary user";
    }
    EXPECT_EQ(texts, ";" + openFailed(_path));
}

// Calibration

TEST_F(Im6ImageFileTest, ACalibrationThatTheTextAnnouncesIsTakenFromBehindTheBlocks) {
    for (std::uint32_t const sizeZ : {1U, 2U}) {
        Im6Sample sample;
        sample.sizeZ = sizeZ;
        sample.pixels = countingBytes(12UL * sizeZ);
        sample.text = g_calibrationText;
        sample.secondBlock = countingBytes(5);
        sample.thirdBlock = countingBytes(7);
        sample.calibration.emplace();
        sample.trailer = "and more";
        Im6ImageFile file;
        open(sample, file);
        GeometricCalibrationConstPtr const pCalibration = file.getGeometricCalibrationConstPtr();
        ASSERT_TRUE(pCalibration);
        EXPECT_EQ(pCalibration->is3d(), sizeZ == 2);
        EXPECT_EQ(pCalibration->getPixelSizeX(), 0.5F);
        EXPECT_EQ(pCalibration->getPixelSizeZ(), sizeZ == 2 ? 1.5F : 1.0F);
        EXPECT_EQ(pCalibration->getFurtherTerms()[2], sizeZ == 2 ? 13.0F : 0.0F);
        EXPECT_EQ(pCalibration->getUnit(), "um");
        EXPECT_EQ(readPixels(file, {0, 0, 0, 0, 12}), countingBytes(12));
    }
}

TEST_F(Im6ImageFileTest, ARecordThatNoWordAnnouncesIsNotLookedAt) {
    for (std::string const& text : {std::string(), std::string("calibration\0", 12),
                                    std::string("\0Calibration", 12), std::string("nothing")}) {
        Im6Sample sample;
        sample.pixels = countingBytes(12);
        sample.text = text;
        sample.calibration.emplace();
        Im6ImageFile file;
        open(sample, file);
        EXPECT_FALSE(file.getGeometricCalibrationConstPtr()) << text;
    }
}

TEST_F(Im6ImageFileTest, TheWordInTheOtherBlocksAnnouncesNothing) {
    Im6Sample sample;
    sample.pixels = countingBytes(12);
    sample.text = "text";
    sample.secondBlock = sample.thirdBlock = sample.trailer = g_calibrationText;
    Im6ImageFile file;
    open(sample, file);
    EXPECT_FALSE(file.getGeometricCalibrationConstPtr());
}

TEST_F(Im6ImageFileTest, TheWordAtTheVeryEndOfALongTextAnnouncesTheRecord) {
    Im6Sample sample;
    sample.pixels = countingBytes(12);
    sample.text = std::string(200000, 'x') + "Calibration";
    sample.calibration.emplace();
    Im6ImageFile file;
    open(sample, file);
    EXPECT_TRUE(file.getGeometricCalibrationConstPtr());
    EXPECT_EQ(readPixels(file, {0, 0, 0, 0, 12}), sample.pixels);
}

TEST_F(Im6ImageFileTest, ASecondOpeningWithoutACalibrationHasNone) {
    Im6Sample sample;
    sample.pixels = countingBytes(12);
    sample.text = g_calibrationText;
    sample.calibration.emplace();
    Im6ImageFile file;
    open(sample, file);
    EXPECT_TRUE(file.getGeometricCalibrationConstPtr());
    open(makeIm6Sequence(), file);
    EXPECT_FALSE(file.getGeometricCalibrationConstPtr());
}

// One object, several files

TEST_F(Im6ImageFileTest, ARepeatedOpeningClosesTheFileBefore) {
    path const second = _folder / "second.im6";
    Im6Sample().write(_folder / "short.im6");
    makeIm6Sequence().write(second);
    Im6ImageFile file;
    open(makeIm6Sequence(), file);
    EXPECT_EQ(countDescriptors(_path), 1U);
    ASSERT_THAT(file.openFile(second, eIAM_ReadWrite), Succeeds());
    EXPECT_EQ(countDescriptors(_path), 0U);
    EXPECT_EQ(countDescriptors(second), 1U);
    EXPECT_FALSE(file.openFile(_folder / "short.im6", eIAM_ReadOnly));
    EXPECT_EQ(countDescriptors(second), 0U);
    EXPECT_FALSE(file.isInit());
    EXPECT_THAT(tryRead(file, {}), FailsWith(openFailed("")));
}

TEST_F(Im6ImageFileTest, AnAccessorOpensAnewWithWhatItHolds) {
    Im6ImageFile file;
    open(makeIm6Sequence(), file, eIAM_ReadWrite);
    ASSERT_THAT(file.openFile(file.getFilePath(), eIAM_ReadOnly), Succeeds());
    EXPECT_EQ(file.getFilePath(), _path);
    ASSERT_THAT(file.openSharedRemoteFile(file.getFilePath(), eIAM_ReadOnly), Succeeds());
    EXPECT_EQ(file.getFilePath(), _path);
    EXPECT_EQ(readPixels(file, {0, 0, 0, 0, 2}), countingBytes(4));
}

TEST_F(Im6ImageFileTest, ClearingClosesTheStreamsOfAllThreads) {
    Im6ImageFile file;
    open(makeIm6Sequence(), file);
    onThreads(3, [&](unsigned int) { EXPECT_THAT(tryRead(file, {}), Succeeds()); });
    EXPECT_EQ(countDescriptors(_path), 4U);
    file.clear();
    EXPECT_EQ(countDescriptors(_path), 0U);
    EXPECT_FALSE(file.isInit());
}

TEST_F(Im6ImageFileTest, ClearingTheDerivedPartClosesTheStreamsAndKeepsTheDescription) {
    Im6ImageFile file;
    open(makeIm6Sequence(), file);
    file.clearDerived();
    EXPECT_EQ(countDescriptors(_path), 0U);
    EXPECT_TRUE(file.isInit());
    EXPECT_EQ(readPixels(file, {0, 0, 0, 0, 2}), countingBytes(4));
    EXPECT_EQ(countDescriptors(_path), 1U);
}

TEST_F(Im6ImageFileTest, TheEndOfAnAccessorClosesTheStreamsOfAllThreads) {
    {
        Im6ImageFile file;
        open(makeIm6Sequence(), file);
        onThreads(2, [&](unsigned int) { EXPECT_THAT(tryRead(file, {}), Succeeds()); });
        EXPECT_EQ(countDescriptors(_path), 3U);
    }
    EXPECT_EQ(countDescriptors(_path), 0U);
}

} // namespace

} // namespace velmo::image::file
