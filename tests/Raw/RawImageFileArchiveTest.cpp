// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "RawImageFileFixture.h"

#include <VELMOImage/GeometricCalibration.h>
#include <VELMOImage/VELMOImageLog.h>
#include <VELMOSerialization/BinaryArchive.h>
#include <VELMOSerialization/VELMOSerializationLog.h>
#include <VELMOSerialization/XmlArchive.h>

#include <boost/filesystem/operations.hpp>
#include <sstream>

namespace velmo::image::file {

namespace {

using velmo::test::writeFile;

constexpr std::size_t g_versionBytes = 4;
constexpr std::size_t g_offsetBytes = 8;
char const* const g_className = "velmo::image::file::RawImageFile";

// One function for each kind of archive and direction.

using Work = std::function<void(BaseOArchive&)>;

std::string toBinary(Work const& work) {
    std::ostringstream stream;
    BinaryOArchive archive(stream);
    work(archive);
    return stream.str();
}

std::string toXml(Work const& work) {
    std::ostringstream stream;
    XmlOArchive archive(stream);
    work(archive);
    archive.finish();
    return stream.str();
}

void fromBinary(std::string const& bytes, std::function<void(BaseIArchive&)> const& work) {
    std::istringstream stream(bytes);
    BinaryIArchive archive(stream);
    work(archive);
}

void fromXml(std::string const& bytes, std::function<void(BaseIArchive&)> const& work) {
    std::istringstream stream(bytes);
    XmlIArchive archive(stream);
    work(archive);
}

struct ArchiveKind {
    char const* name;
    std::string (*write)(Work const&);
    void (*read)(std::string const&, std::function<void(BaseIArchive&)> const&);
};

ArchiveKind const g_binary = {"Binary", toBinary, fromBinary};
ArchiveKind const g_xml = {"Xml", toXml, fromXml};

std::string writeRecord(ArchiveKind const& kind, RawImageFile const& file) {
    return kind.write([&](BaseOArchive& archive) { EXPECT_THAT(file.write(archive), Succeeds()); });
}

BoolResult readRecord(ArchiveKind const& kind, std::string const& record, RawImageFile& file) {
    BoolResult result = failure("not read");
    kind.read(record, [&](BaseIArchive& archive) { result = file.read(archive); });
    return result;
}

/// The record of an initialised accessor up to its class version, as the base writes it.
void writeBase(BaseOArchive& archive, path const& path, DynamicObjectPtr const& pGeometry,
               DynamicObjectPtr const& pCalibration) {
    archive << oItem("isInit", 1) << oItem("filePath", path.string());
    archive << oItem("accessMode", vlUInt64(0)) << oItem("sharedRemote", 0);
    archive.writeObject("geometry", pGeometry);
    archive.writeObject("calibration", pCalibration);
}

std::string withVersion(std::string record, unsigned int version) {
    record[record.size() - g_offsetBytes - g_versionBytes] = static_cast<char>(version);
    return record;
}

std::size_t countOf(std::string const& part, std::string const& text) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++count;
    }
    return count;
}

class RawImageFileArchiveTest : public RawImageFileTest {
  protected:
    /// The binary record of the example, read only.
    std::string writeExample() const {
        RawImageFile file;
        openExample(file, eIAM_ReadOnly);
        return writeRecord(g_binary, file);
    }

    /// Reads a record that is refused by an exception into an accessor that has a file open.
    template <class Exception>
    std::string readRefused(std::string const& record) const {
        RawImageFile file;
        openExample(file, eIAM_ReadOnly);
        std::string const text = textThrownBy<Exception>([&] { readRecord(g_binary, record, file); });
        EXPECT_FALSE(file.isInit());
        EXPECT_EQ(countDescriptors(_path), 0U);
        return text;
    }
};

class RawImageFileEachArchiveTest : public RawImageFileArchiveTest,
                                    public testing::WithParamInterface<ArchiveKind> {};

INSTANTIATE_TEST_SUITE_P(Archives, RawImageFileEachArchiveTest, testing::Values(g_binary, g_xml),
                         [](testing::TestParamInfo<ArchiveKind> const& kind) { return kind.param.name; });

