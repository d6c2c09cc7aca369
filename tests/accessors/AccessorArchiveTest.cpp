// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "AccessorKinds.h"
#include "CapturedLog.h"

#include <VELMOSerialization/BaseArchive.h>
#include <VELMOSerialization/VELMOSerializationLog.h>
#include <VELMOUtil/Logging.h>
#include <boost/filesystem/operations.hpp>
#include <boost/make_shared.hpp>
#include <boost/pointer_cast.hpp>

namespace velmo::image::file {

namespace {

/// Puts an accessor into archives of both kinds.
template <class Kind>
class AccessorArchive : public AccessorTest<Kind> {
  protected:
    using File = typename Kind::File;

    /// The record of the example.
    std::string writeExample(ArchiveKind const& archive, eImageAccessMode access = eIAM_ReadOnly) const {
        File file;
        this->openExample(file, access);
        return writeRecord(archive, file);
    }
    /// Reads a record that is refused by an exception into an accessor that has a file open.
    std::string readRefused(ArchiveKind const& archive, std::string const& record) const {
        File file;
        this->openExample(file);
        std::string const text =
            thrownText<VELMOSerializationException>([&] { readRecord(archive, record, file); });
        this->expectClosed(file);
        return text;
    }
    /// A class version and what stands behind it.
    static std::string getEnd(unsigned int version, bool bFile) {
        return static_cast<char>(version) + std::string(3, '\0') + Kind::getEnd(bFile);
    }
    static std::string getEmptyRecord(unsigned int version) {
        return std::string(4, '\0') + getEnd(version, false);
    }
    std::string writeVersion(unsigned int version) const {
        std::string const record = writeExample(g_binary);
        return record.substr(0, record.size() - getEnd(version, true).size()) + getEnd(version, true);
    }
};

TYPED_TEST_SUITE(AccessorArchive, AllKinds, KindNames);

ArchiveKind const g_archiveKinds[] = {g_binary, g_xml};

TYPED_TEST(AccessorArchive, ARecordOpensItsFileAgainInItsMode) {
    for (ArchiveKind const& archive : g_archiveKinds) {
        for (eImageAccessMode const access : g_accessModes) {
            typename TypeParam::File file;
            std::string const record = this->writeExample(archive, access);
            ASSERT_THAT(readRecord(archive, record, file), Succeeds()) << archive.name;
            EXPECT_TRUE(file.isInit());
            EXPECT_EQ(file.getFilePath(), this->_path);
            EXPECT_EQ(file.getAccessMode(), access);
            EXPECT_FALSE(file.hasSharedRemoteAccess());
            EXPECT_FALSE(file.getGeometricCalibrationConstPtr());
            EXPECT_EQ(describeGeometry(file.getGeometry()), g_exampleText);
            expectExample(file);
            EXPECT_EQ(static_cast<bool>(tryWrite(file, {})),
                      access != eIAM_ReadOnly || !TypeParam::s_bWrites);
        }
    }
}

TYPED_TEST(AccessorArchive, ARecordKeepsTheSharedRemoteFlag) {
    for (ArchiveKind const& archive : g_archiveKinds) {
        typename TypeParam::File file;
        this->openExample(file);
        ASSERT_THAT(this->openShared(file, this->_path), Succeeds());
        std::string const record = writeRecord(archive, file);
        file.clear();
        ASSERT_THAT(readRecord(archive, record, file), Succeeds());
        EXPECT_TRUE(file.hasSharedRemoteAccess());
        EXPECT_EQ(file.getAccessMode(), eIAM_ReadOnly);
    }
}

TYPED_TEST(AccessorArchive, ARecordWithoutAFileEmptiesTheAccessorThatReadsItAndLeavesTheDisk) {
    for (ArchiveKind const& archive : g_archiveKinds) {
        std::string const record = writeRecord(archive, typename TypeParam::File());
        typename TypeParam::File file;
        this->openExample(file, eIAM_ReadWrite);
        std::string const bytes = readFile(this->_path);
        EXPECT_THAT(readRecord(archive, record, file), Succeeds());
        this->expectClosed(file);
        EXPECT_EQ(readFile(this->_path), bytes);
        EXPECT_EQ(writeRecord(archive, file), record);
    }
}

TYPED_TEST(AccessorArchive, SeveralAccessorsFollowEachOtherWithOneVersion) {
    path const second = this->_folder / "second";
    auto const pSmall = makeGeometry(eIBT_UInt16, {2, 1});
    for (ArchiveKind const& archive : g_archiveKinds) {
        typename TypeParam::File one;
        typename TypeParam::File other;
        this->openExample(one);
        TypeParam::write(second, *pSmall);
        ASSERT_THAT(TypeParam::open(other, second, eIAM_ReadWrite, *pSmall), Succeeds());
        std::string const record = archive.write([&](BaseOArchive& oArchive) {
            EXPECT_THAT(one.write(oArchive), Succeeds());
            EXPECT_THAT(other.write(oArchive), Succeeds());
            EXPECT_EQ(oArchive.getRegisterClassVersion(TypeParam::s_class), TypeParam::s_version);
        });
        archive.read(record, [&](BaseIArchive& iArchive) {
            EXPECT_THAT(other.read(iArchive), Succeeds());
            EXPECT_THAT(one.read(iArchive), Succeeds());
            EXPECT_EQ(iArchive.getRegisterClassVersion(TypeParam::s_class), TypeParam::s_version);
        });
        expectExample(other);
        EXPECT_EQ(one.getFilePath(), second);
        EXPECT_EQ(readPixels(one, {0, 0, 0, 0, 2}), planeBytes(0, 4));
    }
}

TYPED_TEST(AccessorArchive, AnAccessorIsRebuiltByItsClassName) {
    for (ArchiveKind const& archive : g_archiveKinds) {
        auto const pWritten = boost::make_shared<typename TypeParam::File>();
        this->openExample(*pWritten);
        std::string const record =
            archive.write([&](BaseOArchive& oArchive) { oArchive.writeObject("accessor", pWritten); });
        DynamicObjectPtr pObject;
        archive.read(record, [&](BaseIArchive& iArchive) { pObject = iArchive.readObject("accessor"); });
        auto const pFile = boost::dynamic_pointer_cast<typename TypeParam::File>(pObject);
        ASSERT_TRUE(pFile);
        expectExample(*pFile);
    }
}

TYPED_TEST(AccessorArchive, AFileForReadingThatIsGoneLeavesAnAccessorWithoutAFile) {
    for (ArchiveKind const& archive : g_archiveKinds) {
        std::string const record = this->writeExample(archive);
        typename TypeParam::File file;
        this->openExample(file);
        boost::filesystem::remove(this->_path);
        EXPECT_THAT(readRecord(archive, record, file).getMessage(),
                    testing::StartsWith(this->openFailed(this->_path)));
        this->expectClosed(file);
        EXPECT_FALSE(boost::filesystem::exists(this->_path));
    }
}

// The bytes of a record

TYPED_TEST(AccessorArchive, ARecordEndsWithTheVersionAndWhatTheFormatAddsToIt) {
    EXPECT_EQ(writeRecord(g_binary, typename TypeParam::File()), this->getEmptyRecord(TypeParam::s_version));
    EXPECT_THAT(this->writeExample(g_binary), testing::EndsWith(this->getEnd(TypeParam::s_version, true)));
}

TYPED_TEST(AccessorArchive, TheVersionIsStoredOnceInEachArchiveInASectionOfTheClassName) {
    typename TypeParam::File const file;
    auto const writeTwice = [&](BaseOArchive& archive) {
        EXPECT_THAT(file.write(archive), Succeeds());
        EXPECT_THAT(file.write(archive), Succeeds());
    };
    EXPECT_EQ(g_binary.write(writeTwice),
              this->getEmptyRecord(TypeParam::s_version) + std::string(4, '\0') + TypeParam::getEnd(false));
    std::string const record = g_xml.write(writeTwice);
    std::string const section = std::string("<section name=\"") + TypeParam::s_class + "\">";
    std::string const version =
        "<item name=\"version\" value=\"" + std::to_string(TypeParam::s_version) + "\" />";
    std::size_t const at = record.find(section);
    ASSERT_NE(at, std::string::npos);
    EXPECT_EQ(record.find(section, at + 1), std::string::npos);
    std::size_t const inside = record.find_first_not_of("\n\t", at + section.size());
    EXPECT_EQ(record.compare(inside, version.size(), version), 0) << record;
    EXPECT_EQ(record.find("</section>"), record.find_first_not_of("\n\t", inside + version.size()));
}

// Records that are refused

TYPED_TEST(AccessorArchive, ANewerVersionIsLoggedAndThrownAndAnOlderOneIsRead) {
    unsigned int const newer = TypeParam::s_version + 1;
    for (std::string const& record : {this->writeVersion(newer), this->getEmptyRecord(newer)}) {
        velmo::test::CapturedLog const log(getBaseLogger());
        std::string const text = this->readRefused(g_binary, record);
        EXPECT_EQ(text, "Version " + std::to_string(newer) + " of class " + TypeParam::s_class +
                            " in the archive is newer than the known version " +
                            std::to_string(TypeParam::s_version));
        ASSERT_EQ(log.getRecords().size(), 1U);
        EXPECT_EQ(log.getRecords()[0].message, text);
    }
    typename TypeParam::File file;
    ASSERT_THAT(readRecord(g_binary, this->writeVersion(TypeParam::s_version - 1), file), Succeeds());
    expectExample(file);
}

TYPED_TEST(AccessorArchive, ARecordThatEndsTooEarlyIsThrown) {
    std::string const binary = this->writeExample(g_binary);
    for (std::size_t size = 0; size < binary.size(); ++size) {
        SCOPED_TRACE(size);
        this->readRefused(g_binary, binary.substr(0, size));
    }
    std::string const xml = this->writeExample(g_xml);
    for (std::size_t size = 0; size <= xml.rfind("</archive>"); ++size) {
        typename TypeParam::File file;
        EXPECT_THROW(readRecord(g_xml, xml.substr(0, size), file), VELMOSerializationException) << size;
        EXPECT_FALSE(file.isInit());
    }
}

TYPED_TEST(AccessorArchive, AnXmlRecordWithoutAnyOneOfItsItemsIsThrown) {
    std::string const record = this->writeExample(g_xml);
    for (std::size_t at = record.find("<item"); at != std::string::npos; at = record.find("<item", at + 1)) {
        SCOPED_TRACE(record.substr(at, 40));
        this->readRefused(g_xml, std::string(record).erase(at, record.find("/>", at) + 2 - at));
    }
}

TYPED_TEST(AccessorArchive, LengthsThatPassTheEndOfTheArchiveAndUnknownClassNamesAreThrown) {
    std::string const record = this->writeExample(g_binary);
    std::size_t const geometryName = record.find("velmo::image::HomogeneousImageGeometry");
    ASSERT_NE(geometryName, std::string::npos);
    std::size_t const pathLength = 4;
    for (std::size_t const at : {pathLength, geometryName - 8}) {
        for (char const high : {'\x01', '\x7F', '\xFF'}) {
            std::string damaged = record;
            damaged[at + 7] = high;
            EXPECT_THAT(this->readRefused(g_binary, damaged),
                        testing::HasSubstr("The archive ends inside of item"));
        }
    }
    std::string damaged = record;
    damaged[geometryName] = 'V';
    EXPECT_EQ(this->readRefused(g_binary, damaged),
              "The archive holds an object of the unknown class Velmo::image::HomogeneousImageGeometry");
}

} // namespace

} // namespace velmo::image::file
