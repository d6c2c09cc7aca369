// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "RawImageFileFixture.h"
#include <VELMOImage/GeometricCalibration.h>
#include <VELMOImage/VELMOImageLog.h>
#include <VELMOSerialization/BaseArchive.h>
#include <VELMOSerialization/VELMOSerializationLog.h>
#include <boost/filesystem/operations.hpp>
#include <boost/make_shared.hpp>

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

char const* const g_className = "velmo::image::file::RawImageFile";

/// The record of an initialised accessor up to its class version, as the base writes it.
void writeBase(BaseOArchive& archive, path const& path, DynamicObjectPtr const& pGeometry,
               DynamicObjectPtr const& pCalibration) {
    archive << oItem("isInit", 1) << oItem("filePath", path.string());
    archive << oItem("accessMode", vlUInt64(0)) << oItem("sharedRemote", 0);
    archive.writeObject("geometry", pGeometry);
    archive.writeObject("calibration", pCalibration);
}

class RawImageFileArchiveTest : public RawImageFileTest {};

class RawImageFileEachArchiveTest : public RawImageFileTest,
                                    public testing::WithParamInterface<ArchiveKind> {};

INSTANTIATE_TEST_SUITE_P(Archives, RawImageFileEachArchiveTest, testing::Values(g_binary, g_xml),
                         [](auto const& kind) { return kind.param.name; });

TEST_P(RawImageFileEachArchiveTest, KeepsAHeterogeneousGeometry) {
    std::string const bytes = countingBytes(30);
    writeFile(_path, bytes);
    RawImageFile written;
    ImageGeometryPtr const pGeometry = makeHeterogeneousGeometry({eIBT_UInt8, eIBT_Real32}, {2, 1, 2, 1, 2});
    ASSERT_THAT(written.openFile(_path, eIAM_ReadOnly, 3, *pGeometry), Succeeds());
    RawImageFile file;
    ASSERT_THAT(readRecord(GetParam(), writeRecord(GetParam(), written), file), Succeeds());
    EXPECT_TRUE(haveSamePixels(file.getGeometry(), *pGeometry));
    EXPECT_EQ(readPixels(file, {1, 0, 1, 0, 2}), bytes.substr(15, 8));
}

TEST_P(RawImageFileEachArchiveTest, AnOffsetOfNoPlanesIsKept) {
    writeFile(_path, "1234");
    RawImageFile written;
    ASSERT_THAT(written.openFile(_path, eIAM_ReadOnly, 4, *makeGeometry(eIBT_UInt8, {1, 1, 0})), Succeeds());
    std::string const record = writeRecord(GetParam(), written);
    RawImageFile file;
    EXPECT_THAT(readRecord(GetParam(), record, file), Succeeds());
    writeFile(_path, "123");
    EXPECT_THAT(readRecord(GetParam(), record, file), FailsWith(geometryExceeds(0, 4, 3, _path)));
}

TEST_P(RawImageFileEachArchiveTest, ACalibrationInARecordIsDropped) {
    writeFile(_path, countingBytes(g_exampleEnd));
    auto const pCalibration = boost::make_shared<GeometricCalibration>();
    std::string const record = GetParam().write([&](BaseOArchive& archive) {
        writeBase(archive, _path, makeExampleGeometry(), pCalibration);
        ArchiveSectionManager(archive, g_className), archive << oItem("version", 2U);
        archive << oItem("dataStartOffset", g_exampleOffset);
    });
    RawImageFile file;
    ASSERT_THAT(readRecord(GetParam(), record, file), Succeeds());
    EXPECT_TRUE(file.isInit());
    EXPECT_FALSE(file.getGeometricCalibrationConstPtr());
}

// Unlike a TIFF accessor a raw one never makes a file anew.
TEST_P(RawImageFileEachArchiveTest, AFileWhoseStatusCannotBeDeterminedIsNotOpenedAndNotMade) {
    path const folder = _folder / "folder";
    path const target = folder / "planes.raw";
    for (eImageAccessMode const accessMode : {eIAM_ReadOnly, g_accessModeOne, eIAM_ReadWrite}) {
        boost::filesystem::create_directory(folder);
        writeFile(target, countingBytes(g_exampleEnd));
        RawImageFile written;
        ASSERT_THAT(written.openFile(target, accessMode, g_exampleOffset, *makeExampleGeometry()),
                    Succeeds());
        std::string const record = writeRecord(GetParam(), written);
        boost::filesystem::remove_all(folder);
        writeFile(folder, "a file where the folder was");
        RawImageFile file;
        EXPECT_THAT(readRecord(GetParam(), record, file), FailsWith(openFailed(target)));
        EXPECT_FALSE(file.isInit());
        EXPECT_EQ(readFile(folder), "a file where the folder was");
        boost::filesystem::remove(folder);
    }
}

