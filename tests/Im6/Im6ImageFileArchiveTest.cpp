// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Im6ImageFileFixture.h"

#include <VELMOImage/GeometricCalibration.h>
#include <VELMOImage/VELMOImageLog.h>
#include <VELMOSerialization/BinaryArchive.h>
#include <VELMOSerialization/VELMOSerializationLog.h>
#include <VELMOSerialization/XmlArchive.h>

#include <boost/filesystem/operations.hpp>
#include <sstream>

namespace velmo::image::file {

namespace {

constexpr std::size_t g_versionBytes = 4;
char const* const g_className = "velmo::image::file::Im6ImageFile";

// One function for each kind of archive and direction.

using Write = std::function<void(BaseOArchive&)>;
using Read = std::function<void(BaseIArchive&)>;

std::string toBinary(Write const& work) {
    std::ostringstream stream;
    BinaryOArchive archive(stream);
    work(archive);
    return stream.str();
}

std::string toXml(Write const& work) {
    std::ostringstream stream;
    XmlOArchive archive(stream);
    work(archive);
    archive.finish();
    return stream.str();
}

template <class Archive>
void from(std::string const& bytes, Read const& work) {
    std::istringstream stream(bytes);
    Archive archive(stream);
    work(archive);
}

struct ArchiveKind {
    char const* name;
    std::string (*write)(Write const&);
    void (*read)(std::string const&, Read const&);
};

ArchiveKind const g_binary = {"Binary", toBinary, from<BinaryIArchive>};
ArchiveKind const g_xml = {"Xml", toXml, from<XmlIArchive>};

std::string writeRecord(ArchiveKind const& kind, Im6ImageFile const& file) {
    return kind.write([&](BaseOArchive& archive) { EXPECT_THAT(file.write(archive), Succeeds()); });
}

BoolResult readRecord(ArchiveKind const& kind, std::string const& record, Im6ImageFile& file) {
    BoolResult result = failure("not read");
    kind.read(record, [&](BaseIArchive& archive) { result = file.read(archive); });
    return result;
}

class Im6ImageFileArchiveTest : public Im6ImageFileTest {
  protected:
    /// The record of a sequence that is opened read only.
    std::string writeExample(ArchiveKind const& kind) const {
        Im6ImageFile file;
        open(makeIm6Sequence(), file);
        return writeRecord(kind, file);
    }

