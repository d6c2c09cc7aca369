// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CapturedLog.h"
#include "RawImageFileFixture.h"

#include <VELMOImage/VELMOImageLog.h>
#include <VELMOImageFile/VELMOImageFileLog.h>
#include <VELMOSerialization/DynamicObjectFactory.h>
#include <VELMOUtil/VELMOUtilLog.h>

#include <boost/filesystem/operations.hpp>

namespace velmo::image::file {

namespace {

using velmo::test::readFile;
using velmo::test::writeFile;

// Identity

TEST(RawImageFile, NamesItsClassAndVersion) {
    RawImageFile const file;
    EXPECT_EQ(RawImageFile::getTypeName(), "velmo::image::file::RawImageFile");
    EXPECT_EQ(file.getClassName(), "velmo::image::file::RawImageFile");
    EXPECT_EQ(RawImageFile::getVersion(), 2U);
}

TEST(RawImageFile, IsMadeByItselfAndByTheFactoryAsANewObjectWithoutAFile) {
    RawImageFile const file;
    DynamicObjectFactory const& factory = DynamicObjectFactory::getInstance();
    DynamicObjectPtr const objects[] = {
        DynamicObjectPtr(RawImageFile::createNewObject()),
        RawImageFile::createSharedObject(),
        DynamicObjectPtr(file.createNew()),
        file.createShared(),
        DynamicObjectPtr(factory.createNew("velmo::image::file::RawImageFile")),
        factory.createShared("velmo::image::file::RawImageFile")};
    for (DynamicObjectPtr const& pObject : objects) {
        auto const pFile = boost::dynamic_pointer_cast<RawImageFile>(pObject);
        ASSERT_TRUE(pFile);
        EXPECT_FALSE(pFile->isInit());
    }
}

TEST(RawImageFile, CannotBeCopied) {
    RawImageFile file;
    RawImageFile const other;
    std::string const text = "Objects of class velmo::image::file::RawImageFile cannot be copied";
    EXPECT_FALSE(file.hasCopySupport());
    EXPECT_EQ(textThrownBy<VELMOUtilException>([&] { file.copy(other); }), text);
    EXPECT_EQ(textThrownBy<VELMOUtilException>([&] { other.duplicate(); }), text);
    EXPECT_EQ(textThrownBy<VELMOUtilException>([&] { other.duplicateShared(); }), text);
}

// Without a file

TEST(RawImageFile, ReadingAndResizingWithoutAFileFailAtTheOpening) {
    RawImageFile file;
    EXPECT_FALSE(file.isInit());
    EXPECT_THAT(tryRead(file, {}), FailsWith(openFailed("")));
    EXPECT_THAT(file.resizeData(*makeExampleGeometry()), FailsWith(openFailed("")));
}

TEST(RawImageFile, WritingWithoutAFileIsThrownSinceThereIsNoGeometry) {
    RawImageFile file;
    EXPECT_EQ(textThrownBy<VELMOImageException>([&] { tryWrite(file, {}); }),
              "The image accessor is not initialised");
}

TEST(RawImageFile, TheStorageOfBinaryPixelsIsUnknownWithoutAFile) {
    RawImageFile const file;
    velmo::test::CapturedLog const log(getVELMOImageLogger());
    EXPECT_EQ(textThrownBy<VELMOImageException>([&] { file.hasBinary8BitsStorage(); }),
              "The image accessor is not initialised");
    EXPECT_EQ(log.getRecords().size(), 1U);
}

TEST_F(RawImageFileTest, BinaryPixelsAreStoredInOneByteEachInAnyOpenFile) {
    RawImageFile file;
    openExample(file, eIAM_ReadOnly);
    EXPECT_TRUE(file.hasBinary8BitsStorage());
    file.clear();
    EXPECT_THROW(file.hasBinary8BitsStorage(), VELMOImageException);
}

// Creating

TEST_F(RawImageFileTest, ACreatedFileHoldsTheHeaderAndZeros) {
    RawImageFile file;
    std::string const header = "sixteen byte hdr";
    ASSERT_THAT(file.createFile(_path, *makeExampleGeometry(), header), Succeeds());
    EXPECT_EQ(readFile(_path), header + std::string(96, '\0'));
}

TEST_F(RawImageFileTest, ACreatedAccessorDescribesItsFile) {
    RawImageFile file;
    ASSERT_THAT(file.createFile(_path, *makeExampleGeometry(), ""), Succeeds());
    EXPECT_TRUE(file.isInit());
    EXPECT_EQ(file.getFilePath(), _path);
    EXPECT_EQ(file.getAccessMode(), eIAM_ReadWrite);
    EXPECT_TRUE(haveSamePixels(file.getGeometry(), *makeExampleGeometry()));
    EXPECT_FALSE(file.getGeometricCalibrationConstPtr());
    EXPECT_FALSE(file.hasSharedRemoteAccess());
}

TEST_F(RawImageFileTest, AHeaderKeepsItsZeroBytes) {
    RawImageFile file;
    std::string const header("a\0b\0", 4);
    ASSERT_THAT(file.createFile(_path, *makeGeometry(eIBT_UInt8, {2}), header), Succeeds());
    EXPECT_EQ(readFile(_path), std::string("a\0b\0\0\0", 6));
}

TEST_F(RawImageFileTest, WithoutAHeaderThePlanesBeginAtByteZero) {
    RawImageFile file;
    ASSERT_THAT(file.createFile(_path, *makeExampleGeometry(), ""), Succeeds());
    writePixels(file, {0, 0, 0, 0, 1}, "ab");
    EXPECT_EQ(readFile(_path), "ab" + std::string(94, '\0'));
}

TEST_F(RawImageFileTest, AGeometryOfNoBytesWithoutAHeaderMakesAnEmptyFile) {
    RawImageFile file;
    ASSERT_THAT(file.createFile(_path, *makeGeometry(eIBT_UInt8, {0, 3}), ""), Succeeds());
    EXPECT_TRUE(file.isInit());
    EXPECT_EQ(boost::filesystem::file_size(_path), 0U);
}

TEST_F(RawImageFileTest, AGeometryOfNoBytesLeavesTheHeaderWhole) {
    for (ImageGeometryPtr const& pGeometry :
         {makeGeometry(eIBT_None, {4, 3}), makeGeometry(eIBT_UInt8, {0, 3})}) {
        RawImageFile file;
        ASSERT_THAT(file.createFile(_path, *pGeometry, "head"), Succeeds());
        EXPECT_EQ(readFile(_path), "head");
        EXPECT_THAT(file.openFile(_path, eIAM_ReadOnly, 4, *pGeometry), Succeeds());
    }
}

TEST_F(RawImageFileTest, CreatingEmptiesALongerFile) {
    writeFile(_path, countingBytes(1000));
    RawImageFile file;
    ASSERT_THAT(file.createFile(_path, *makeGeometry(eIBT_UInt8, {3}), "h"), Succeeds());
    EXPECT_EQ(readFile(_path), std::string("h\0\0\0", 4));
}

TEST_F(RawImageFileTest, CreatingWhereThereIsNoFolderFailsAndLeavesNoFileInTheAccessor) {
    RawImageFile file;
    openExample(file, eIAM_ReadOnly);
    path const lost = _folder / "missing" / "planes.raw";
    velmo::test::CapturedLog const log(getVELMOImageFileLogger());
    EXPECT_THAT(file.createFile(lost, *makeExampleGeometry(), ""), FailsWith(createFailed(lost)));
    EXPECT_FALSE(file.isInit());
    EXPECT_EQ(countDescriptors(_path), 0U);
    EXPECT_TRUE(log.getRecords().empty());
}

// Opening

TEST_F(RawImageFileTest, AnOpenAccessorDescribesItsFile) {
    for (eImageAccessMode const accessMode : {eIAM_ReadOnly, g_accessModeOne, eIAM_ReadWrite}) {
        RawImageFile file;
        openExample(file, accessMode);
        EXPECT_TRUE(file.isInit());
        EXPECT_EQ(file.getFilePath(), _path);
        EXPECT_EQ(file.getAccessMode(), accessMode);
        EXPECT_TRUE(haveSamePixels(file.getGeometry(), *makeExampleGeometry()));
        EXPECT_FALSE(file.getGeometricCalibrationConstPtr());
        EXPECT_FALSE(file.hasSharedRemoteAccess());
    }
}

TEST_F(RawImageFileTest, ASharedRemoteOpeningIsRemembered) {
    writeFile(_path, countingBytes(g_exampleEnd));
    RawImageFile file;
    ASSERT_THAT(file.openSharedRemoteFile(_path, eIAM_ReadOnly, g_exampleOffset, *makeExampleGeometry()),
                Succeeds());
    EXPECT_TRUE(file.hasSharedRemoteAccess());
    ASSERT_THAT(file.openFile(_path, eIAM_ReadOnly, g_exampleOffset, *makeExampleGeometry()), Succeeds());
    EXPECT_FALSE(file.hasSharedRemoteAccess());
}

TEST_F(RawImageFileTest, AFileAsLongAsItsPlanesOpensInAnyMode) {
    writeFile(_path, countingBytes(g_exampleEnd));
    for (eImageAccessMode const accessMode : {eIAM_ReadOnly, g_accessModeOne, eIAM_ReadWrite}) {
        RawImageFile file;
        EXPECT_THAT(file.openFile(_path, accessMode, g_exampleOffset, *makeExampleGeometry()), Succeeds());
    }
}

TEST_F(RawImageFileTest, AFileOneByteTooShortIsRefusedWhenOpenedReadOnly) {
    writeFile(_path, countingBytes(g_exampleEnd - 1));
    RawImageFile file;
    EXPECT_THAT(file.openFile(_path, eIAM_ReadOnly, g_exampleOffset, *makeExampleGeometry()),
                FailsWith(geometryExceeds(96, 16, 111, _path)));
    EXPECT_FALSE(file.isInit());
    EXPECT_EQ(countDescriptors(_path), 0U);
}

TEST_F(RawImageFileTest, AFileOneByteTooShortIsRefusedAndNotGrownWhenOpenedForWriting) {
    writeFile(_path, countingBytes(g_exampleEnd - 1));
    for (eImageAccessMode const accessMode : {g_accessModeOne, eIAM_ReadWrite}) {
        RawImageFile file;
        EXPECT_THAT(file.openFile(_path, accessMode, g_exampleOffset, *makeExampleGeometry()),
                    FailsWith(reserveFailed(112, _path)));
        EXPECT_FALSE(file.isInit());
        EXPECT_EQ(readFile(_path), countingBytes(g_exampleEnd - 1));
    }
}

TEST_F(RawImageFileTest, TheBytesBehindTheLastPlaneStayAsTheyAre) {
    std::string const bytes = countingBytes(g_exampleEnd + 7);
    writeFile(_path, bytes);
    for (eImageAccessMode const accessMode : {eIAM_ReadOnly, eIAM_ReadWrite}) {
        RawImageFile file;
        ASSERT_THAT(file.openFile(_path, accessMode, g_exampleOffset, *makeExampleGeometry()), Succeeds());
        EXPECT_EQ(readPixels(file, {1, 0, 1, 0, 12}), bytes.substr(88, 24));
        file.clear();
        EXPECT_EQ(readFile(_path), bytes);
    }
}

TEST_F(RawImageFileTest, AFileWithoutPlanesOpensWhenItHoldsTheOffset) {
    writeFile(_path, "1234");
    RawImageFile file;
    EXPECT_THAT(file.openFile(_path, eIAM_ReadOnly, 4, *makeGeometry(eIBT_UInt8, {1, 1, 0})), Succeeds());
    EXPECT_THAT(file.openFile(_path, eIAM_ReadOnly, 5, *makeGeometry(eIBT_UInt8, {1, 1, 0})),
                FailsWith(geometryExceeds(0, 5, 4, _path)));
}

TEST_F(RawImageFileTest, AMissingFileIsRefusedAndNotMade) {
    RawImageFile file;
    for (eImageAccessMode const accessMode : {eIAM_ReadOnly, eIAM_ReadWrite}) {
        EXPECT_THAT(file.openFile(_path, accessMode, 0, *makeExampleGeometry()),
                    FailsWith(openFailed(_path)));
        EXPECT_THAT(file.openSharedRemoteFile(_path, accessMode, 0, *makeExampleGeometry()),
                    FailsWith(openFailed(_path)));
        EXPECT_FALSE(file.isInit());
        EXPECT_FALSE(boost::filesystem::exists(_path));
    }
}

TEST_F(RawImageFileTest, APathStandsInATextAsItIs) {
    path const odd = _folder / "a \"b\" & %s.raw";
    RawImageFile file;
    EXPECT_THAT(
        file.openFile(odd, eIAM_ReadOnly, 0, *makeExampleGeometry()),
        FailsWith("Failed to open raw image file " + _folder.getPath().string() + "/a \"b\" & %s.raw"));
}

// One object, several files

TEST_F(RawImageFileTest, ARepeatedOpeningClosesTheFileBefore) {
    path const second = _folder / "second.raw";
    RawImageFile file;
    openExample(file, eIAM_ReadOnly);
    EXPECT_EQ(countDescriptors(_path), 1U);
    ASSERT_THAT(file.createFile(second, *makeExampleGeometry(), ""), Succeeds());
    EXPECT_EQ(countDescriptors(_path), 0U);
    EXPECT_EQ(countDescriptors(second), 1U);
    openExample(file, eIAM_ReadWrite);
    EXPECT_EQ(countDescriptors(_path), 1U);
    EXPECT_EQ(countDescriptors(second), 0U);
}

TEST_F(RawImageFileTest, AFailedOpeningClosesTheFileBefore) {
    path const missing = _folder / "missing.raw";
    RawImageFile file;
    openExample(file, eIAM_ReadOnly);
    EXPECT_THAT(file.openFile(missing, eIAM_ReadOnly, 0, *makeExampleGeometry()),
                FailsWith(openFailed(missing)));
    EXPECT_FALSE(file.isInit());
    EXPECT_EQ(countDescriptors(_path), 0U);
    EXPECT_THAT(tryRead(file, {}), FailsWith(openFailed("")));
}

TEST_F(RawImageFileTest, AnAccessorOpensAnewWithWhatItHolds) {
    RawImageFile file;
    openExample(file, eIAM_ReadOnly);
    ASSERT_THAT(file.openFile(file.getFilePath(), file.getAccessMode(), g_exampleOffset, file.getGeometry()),
                Succeeds());
    EXPECT_EQ(file.getFilePath(), _path);
    EXPECT_EQ(readPixels(file, {1, 0, 0, 0, 12}), countingBytes(24, 41));
    ASSERT_THAT(file.createFile(file.getFilePath(), file.getGeometry(), ""), Succeeds());
    EXPECT_EQ(readFile(_path), std::string(96, '\0'));
}

TEST_F(RawImageFileTest, ClearingClosesTheStreamsOfAllThreads) {
    RawImageFile file;
    openExample(file, eIAM_ReadOnly);
    onThreads(3, [&](unsigned int) { EXPECT_THAT(tryRead(file, {}), Succeeds()); });
    EXPECT_EQ(countDescriptors(_path), 4U);
    file.clear();
    EXPECT_EQ(countDescriptors(_path), 0U);
    EXPECT_FALSE(file.isInit());
}

TEST_F(RawImageFileTest, ClearingTheDerivedPartClosesTheStreamsAndKeepsTheDescription) {
    RawImageFile file;
    openExample(file, eIAM_ReadOnly);
    file.clearDerived();
    EXPECT_EQ(countDescriptors(_path), 0U);
    EXPECT_TRUE(file.isInit());
    EXPECT_EQ(readPixels(file, {0, 0, 0, 0, 12}), countingBytes(24, 17));
    EXPECT_EQ(countDescriptors(_path), 1U);
}

TEST_F(RawImageFileTest, TheEndOfAnAccessorClosesTheStreamsOfAllThreads) {
    {
        RawImageFile file;
        openExample(file, eIAM_ReadWrite);
        onThreads(2, [&](unsigned int) { EXPECT_THAT(tryRead(file, {}), Succeeds()); });
        EXPECT_EQ(countDescriptors(_path), 3U);
    }
    EXPECT_EQ(countDescriptors(_path), 0U);
}

} // namespace

} // namespace velmo::image::file