TEST_P(RawImageFileEachArchiveTest, OpensTheFileOfTheRecordAgain) {
    for (eImageAccessMode const accessMode : {eIAM_ReadOnly, g_accessModeOne, eIAM_ReadWrite}) {
        RawImageFile written;
        openExample(written, accessMode);
        RawImageFile file;
        ASSERT_THAT(readRecord(GetParam(), writeRecord(GetParam(), written), file), Succeeds());
        EXPECT_TRUE(file.isInit());
        EXPECT_EQ(file.getFilePath(), _path);
        EXPECT_EQ(file.getAccessMode(), accessMode);
        EXPECT_FALSE(file.hasSharedRemoteAccess());
        EXPECT_FALSE(file.getGeometricCalibrationConstPtr());
        EXPECT_TRUE(haveSamePixels(file.getGeometry(), *makeExampleGeometry()));
        EXPECT_EQ(readPixels(file, {1, 0, 1, 0, 12}), countingBytes(24, 89));
        EXPECT_EQ(static_cast<bool>(tryWrite(file, {})), accessMode != eIAM_ReadOnly);
    }
}

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

TEST_P(RawImageFileEachArchiveTest, KeepsTheSharedRemoteFlag) {
    RawImageFile written;
    writeFile(_path, countingBytes(g_exampleEnd));
    ASSERT_THAT(written.openSharedRemoteFile(_path, eIAM_ReadOnly, g_exampleOffset, *makeExampleGeometry()),
                Succeeds());
    RawImageFile file;
    ASSERT_THAT(readRecord(GetParam(), writeRecord(GetParam(), written), file), Succeeds());
    EXPECT_TRUE(file.hasSharedRemoteAccess());
}