TEST_P(RawImageFileEachArchiveTest, AFileInAFolderThatMayNotBeSearchedIsNotOpenedAndNotMade) {
    path const folder = _folder / "folder";
    path const target = folder / "planes.raw";
    boost::filesystem::create_directory(folder);
    writeFile(target, countingBytes(g_exampleEnd));
    RawImageFile written;
    ASSERT_THAT(written.openFile(target, eIAM_ReadWrite, g_exampleOffset, *makeExampleGeometry()),
                Succeeds());
    std::string const record = writeRecord(GetParam(), written);
    boost::filesystem::permissions(_folder.getPath(), boost::filesystem::perms(0755));
    boost::filesystem::permissions(folder, boost::filesystem::perms(0666));
    std::string const text = asOrdinaryUser([&]() -> std::string {
        RawImageFile file;
        BoolResult const result = readRecord(GetParam(), record, file);
        return file.isInit() ? "open" : result.getMessage();
    });
    boost::filesystem::permissions(folder, boost::filesystem::perms(0755));
    if (text == g_noSuchUser) {
        GTEST_SKIP() << "this process cannot become an ordinary user";
    }
    EXPECT_EQ(text, openFailed(target));
    EXPECT_EQ(readFile(target), countingBytes(g_exampleEnd));
}

TEST_P(RawImageFileEachArchiveTest, AFileThatIsTooShortByNowLeavesAnAccessorWithoutAFile) {
    RawImageFile file;
    openExample(file, eIAM_ReadOnly);
    std::string const record = writeRecord(GetParam(), file);
    boost::filesystem::resize_file(_path, 100);
    EXPECT_THAT(readRecord(GetParam(), record, file), FailsWith(geometryExceeds(96, 16, 100, _path)));
    EXPECT_FALSE(file.isInit());
}

// The bytes of a record

TEST_F(RawImageFileArchiveTest, TheOffsetStandsBehindTheSectionOfTheVersionAndNotInIt) {
    RawImageFile file;
    EXPECT_EQ(writeRecord(g_xml, file).find("dataStartOffset"), std::string::npos);
    openExample(file, eIAM_ReadOnly);
    std::string const record = writeRecord(g_xml, file);
    std::size_t const section = record.find(std::string("<section name=\"") + g_className + "\">");
    EXPECT_GT(record.find("<item name=\"dataStartOffset\" value=\"16\""), record.find("</section>", section));
    EXPECT_EQ(record.find("dataStartOffset"), record.rfind("dataStartOffset"));
}

TEST_F(RawImageFileArchiveTest, TheOffsetOfACreatedFileIsTheSizeOfItsHeaderAndZeroAfterAResizing) {
    RawImageFile file;
    ASSERT_THAT(file.createFile(_path, *makeExampleGeometry(), "header"), Succeeds());
    std::string const record = writeRecord(g_binary, file);
    EXPECT_THAT(record, testing::EndsWith(std::string("\6\0\0\0\0\0\0\0", 8)));
    EXPECT_THAT(readRecord(g_binary, record, file), Succeeds());
    EXPECT_EQ(readPixels(file, {0, 0, 0, 0, 1}), std::string(2, '\0'));
    openExample(file, eIAM_ReadWrite);
    ASSERT_THAT(file.resizeData(*makeExampleGeometry()), Succeeds());
    EXPECT_THAT(writeRecord(g_binary, file), testing::EndsWith(std::string(8, '\0')));
}

TEST_F(RawImageFileArchiveTest, ARecordWithoutAGeometryOrWithAnotherObjectIsRefused) {
    for (DynamicObjectPtr const& pObject :
         {DynamicObjectPtr(), DynamicObjectPtr(boost::make_shared<GeometricCalibration>())}) {
        std::string const record = g_binary.write(
            [&](BaseOArchive& archive) { writeBase(archive, _path, pObject, DynamicObjectPtr()); });
        RawImageFile file;
        openExample(file, eIAM_ReadOnly);
        if (pObject) {
            EXPECT_THAT(thrownText<VELMOSerializationException>([&] { readRecord(g_binary, record, file); }),
                        testing::HasSubstr("cannot be item geometry of the archive"));
        } else {
            EXPECT_FALSE(readRecord(g_binary, record, file));
        }
        EXPECT_FALSE(file.isInit());
        EXPECT_EQ(countDescriptors(_path), 0U);
    }
}

TEST_F(RawImageFileArchiveTest, AnOffsetNearTheEndOf64BitsIsRefused) {
    RawImageFile file;
    openExample(file, eIAM_ReadOnly);
    std::string record = writeRecord(g_binary, file);
    record.replace(record.size() - 8, 8, std::string(8, '\xFF'));
    EXPECT_THAT(readRecord(g_binary, record, file), FailsWith(geometryExceeds(96, g_largest, 112, _path)));
    EXPECT_FALSE(file.isInit());
}

} // namespace

} // namespace velmo::image::file
