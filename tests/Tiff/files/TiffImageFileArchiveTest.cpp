// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "files/TiffImageFileFixture.h"

#include <VELMOSerialization/VELMOSerializationLog.h>
#include <boost/filesystem/operations.hpp>

namespace velmo::image::file {

namespace {

namespace fs = boost::filesystem;

constexpr char const* g_className = "velmo::image::file::TiffImageFile";

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
    writeExample(_path); // of this module: its own geometry, and the modes all the same
    ASSERT_THAT(readInto(file, writeRecord(GetParam(), file)), Succeeds());
    EXPECT_EQ(modesOf(file), "eTDM_Temporal eTBM_Label ");
    EXPECT_TRUE(haveSamePixels(file.getGeometry(), *_pGeometry));
}

TEST_P(TiffImageFileEachArchiveTest, ACreatedFileHasTheFirstModesWhateverWasOpenBefore) {
    writeExample(_path);
    TiffImageFile file;
    ASSERT_THAT(openFile(file, _path, {eIAM_ReadOnly, eTDM_Temporal, eTBM_Binary}), Succeeds());
    ASSERT_THAT(file.createFile(_path, *_pGeometry, nullptr), Succeeds());
    EXPECT_EQ(modesOf(file), "eTDM_Volume eTBM_Default ");
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

// The bytes of a record

TEST_F(TiffImageFileArchiveTest, ARecordEndsWithTheVersionAndTheTwoModes) {
    writeExample(_path);
    TiffImageFile file;
    ASSERT_THAT(openFile(file, _path, {eIAM_ReadOnly, eTDM_Temporal, eTBM_Label}), Succeeds());
    EXPECT_THAT(writeRecord(g_binary, file), testing::EndsWith(std::string("\1\0\0\0\1\0\0\0\2\0\0\0", 12)));
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
