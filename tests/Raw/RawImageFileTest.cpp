// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "RawImageFileFixture.h"

#include <VELMOImage/VELMOImageLog.h>

namespace velmo::image::file {

namespace {

// Without a file

TEST_F(RawImageFileTest, WithoutAFileResizingFailsAtTheOpeningAndAWriteIsThrown) {
    RawImageFile file;
    EXPECT_THAT(file.resizeData(*makeExampleGeometry()), FailsWith(openFailed("")));
    EXPECT_EQ(thrownText<VELMOImageException>([&] { tryWrite(file, {}); }),
              "The image accessor is not initialised");
}

// Creating

TEST_F(RawImageFileTest, ACreatedFileHoldsTheHeaderAndZerosAndItsAccessorDescribesIt) {
    std::string const header("fourteen\0bytes", 14);
    RawImageFile file;
    ASSERT_THAT(file.createFile(_path, *makeExampleGeometry(), header), Succeeds());
    EXPECT_EQ(readFile(_path), header + std::string(96, '\0'));
    EXPECT_TRUE(file.isInit());
    EXPECT_EQ(file.getFilePath(), _path);
    EXPECT_EQ(file.getAccessMode(), eIAM_ReadWrite);
    EXPECT_TRUE(haveSamePixels(file.getGeometry(), *makeExampleGeometry()));
    EXPECT_FALSE(file.getGeometricCalibrationConstPtr());
    EXPECT_FALSE(file.hasSharedRemoteAccess());
    ASSERT_THAT(file.createFile(_path, *makeExampleGeometry(), ""), Succeeds());
    writePixels(file, {0, 0, 0, 0, 1}, "ab");
    EXPECT_EQ(readFile(_path), "ab" + std::string(94, '\0'));
}

TEST_F(RawImageFileTest, AGeometryOfNoBytesLeavesTheHeaderWhole) {
    for (ImageGeometryPtr const& pGeometry :
         {makeGeometry(eIBT_None, {4, 3}), makeGeometry(eIBT_UInt8, {0, 3})}) {
        for (std::string const& header : {std::string("head"), std::string()}) {
            RawImageFile file;
            ASSERT_THAT(file.createFile(_path, *pGeometry, header), Succeeds());
            EXPECT_TRUE(file.isInit());
            EXPECT_EQ(readFile(_path), header);
            EXPECT_THAT(file.openFile(_path, eIAM_ReadOnly, header.size(), *pGeometry), Succeeds());
        }
    }
}

TEST_F(RawImageFileTest, CreatingEmptiesALongerFile) {
    writeFile(_path, countingBytes(1000));
    RawImageFile file;
    ASSERT_THAT(file.createFile(_path, *makeGeometry(eIBT_UInt8, {3}), "h"), Succeeds());
    EXPECT_EQ(readFile(_path), std::string("h\0\0\0", 4));
}

// Opening

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

} // namespace

} // namespace velmo::image::file