TEST_P(RawImageFileEachArchiveTest, ARecordWithoutAFileEmptiesTheAccessorThatReadsIt) {
    RawImageFile file;
    openExample(file, eIAM_ReadOnly);
    EXPECT_THAT(readRecord(GetParam(), writeRecord(GetParam(), RawImageFile()), file), Succeeds());
    EXPECT_FALSE(file.isInit());
    EXPECT_EQ(countDescriptors(_path), 0U);
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

TEST_P(RawImageFileEachArchiveTest, SeveralAccessorsFollowEachOther) {
    RawImageFile first;
    openExample(first, eIAM_ReadOnly);
    path const secondPath = _folder / "second.raw";
    writeFile(secondPath, "abcdef");
    RawImageFile second;
    ASSERT_THAT(second.openFile(secondPath, eIAM_ReadWrite, 2, *makeGeometry(eIBT_UInt8, {4})), Succeeds());
    std::string const record = GetParam().write([&](BaseOArchive& archive) {
        EXPECT_THAT(first.write(archive), Succeeds());
        EXPECT_THAT(second.write(archive), Succeeds());
        EXPECT_EQ(archive.getRegisterClassVersion(g_className), 2U);
    });
    GetParam().read(record, [&](BaseIArchive& archive) {
        EXPECT_THAT(second.read(archive), Succeeds());
        EXPECT_THAT(first.read(archive), Succeeds());
        EXPECT_EQ(archive.getRegisterClassVersion(g_className), 2U);
    });
    EXPECT_EQ(second.getFilePath(), _path);
    EXPECT_EQ(readPixels(first, {0, 0, 0, 0, 4}), "cdef");
}

TEST_P(RawImageFileEachArchiveTest, AnAccessorIsRebuiltByItsClassName) {
    auto const pWritten = boost::make_shared<RawImageFile>();
    openExample(*pWritten, eIAM_ReadOnly);
    std::string const record =
        GetParam().write([&](BaseOArchive& archive) { archive.writeObject("accessor", pWritten); });
    DynamicObjectPtr pObject;
    GetParam().read(record, [&](BaseIArchive& archive) { pObject = archive.readObject("accessor"); });
    auto const pFile = boost::dynamic_pointer_cast<RawImageFile>(pObject);
    ASSERT_TRUE(pFile);
    EXPECT_EQ(readPixels(*pFile, {0, 0, 0, 0, 12}), countingBytes(24, 17));
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

TEST_P(RawImageFileEachArchiveTest, AFileThatIsGoneLeavesAnAccessorWithoutAFile) {
    RawImageFile file;
    openExample(file, eIAM_ReadOnly);
    std::string const record = writeRecord(GetParam(), file);
    boost::filesystem::remove(_path);
    EXPECT_THAT(readRecord(GetParam(), record, file), FailsWith(openFailed(_path)));
    EXPECT_FALSE(file.isInit());
    EXPECT_EQ(countDescriptors(_path), 0U);
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
        EXPECT_EQ(velmo::test::readFile(folder), "a file where the folder was");
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
    EXPECT_EQ(velmo::test::readFile(target), countingBytes(g_exampleEnd));
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

TEST_F(RawImageFileArchiveTest, ARecordWithoutAFileEndsBehindTheVersion) {
    EXPECT_EQ(writeRecord(g_binary, RawImageFile()), std::string("\0\0\0\0\2\0\0\0", 8));
    EXPECT_EQ(countOf("dataStartOffset", writeRecord(g_xml, RawImageFile())), 0U);
}

TEST_F(RawImageFileArchiveTest, ARecordEndsWithTheVersionAndTheOffset) {
    std::string const record = writeExample();
    EXPECT_EQ(record.substr(record.size() - 12), std::string("\2\0\0\0\x10\0\0\0\0\0\0\0", 12));
}

TEST_F(RawImageFileArchiveTest, TheOffsetStandsBehindTheSectionOfTheVersionAndNotInIt) {
    RawImageFile file;
    openExample(file, eIAM_ReadOnly);
    std::string const record = writeRecord(g_xml, file);
    std::string const section = std::string("<section name=\"") + g_className + "\">";
    std::size_t const end = record.find("</section>", record.find(section));
    EXPECT_EQ(countOf(section, record), 1U);
    EXPECT_EQ(countOf("dataStartOffset", record), 1U);
    EXPECT_GT(record.find("<item name=\"dataStartOffset\" value=\"16\""), end);
}

TEST_F(RawImageFileArchiveTest, TheVersionIsStoredOnceInEachArchive) {
    RawImageFile const first;
    RawImageFile const second;
    auto const writeBoth = [&](BaseOArchive& archive) {
        EXPECT_THAT(first.write(archive), Succeeds());
        EXPECT_THAT(second.write(archive), Succeeds());
    };
    EXPECT_EQ(g_binary.write(writeBoth), std::string("\0\0\0\0\2\0\0\0\0\0\0\0", 12));
    EXPECT_EQ(countOf(g_className, g_xml.write(writeBoth)), 1U);
}

TEST_F(RawImageFileArchiveTest, AfterAResizingTheRecordHoldsAnOffsetOfZero) {
    RawImageFile file;
    openExample(file, eIAM_ReadWrite);
    ASSERT_THAT(file.resizeData(*makeExampleGeometry()), Succeeds());
    std::string const record = writeRecord(g_binary, file);
    EXPECT_EQ(record.substr(record.size() - 8), std::string(8, '\0'));
}

TEST_F(RawImageFileArchiveTest, TheRecordOfACreatedFileHoldsTheSizeOfItsHeader) {
    RawImageFile file;
    ASSERT_THAT(file.createFile(_path, *makeExampleGeometry(), "header"), Succeeds());
    std::string const record = writeRecord(g_binary, file);
    EXPECT_EQ(record.substr(record.size() - 8), std::string("\6\0\0\0\0\0\0\0", 8));
    EXPECT_THAT(readRecord(g_binary, record, file), Succeeds());
    EXPECT_EQ(readPixels(file, {0, 0, 0, 0, 1}), std::string(2, '\0'));
}

// Records that are refused

TEST_F(RawImageFileArchiveTest, ANewerVersionIsThrown) {
    std::string const text =
        "Version 3 of class velmo::image::file::RawImageFile in the archive is newer than "
        "the known version 2";
    EXPECT_EQ(readRefused<VELMOSerializationException>(withVersion(writeExample(), 3)), text);
    EXPECT_EQ(readRefused<VELMOSerializationException>(std::string("\0\0\0\0\3\0\0\0", 8)), text);
}

TEST_F(RawImageFileArchiveTest, VersionsOneAndTwoAreReadAlike) {
    for (unsigned int const version : {1U, 2U}) {
        RawImageFile file;
        ASSERT_THAT(readRecord(g_binary, withVersion(writeExample(), version), file), Succeeds());
        EXPECT_EQ(readPixels(file, {0, 0, 0, 0, 12}), countingBytes(24, 17));
    }
}

TEST_F(RawImageFileArchiveTest, ARecordThatEndsTooEarlyIsThrown) {
    std::string const record = writeExample();
    for (std::size_t size = 0; size < record.size(); ++size) {
        SCOPED_TRACE(size);
        readRefused<VELMOSerializationException>(record.substr(0, size));
    }
}

TEST_F(RawImageFileArchiveTest, AnXmlArchiveThatEndsTooEarlyIsThrown) {
    RawImageFile file;
    openExample(file, eIAM_ReadOnly);
    std::string const record = writeRecord(g_xml, file);
    std::size_t const end = record.rfind("</archive>");
    ASSERT_NE(end, std::string::npos);
    for (std::size_t size = 0; size <= end; ++size) {
        RawImageFile reader;
        EXPECT_THROW(readRecord(g_xml, record.substr(0, size), reader), VELMOSerializationException) << size;
        EXPECT_FALSE(reader.isInit());
    }
}

TEST_F(RawImageFileArchiveTest, AnXmlRecordWithoutAnyOneOfItsItemsIsThrown) {
    RawImageFile file;
    openExample(file, eIAM_ReadOnly);
    std::string const record = writeRecord(g_xml, file);
    for (std::size_t at = record.find("<item"); at != std::string::npos; at = record.find("<item", at + 1)) {
        SCOPED_TRACE(record.substr(at, 40));
        std::string const damaged = std::string(record).erase(at, record.find("/>", at) + 2 - at);
        RawImageFile reader;
        EXPECT_THROW(readRecord(g_xml, damaged, reader), VELMOSerializationException);
        EXPECT_FALSE(reader.isInit());
    }
}

TEST_F(RawImageFileArchiveTest, LengthsThatPassTheEndOfTheArchiveAreThrown) {
    std::string const record = writeExample();
    std::size_t const geometryName = record.find("velmo::image::HomogeneousImageGeometry");
    ASSERT_NE(geometryName, std::string::npos);
    std::size_t const pathLength = 4;
    for (std::size_t const at : {pathLength, geometryName - 8}) {
        for (char const high : {'\x01', '\x7F', '\xFF'}) {
            std::string damaged = record;
            damaged[at + 7] = high;
            EXPECT_THAT(readRefused<VELMOSerializationException>(damaged),
                        testing::HasSubstr("The archive ends inside of item"));
        }
    }
}

TEST_F(RawImageFileArchiveTest, AnUnknownClassNameIsThrown) {
    std::string record = writeExample();
    record[record.find("velmo::image::HomogeneousImageGeometry")] = 'V';
    EXPECT_EQ(readRefused<VELMOSerializationException>(record),
              "The archive holds an object of the unknown class Velmo::image::HomogeneousImageGeometry");
}

TEST_F(RawImageFileArchiveTest, AnObjectThatIsNoGeometryIsThrown) {
    std::string const record = g_binary.write([&](BaseOArchive& archive) {
        writeBase(archive, _path, boost::make_shared<GeometricCalibration>(), DynamicObjectPtr());
    });
    EXPECT_THAT(readRefused<VELMOSerializationException>(record),
                testing::HasSubstr("cannot be item geometry of the archive"));
}

TEST_F(RawImageFileArchiveTest, ARecordWithoutAGeometryIsRefused) {
    std::string const record = g_binary.write(
        [&](BaseOArchive& archive) { writeBase(archive, _path, DynamicObjectPtr(), DynamicObjectPtr()); });
    RawImageFile file;
    openExample(file, eIAM_ReadOnly);
    EXPECT_FALSE(readRecord(g_binary, record, file));
    EXPECT_FALSE(file.isInit());
    EXPECT_EQ(countDescriptors(_path), 0U);
}

TEST_F(RawImageFileArchiveTest, AnOffsetNearTheEndOf64BitsIsRefused) {
    std::string record = writeExample();
    record.replace(record.size() - 8, 8, std::string(8, '\xFF'));
    RawImageFile file;
    EXPECT_THAT(readRecord(g_binary, record, file), FailsWith(geometryExceeds(96, g_largest, 112, _path)));
    EXPECT_FALSE(file.isInit());
}

} // namespace

} // namespace velmo::image::file
