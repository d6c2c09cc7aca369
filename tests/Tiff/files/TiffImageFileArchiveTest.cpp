// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CapturedLog.h"
#include "ThrownText.h"
#include "files/TiffImageFileFixture.h"

#include <VELMOSerialization/VELMOSerializationLog.h>
#include <VELMOUtil/Logging.h>
#include <boost/filesystem/operations.hpp>
#include <boost/make_shared.hpp>

namespace velmo::image::file {

namespace {

namespace fs = boost::filesystem;
using velmo::test::CapturedLog;
using velmo::test::thrownText;

constexpr char const* g_className = "velmo::image::file::TiffImageFile";
constexpr std::size_t g_modesBytes = 8; // two numbers behind the version
constexpr std::size_t g_versionBytes = 4;

/// The modes of an accessor, as its XML record says them.
std::string modesOf(TiffImageFile const& file) {
    std::string const record = writeRecord(g_xml, file);
    std::string modes;
    for (std::string const name :
         {"eTDM_Volume", "eTDM_Temporal", "eTBM_Default", "eTBM_Binary", "eTBM_Label"}) {
        modes += record.find('"' + name + '"') == std::string::npos ? "" : name + ' ';
    }
    return modes;
}

std::string withVersion(std::string record, unsigned int version) {
    record[record.size() - g_modesBytes - g_versionBytes] = static_cast<char>(version);
    return record;
}

class TiffImageFileArchiveTest : public TiffImageFileTest {};

class TiffImageFileEachArchiveTest : public TiffImageFileTest,
                                     public testing::WithParamInterface<ArchiveKind> {
  protected:
    /// The record of the example's file, opened so.
    std::string writeOpened(eImageAccessMode access) const {
        TiffImageFile file;
        openExample(file, access);
        return writeRecord(GetParam(), file);
    }
    BoolResult readInto(TiffImageFile& file, std::string const& record) const {
        return readRecord(GetParam(), record, file);
    }
};

INSTANTIATE_TEST_SUITE_P(Archives, TiffImageFileEachArchiveTest, testing::Values(g_binary, g_xml),
                         [](testing::TestParamInfo<ArchiveKind> const& kind) { return kind.param.name; });

TEST_P(TiffImageFileEachArchiveTest, OpensTheFileOfTheRecordAgain) {
    for (eImageAccessMode const access : {eIAM_ReadOnly, static_cast<eImageAccessMode>(1), eIAM_ReadWrite}) {
        TiffImageFile file;
        ASSERT_THAT(readInto(file, writeOpened(access)), Succeeds());
        EXPECT_TRUE(file.isInit());
        EXPECT_EQ(file.getFilePath(), _path);
        EXPECT_EQ(file.getAccessMode(), access);
        EXPECT_FALSE(file.hasSharedRemoteAccess());
        EXPECT_TRUE(haveSamePixels(file.getGeometry(), *_pGeometry));
        expectExample(file);
        EXPECT_EQ(static_cast<bool>(tryWrite(file, {})), access != eIAM_ReadOnly);
    }
}

TEST_P(TiffImageFileEachArchiveTest, KeepsTheModesAndOpensAForeignFileWithThem) {
    writeTiff(_path, {Directory(), Directory()});
    TiffImageFile written;
    ASSERT_THAT(openFile(written, _path, {eIAM_ReadOnly, eTDM_Temporal, eTBM_Label}), Succeeds());
    EXPECT_EQ(modesOf(written), "eTDM_Temporal eTBM_Label ");
    TiffImageFile file;
    ASSERT_THAT(readInto(file, writeRecord(GetParam(), written)), Succeeds());
    EXPECT_EQ(modesOf(file), "eTDM_Temporal eTBM_Label ");
    EXPECT_EQ(file.getGeometry().getSizeT(), 2U);
    EXPECT_EQ(file.getGeometry().getBufferType(), eIBT_Label8);
}

TEST_P(TiffImageFileEachArchiveTest, OfAFileOfThisModuleTheModesAreKeptAsWell) {
    writeExample(_path);
    TiffImageFile written;
    ASSERT_THAT(openFile(written, _path, {eIAM_ReadOnly, eTDM_Temporal, eTBM_Binary}), Succeeds());
    TiffImageFile file;
    ASSERT_THAT(readInto(file, writeRecord(GetParam(), written)), Succeeds());
    EXPECT_EQ(modesOf(file), "eTDM_Temporal eTBM_Binary ");
    EXPECT_TRUE(haveSamePixels(file.getGeometry(), *_pGeometry));
}

TEST_P(TiffImageFileEachArchiveTest, ACreatedFileHasTheFirstModesWhateverWasOpenBefore) {
    writeExample(_path);
    TiffImageFile file;
    ASSERT_THAT(openFile(file, _path, {eIAM_ReadOnly, eTDM_Temporal, eTBM_Binary}), Succeeds());
    ASSERT_THAT(file.createFile(_path, *_pGeometry, nullptr), Succeeds());
    EXPECT_EQ(modesOf(file), "eTDM_Volume eTBM_Default ");
}

TEST_P(TiffImageFileEachArchiveTest, KeepsTheSharedRemoteFlag) {
    writeExample(_path);
    TiffImageFile written;
    ASSERT_THAT(written.openSharedRemoteFile(_path, eTDM_Volume, eTBM_Default, _userProperties), Succeeds());
    TiffImageFile file;
    ASSERT_THAT(readInto(file, writeRecord(GetParam(), written)), Succeeds());
    EXPECT_TRUE(file.hasSharedRemoteAccess());
    EXPECT_EQ(file.getAccessMode(), eIAM_ReadOnly);
}

TEST_P(TiffImageFileEachArchiveTest, TheFilesOwnGeometryAndCalibrationCount) {
    std::string const record = writeOpened(eIAM_ReadOnly);
    Directory directory;
    directory.tags = {{TIFFTAG_XRESOLUTION, 2.0F}, {TIFFTAG_YRESOLUTION, 4.0F}};
    writeTiff(_path, {directory});
    TiffImageFile file;
    ASSERT_THAT(readInto(file, record), Succeeds());
    EXPECT_TRUE(haveSamePixels(file.getGeometry(), *makeGeometry(eIBT_UInt8, {4, 3})));
    ASSERT_TRUE(file.getGeometricCalibrationConstPtr());
    EXPECT_EQ(file.getGeometricCalibrationConstPtr()->getPixelSizeX(), 0.5F);
}

TEST_P(TiffImageFileEachArchiveTest, AnAccessorWithoutAFileIsReadWithoutTouchingTheDisk) {
    std::string const record = writeRecord(GetParam(), TiffImageFile());
    TiffImageFile file;
    openExample(file, eIAM_ReadWrite);
    std::string const bytes = readFile(_path);
    EXPECT_THAT(readInto(file, record), Succeeds());
    EXPECT_FALSE(file.isInit());
    EXPECT_TRUE(file.getFilePath().empty());
    EXPECT_EQ(countDescriptors(_path), 0U);
    EXPECT_EQ(readFile(_path), bytes);
    EXPECT_EQ(writeRecord(GetParam(), file), record);
}

TEST_P(TiffImageFileEachArchiveTest, AFileThatIsGoneIsMadeAnewForReadingAndWriting) {
    for (eImageAccessMode const access : {static_cast<eImageAccessMode>(1), eIAM_ReadWrite}) {
        std::string const record = writeOpened(access);
        fs::remove(_path);
        TiffImageFile file;
        ASSERT_THAT(readInto(file, record), Succeeds());
        EXPECT_EQ(file.getAccessMode(), access);
        EXPECT_TRUE(haveSamePixels(file.getGeometry(), *_pGeometry));
        expectDirectories(_path, std::vector<std::string>(8, std::string(24, '\0')));
        writePixels(file, wholePlane(file, 1, 0, 1), examplePlane(1, 0, 1));
        EXPECT_EQ(readPixels(file, wholePlane(file, 0, 0, 0)), std::string(24, '\0'));
    }
}

TEST_P(TiffImageFileEachArchiveTest, AFileThatIsGoneFailsForReadingAlone) {
    std::string const record = writeOpened(eIAM_ReadOnly);
    fs::remove(_path);
    TiffImageFile file;
    EXPECT_THAT(readInto(file, record), FailsInWords(openFailed(_path)));
    EXPECT_FALSE(file.isInit());
    EXPECT_FALSE(fs::exists(_path));
}

TEST_P(TiffImageFileEachArchiveTest, AFileThatCannotBeMadeAnewFails) {
    path const folder = _folder / "folder";
    fs::create_directory(folder);
    TiffImageFile written;
    ASSERT_THAT(written.createFile(folder / "image.tif", *_pGeometry, nullptr), Succeeds());
    std::string const record = writeRecord(GetParam(), written);
    fs::remove_all(folder);
    TiffImageFile file;
    openExample(file);
    EXPECT_THAT(readInto(file, record), FailsLike("Failed to create tiff image file"));
    EXPECT_FALSE(file.isInit());
    EXPECT_EQ(countDescriptors(_path), 0U);
}

TEST_P(TiffImageFileEachArchiveTest, SeveralAccessorsFollowEachOtherWithOneVersion) {
    TiffImageFile first;
    openExample(first);
    TiffImageFile second;
    ASSERT_THAT(second.createFile(_folder / "second.tif", *makeGeometry(eIBT_Int8, {2, 1}), nullptr),
                Succeeds());
    writePixels(second, wholePlane(second), "ab");
    std::string const record = GetParam().write([&](BaseOArchive& archive) {
        EXPECT_THAT(first.write(archive), Succeeds());
        EXPECT_THAT(second.write(archive), Succeeds());
        EXPECT_EQ(archive.getRegisterClassVersion(g_className), 1U);
    });
    GetParam().read(record, [&](BaseIArchive& archive) {
        EXPECT_THAT(second.read(archive), Succeeds());
        EXPECT_THAT(first.read(archive), Succeeds());
        EXPECT_EQ(archive.getRegisterClassVersion(g_className), 1U);
    });
    expectExample(second);
    EXPECT_EQ(readPixels(first, wholePlane(first)), "ab");
}

TEST_P(TiffImageFileEachArchiveTest, AnAccessorIsRebuiltByItsClassName) {
    auto const pWritten = boost::make_shared<TiffImageFile>();
    openExample(*pWritten);
    std::string const record =
        GetParam().write([&](BaseOArchive& archive) { archive.writeObject("accessor", pWritten); });
    DynamicObjectPtr pObject;
    GetParam().read(record, [&](BaseIArchive& archive) { pObject = archive.readObject("accessor"); });
    auto const pFile = boost::dynamic_pointer_cast<TiffImageFile>(pObject);
    ASSERT_TRUE(pFile);
    expectExample(*pFile);
}

// The bytes of a record

TEST_F(TiffImageFileArchiveTest, ARecordEndsWithTheVersionAndTheTwoModes) {
    EXPECT_EQ(writeRecord(g_binary, TiffImageFile()), std::string("\0\0\0\0\1\0\0\0\0\0\0\0\0\0\0\0", 16));
    writeExample(_path);
    TiffImageFile file;
    ASSERT_THAT(openFile(file, _path, {eIAM_ReadOnly, eTDM_Temporal, eTBM_Label}), Succeeds());
    std::string const record = writeRecord(g_binary, file);
    EXPECT_EQ(record.substr(record.size() - 12), std::string("\1\0\0\0\1\0\0\0\2\0\0\0", 12));
}

TEST_F(TiffImageFileArchiveTest, TheModesStandBehindTheSectionOfTheVersionAndNotInIt) {
    std::string const record = writeRecord(g_xml, TiffImageFile());
    std::size_t const section = record.find(std::string("<section name=\"") + g_className + "\">");
    ASSERT_NE(section, std::string::npos);
    std::size_t const end = record.find("</section>", section);
    EXPECT_LT(record.find("<item name=\"version\" value=\"1\""), end);
    std::size_t const directoryMode = record.find("<item name=\"_tiffDirectoryMode\" value=\"eTDM_Volume\"");
    ASSERT_NE(directoryMode, std::string::npos);
    EXPECT_GT(directoryMode, end);
    EXPECT_GT(record.find("<item name=\"_tiffBufferMode\" value=\"eTBM_Default\""), directoryMode);
}

// Records that are refused

TEST_F(TiffImageFileArchiveTest, ANewerVersionIsLoggedAndThrown) {
    TiffImageFile file;
    openExample(file);
    for (std::string const& record : {writeRecord(g_binary, file), writeRecord(g_binary, TiffImageFile())}) {
        openExample(file);
        CapturedLog const log(getBaseLogger());
        std::string const text = thrownText<VELMOSerializationException>(
            [&] { readRecord(g_binary, withVersion(record, 2), file); });
        EXPECT_EQ(text, "Version 2 of class velmo::image::file::TiffImageFile in the archive is newer than "
                        "the known version 1");
        ASSERT_EQ(log.getRecords().size(), 1U);
        EXPECT_EQ(log.getRecords()[0].message, text);
        EXPECT_FALSE(file.isInit());
        EXPECT_EQ(countDescriptors(_path), 0U);
    }
}

TEST_F(TiffImageFileArchiveTest, ARecordThatEndsTooEarlyIsThrownAndLeavesNoFileOpen) {
    TiffImageFile file;
    openExample(file);
    std::string const record = writeRecord(g_binary, file);
    for (std::size_t size = 0; size < record.size(); ++size) {
        SCOPED_TRACE(size);
        openExample(file);
        EXPECT_THROW(readRecord(g_binary, record.substr(0, size), file), VELMOSerializationException);
        EXPECT_FALSE(file.isInit());
        EXPECT_EQ(countDescriptors(_path), 0U);
    }
}

TEST_F(TiffImageFileArchiveTest, AnUnknownModeIsThrownAndLeavesNoFileOpen) {
    TiffImageFile file;
    openExample(file);
    std::string record = writeRecord(g_binary, file);
    record[record.size() - 4] = 3;
    EXPECT_THROW(readRecord(g_binary, record, file), VELMOSerializationException);
    EXPECT_FALSE(file.isInit());
    EXPECT_EQ(countDescriptors(_path), 0U);
}

} // namespace

} // namespace velmo::image::file