    /// Reads a record that is refused by an exception into an accessor that has a file open.
    template <class Exception>
    std::string readRefused(std::string const& record) const {
        Im6ImageFile file;
        open(makeIm6Sequence(), file);
        std::string const text = thrownText<Exception>([&] { readRecord(g_binary, record, file); });
        EXPECT_FALSE(file.isInit());
        EXPECT_EQ(countDescriptors(_path), 0U);
        return text;
    }
};

class Im6ImageFileEachArchiveTest : public Im6ImageFileArchiveTest,
                                    public testing::WithParamInterface<ArchiveKind> {};

INSTANTIATE_TEST_SUITE_P(Archives, Im6ImageFileEachArchiveTest, testing::Values(g_binary, g_xml),
                         [](testing::TestParamInfo<ArchiveKind> const& kind) { return kind.param.name; });

TEST_P(Im6ImageFileEachArchiveTest, OpensTheFileOfTheRecordAgain) {
    for (eImageAccessMode const accessMode : g_accessModes) {
        Im6ImageFile written;
        open(makeIm6Sequence(), written, accessMode);
        Im6ImageFile file;
        ASSERT_THAT(readRecord(GetParam(), writeRecord(GetParam(), written), file), Succeeds());
        EXPECT_TRUE(file.isInit());
        EXPECT_EQ(file.getFilePath(), _path);
        EXPECT_EQ(file.getAccessMode(), accessMode);
        EXPECT_FALSE(file.hasSharedRemoteAccess());
        EXPECT_FALSE(file.getGeometricCalibrationConstPtr());
        EXPECT_EQ(describeGeometry(file.getGeometry()), "x=2 y=1 z=2 c=3 t=2 eIBT_UInt16");
        EXPECT_EQ(readPixels(file, {1, 2, 1, 0, 2}), countingBytes(4, 45));
    }
}

TEST_P(Im6ImageFileEachArchiveTest, KeepsTheSharedRemoteFlag) {
    makeIm6Sequence().write(_path);
    Im6ImageFile written;
    ASSERT_THAT(written.openSharedRemoteFile(_path, eIAM_ReadWrite), Succeeds());
    Im6ImageFile file;
    ASSERT_THAT(readRecord(GetParam(), writeRecord(GetParam(), written), file), Succeeds());
    EXPECT_TRUE(file.hasSharedRemoteAccess());
    EXPECT_EQ(file.getAccessMode(), eIAM_ReadWrite);
}

TEST_P(Im6ImageFileEachArchiveTest, AFileThatWasReplacedGivesItsNewGeometryAndCalibration) {
    std::string const record = writeExample(GetParam());
    Im6Sample later;
    later.sizeX = 5;
    later.sizeZ = 3;
    later.dataType = 34;
    later.pixels = countingBytes(45, 100);
    later.text = g_calibrationText;
    later.calibration.emplace();
    later.write(_path);
    Im6ImageFile file;
    ASSERT_THAT(readRecord(GetParam(), record, file), Succeeds());
    EXPECT_EQ(describeGeometry(file.getGeometry()), "x=5 y=3 z=3 c=1 t=1 eIBT_Binary");
    ASSERT_TRUE(file.getGeometricCalibrationConstPtr());
    EXPECT_TRUE(file.getGeometricCalibrationConstPtr()->is3d());
    EXPECT_EQ(readPixels(file, {2, 0, 0, 0, 15}), later.pixels.substr(30));
}

TEST_P(Im6ImageFileEachArchiveTest, AFileThatWasReplacedByOneWithoutACalibrationHasNone) {
    Im6Sample sample = makeIm6Sequence();
    sample.text = g_calibrationText;
    sample.calibration.emplace();
    Im6ImageFile written;
    open(sample, written);
    ASSERT_TRUE(written.getGeometricCalibrationConstPtr());
    std::string const record = writeRecord(GetParam(), written);
    Im6ImageFile file;
    ASSERT_THAT(readRecord(GetParam(), record, file), Succeeds());
    EXPECT_TRUE(file.getGeometricCalibrationConstPtr());
    makeIm6Sequence().write(_path);
    ASSERT_THAT(readRecord(GetParam(), record, file), Succeeds());
    EXPECT_FALSE(file.getGeometricCalibrationConstPtr());
}

TEST_P(Im6ImageFileEachArchiveTest, ARecordWithoutAFileEmptiesTheAccessorThatReadsIt) {
    Im6ImageFile file;
    open(makeIm6Sequence(), file);
    EXPECT_THAT(readRecord(GetParam(), writeRecord(GetParam(), Im6ImageFile()), file), Succeeds());
    EXPECT_FALSE(file.isInit());
    EXPECT_EQ(countDescriptors(_path), 0U);
}

TEST_P(Im6ImageFileEachArchiveTest, SeveralAccessorsFollowEachOther) {
    Im6ImageFile first;
    open(makeIm6Sequence(), first);
    path const secondPath = _folder / "second.im6";
    Im6Sample secondSample;
    secondSample.pixels = countingBytes(12, 200);
    secondSample.write(secondPath);
    Im6ImageFile second;
    ASSERT_THAT(second.openFile(secondPath, eIAM_ReadWrite), Succeeds());
    std::string const record = GetParam().write([&](BaseOArchive& archive) {
        EXPECT_THAT(first.write(archive), Succeeds());
        EXPECT_THAT(second.write(archive), Succeeds());
        EXPECT_EQ(archive.getRegisterClassVersion(g_className), 1U);
    });
    GetParam().read(record, [&](BaseIArchive& archive) {
        EXPECT_THAT(second.read(archive), Succeeds());
        EXPECT_THAT(first.read(archive), Succeeds());
    });
    EXPECT_EQ(second.getFilePath(), _path);
    EXPECT_EQ(readPixels(first, {0, 0, 0, 0, 12}), countingBytes(12, 200));
}

TEST_P(Im6ImageFileEachArchiveTest, AnAccessorIsRebuiltByItsClassName) {
    auto const pWritten = boost::make_shared<Im6ImageFile>();
    open(makeIm6Sequence(), *pWritten);
    std::string const record =
        GetParam().write([&](BaseOArchive& archive) { archive.writeObject("accessor", pWritten); });
    DynamicObjectPtr pObject;
    GetParam().read(record, [&](BaseIArchive& archive) { pObject = archive.readObject("accessor"); });
    auto const pFile = boost::dynamic_pointer_cast<Im6ImageFile>(pObject);
    ASSERT_TRUE(pFile);
    EXPECT_EQ(readPixels(*pFile, {0, 0, 0, 0, 24}), countingBytes(48));
}

TEST_P(Im6ImageFileEachArchiveTest, AFileThatIsGoneLeavesAnAccessorWithoutAFile) {
    std::string const record = writeExample(GetParam());
    boost::filesystem::remove(_path);
    Im6ImageFile file;
    EXPECT_THAT(readRecord(GetParam(), record, file), FailsWith(openFailed(_path)));
    EXPECT_FALSE(file.isInit());
}

TEST_P(Im6ImageFileEachArchiveTest, AFileThatIsTooShortByNowLeavesAnAccessorWithoutAFile) {
    std::string const record = writeExample(GetParam());
    boost::filesystem::resize_file(_path, 150);
    Im6ImageFile file;
    EXPECT_THAT(readRecord(GetParam(), record, file), FailsWith(geometryExceeds(164, 150, _path)));
    EXPECT_FALSE(file.isInit());
    EXPECT_EQ(countDescriptors(_path), 0U);
}

TEST_P(Im6ImageFileEachArchiveTest, AFileThatIsNoIm6FileByNowIsThrownAndLeavesAnAccessorWithoutAFile) {
    std::string const record = writeExample(GetParam());
    writeFile(_path, std::string(200, 'x'));
    Im6ImageFile file;
    EXPECT_EQ(thrownText<VELMOImageException>([&] { readRecord(GetParam(), record, file); }),
              g_invalidFormat);
    EXPECT_FALSE(file.isInit());
    EXPECT_EQ(countDescriptors(_path), 0U);
}

// The bytes of a record

TEST_F(Im6ImageFileArchiveTest, ARecordWithoutAFileEndsBehindTheVersion) {
    EXPECT_EQ(writeRecord(g_binary, Im6ImageFile()), std::string("\0\0\0\0\1\0\0\0", 8));
}

TEST_F(Im6ImageFileArchiveTest, ARecordOfAFileEndsBehindTheVersionAsWell) {
    std::string const record = writeExample(g_binary);
    EXPECT_EQ(record.substr(record.size() - g_versionBytes), std::string("\1\0\0\0", 4));
    EXPECT_EQ(writeExample(g_xml).find("dataStartOffset"), std::string::npos);
}

TEST_F(Im6ImageFileArchiveTest, TheVersionIsStoredOnceInEachArchive) {
    Im6ImageFile const first;
    Im6ImageFile const second;
    EXPECT_EQ(g_binary.write([&](BaseOArchive& archive) {
        EXPECT_THAT(first.write(archive), Succeeds());
        EXPECT_THAT(second.write(archive), Succeeds());
    }),
              std::string("\0\0\0\0\1\0\0\0\0\0\0\0", 12));
}

TEST_F(Im6ImageFileArchiveTest, TheVersionStandsInASectionOfTheClassName) {
    std::string const record = writeExample(g_xml);
    std::size_t const section = record.find(std::string("<section name=\"") + g_className + "\">");
    ASSERT_NE(section, std::string::npos);
    EXPECT_LT(record.find("<item name=\"version\" value=\"1\"", section), record.find("</section>", section));
}

// Records that are refused

TEST_F(Im6ImageFileArchiveTest, ANewerVersionIsThrown) {
    std::string const text =
        "Version 2 of class velmo::image::file::Im6ImageFile in the archive is newer than "
        "the known version 1";
    std::string record = writeExample(g_binary);
    record[record.size() - g_versionBytes] = '\2';
    EXPECT_EQ(readRefused<VELMOSerializationException>(record), text);
    EXPECT_EQ(readRefused<VELMOSerializationException>(std::string("\0\0\0\0\2\0\0\0", 8)), text);
}

TEST_F(Im6ImageFileArchiveTest, AnOlderVersionIsRead) {
    std::string record = writeExample(g_binary);
    record[record.size() - g_versionBytes] = '\0';
    Im6ImageFile file;
    EXPECT_THAT(readRecord(g_binary, record, file), Succeeds());
}

TEST_F(Im6ImageFileArchiveTest, ARecordThatEndsTooEarlyIsThrown) {
    std::string const record = writeExample(g_binary);
    for (std::size_t size = 0; size < record.size(); ++size) {
        SCOPED_TRACE(size);
        readRefused<VELMOSerializationException>(record.substr(0, size));
    }
}

} // namespace

} // namespace velmo::image::file
