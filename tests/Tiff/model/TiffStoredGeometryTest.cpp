// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CapturedLog.h"
#include "TiffFixture.h"

#include <VELMOSerialization/BinaryArchive.h>
#include <VELMOUtil/Logging.h>
#include <boost/make_shared.hpp>
#include <sstream>

namespace velmo::image::file {

namespace {

using velmo::test::CapturedLog;
using Objects = std::vector<boost::shared_ptr<BaseDynamicObject const>>;

constexpr std::uint16_t g_userPropertiesTag = 65000;

boost::shared_ptr<HeterogeneousImageGeometry> makeStoredGeometry() {
    VolumeGeometry volume;
    volume.init3d(5);
    ColorGeometry color;
    color.initUser(2);
    color.setChannelName("DAPI", 1);
    TemporalGeometry temporal;
    temporal.initSequence(3);
    auto pGeometry = boost::make_shared<HeterogeneousImageGeometry>();
    pGeometry->init(volume, color, temporal, 7, 9, {eIBT_UInt8, eIBT_Label32, eIBT_Real32});
    return pGeometry;
}

boost::shared_ptr<GeometricCalibration> makeStoredCalibration() {
    auto pCalibration = boost::make_shared<GeometricCalibration>();
    pCalibration->init3d(0.5F, 0.25F, 2.0F, "\xC2\xB5m", 1, 2, 3, 4, 5, 6, 7);
    return pCalibration;
}

std::string toBlob(Objects const& objects) {
    std::ostringstream stream;
    BinaryOArchive archive(stream);
    for (auto const& pObject : objects) {
        archive.writeObject("object", pObject);
    }
    return stream.str();
}

/// A directory whose tags tell something else than the blob does.
RawDirectory ownDirectory(std::string const& blob) {
    return greyDirectory().set(TIFFTAG_SOFTWARE, ascii("VELMO_Library")).set(TIFFTAG_PHOTOSHOP, octets(blob));
}

class TiffStoredGeometry : public TiffTest {
  protected:
    void writeOwn(std::string const& blob) const { writeRawTiff(_path, {ownDirectory(blob)}); }

    std::string exceptionText() const {
        return "An exception has been thrown while opening file " + _path.string() + "\n";
    }
    void expectException() const {
        for (eImageAccessMode const access : {eIAM_ReadOnly, eIAM_ReadWrite}) {
            OpenedTiff const file(_path, {access});
            EXPECT_THAT(file.result, FailsLike(exceptionText()));
            EXPECT_GT(file.result.getMessage().size(), exceptionText().size());
            EXPECT_EQ(file.pTiff, nullptr);
            EXPECT_EQ(countDescriptors(_path), 0U);
        }
    }
};

void expectStoredGeometry(OpenedTiff const& file) {
    ASSERT_THAT(file.result, Succeeds());
    auto const* const pGeometry = dynamic_cast<HeterogeneousImageGeometry const*>(file.pGeometry.get());
    ASSERT_NE(pGeometry, nullptr);
    EXPECT_EQ(describeGeometry(*pGeometry), describeGeometry(*makeStoredGeometry()));
    EXPECT_EQ(pGeometry->getBufferTypes(), makeStoredGeometry()->getBufferTypes());
    EXPECT_EQ(pGeometry->getColorGeometryType(), eCGT_User);
    EXPECT_EQ(pGeometry->getColorGeometry().getChannelName(1), "DAPI");
}

} // namespace

TEST_F(TiffStoredGeometry, GeometryAndCalibrationAreThoseOfTheBlobWhoseEndIsNotLookedAt) {
    writeOwn(toBlob({makeStoredGeometry(), makeStoredCalibration()}) + "trailing");
    OpenedTiff const file(_path);
    expectStoredGeometry(file);
    ASSERT_TRUE(file.pCalibration);
    EXPECT_TRUE(file.pCalibration->is3d());
    EXPECT_EQ(file.pCalibration->getPixelSizeZ(), 2.0F);
    EXPECT_EQ(file.pCalibration->getUnit(), "\xC2\xB5m");
    EXPECT_EQ(file.pCalibration->getFurtherTerms(), makeStoredCalibration()->getFurtherTerms());
}

TEST_F(TiffStoredGeometry, ModesAndAccessPlayNoPart) {
    writeOwn(toBlob({makeStoredGeometry(), makeStoredCalibration()}));
    for (eImageAccessMode const access : {eIAM_ReadOnly, eIAM_ReadWrite}) {
        for (vlUInt64 const directoryMode : {0U, 1U, 5U}) {
            for (vlUInt64 const bufferMode : {0U, 1U, 2U, 5U}) {
                OpenedTiff const file(_path, {access, static_cast<eTiffDirectoryMode>(directoryMode),
                                              static_cast<eTiffBufferMode>(bufferMode)});
                expectStoredGeometry(file);
                EXPECT_TRUE(file.pCalibration);
            }
        }
    }
}

TEST_F(TiffStoredGeometry, ABlobWithoutCalibrationOrWithANullOneHasNoneWhateverTheResolutionTags) {
    for (std::string const& blob :
         {toBlob({makeStoredGeometry()}), toBlob({makeStoredGeometry(), nullptr})}) {
        RawDirectory directory = ownDirectory(blob);
        writeRawTiff(_path, {directory.set(TIFFTAG_XRESOLUTION, real(2)).set(TIFFTAG_YRESOLUTION, real(2))});
        OpenedTiff const file(_path);
        expectStoredGeometry(file);
        EXPECT_FALSE(file.pCalibration);
    }
}

TEST_F(TiffStoredGeometry, NoTagOfTheDirectoryIsJudged) {
    std::string const blob = toBlob({makeStoredGeometry()});
    RawDirectory const odd[] = {
        ownDirectory(blob).set(TIFFTAG_SUBFILETYPE, longs({1})).set(TIFFTAG_ORIENTATION, shorts({5})),
        ownDirectory(blob).without(TIFFTAG_BITSPERSAMPLE),
        ownDirectory(blob).set(TIFFTAG_BITSPERSAMPLE, shorts({1})),
        ownDirectory(blob).set(TIFFTAG_SAMPLEFORMAT, shorts({SAMPLEFORMAT_COMPLEXINT})),
        ownDirectory(blob).set(TIFFTAG_IMAGEDESCRIPTION, ascii("ImageJ=1\nimages=x\n"))};
    CapturedLog const log(getBaseLogger());
    for (RawDirectory const& directory : odd) {
        writeRawTiff(_path, {directory});
        expectStoredGeometry(OpenedTiff(_path, {eIAM_ReadWrite}));
    }
    EXPECT_TRUE(log.getRecords().empty());
}

TEST_F(TiffStoredGeometry, NoFurtherDirectoryIsLookedAt) {
    RawDirectory const own = ownDirectory(toBlob({makeStoredGeometry()}));
    writeRawTiff(_path, {own, greyDirectory(2, 2).set(TIFFTAG_SUBFILETYPE, longs({1}))});
    OpenedTiff const file(_path);
    expectStoredGeometry(file);
    EXPECT_EQ(TIFFCurrentDirectory(file.pTiff), 0U);
    EXPECT_EQ(TIFFReadDirectory(file.pTiff), 1);
}

TEST_F(TiffStoredGeometry, OnlyTheExactNameMarksAFileOfTheModule) {
    for (std::string const name : {"", "VELMO_Librar", "VELMO_Library ", "VELMO_Library2", " VELMO_Library",
                                   "velmo_library", "VELMO Library"}) {
        writeRawTiff(_path,
                     {ownDirectory(toBlob({makeStoredGeometry()})).set(TIFFTAG_SOFTWARE, ascii(name))});
        OpenedTiff const file(_path);
        ASSERT_THAT(file.result, Succeeds()) << name;
        EXPECT_EQ(describeGeometry(*file.pGeometry), "x=4 y=3 z=1 c=1 t=1 eIBT_UInt8") << name;
    }
}

TEST_F(TiffStoredGeometry, TheNameInAFurtherDirectoryMarksNothing) {
    writeRawTiff(_path, {greyDirectory(), ownDirectory(toBlob({makeStoredGeometry()}))});
    OpenedTiff const file(_path);
    ASSERT_THAT(file.result, Succeeds());
    EXPECT_EQ(file.pGeometry->getSizeZ(), 2U);
}

TEST_F(TiffStoredGeometry, ABlobCutAtAnyByteIsRefusedUnlessItEndsBehindTheGeometry) {
    std::string const whole = toBlob({makeStoredGeometry(), makeStoredCalibration()});
    std::size_t const geometryEnd = toBlob({makeStoredGeometry()}).size();
    ASSERT_LT(geometryEnd, whole.size());
    for (std::size_t size = 1; size < whole.size(); ++size) {
        SCOPED_TRACE(size);
        writeOwn(whole.substr(0, size));
        if (size == geometryEnd) {
            expectStoredGeometry(OpenedTiff(_path));
        } else {
            expectException();
        }
    }
}

TEST_F(TiffStoredGeometry, ABlobThatLiesAboutItsObjectsIsRefused) {
    std::string unknown = toBlob({makeStoredGeometry()});
    unknown[unknown.find("Heterogeneous")] = 'h';
    std::string const blobs[] = {toBlob({makeStoredCalibration(), makeStoredCalibration()}),
                                 toBlob({makeStoredGeometry(), makeStoredGeometry()}),
                                 unknown,
                                 toBlob({makeStoredGeometry()}) + "no calibration",
                                 toBlob({makeStoredGeometry()}) + std::string(8, '\xFF'),
                                 std::string(200, '\xFF'),
                                 toBlob({nullptr}),
                                 toBlob({nullptr, makeStoredCalibration()}),
                                 "x"};
    for (std::string const& blob : blobs) {
        SCOPED_TRACE(&blob - blobs);
        writeOwn(blob);
        expectException();
    }
}

TEST_F(TiffStoredGeometry, ABlobWithEachOfItsBytesChangedNeverCrashes) {
    std::string const whole = toBlob({makeStoredGeometry(), makeStoredCalibration()});
    for (std::size_t index = 0; index < whole.size(); ++index) {
        for (char const value : {'\x7F', '\xFF'}) {
            std::string changed = whole;
            changed[index] = value;
            writeOwn(changed);
            OpenedTiff const file(_path);
            EXPECT_EQ(static_cast<bool>(file.result), file.pTiff != nullptr) << index;
            EXPECT_TRUE(!file.result || file.pGeometry) << index;
        }
    }
}

TEST_F(TiffStoredGeometry, UserPropertiesAreThoseOfTheFileOrEmpty) {
    RawDirectory directory = ownDirectory(toBlob({makeStoredGeometry()}));
    writeRawTiff(_path, {directory});
    EXPECT_EQ(OpenedTiff(_path).userProperties, "");
    for (std::string const& text : {std::string("objective=40x\nna=1.3"), std::string("\xC3\xA9t\xC3\xA9"),
                                    std::string("abc"), std::string(70000, 'p')}) {
        writeRawTiff(_path, {directory.set(g_userPropertiesTag, ascii(text))});
        EXPECT_EQ(OpenedTiff(_path).userProperties, text);
    }
}

TEST_F(TiffStoredGeometry, TheTagOfUserPropertiesIsKnownToEveryFileOpenedAfterwards) {
    writeRawTiff(_path, {greyDirectory().set(g_userPropertiesTag, ascii("text"))});
    OpenedTiff const first(_path);
    std::unique_ptr<TIFF, decltype(&TIFFClose)> const pTiff(TIFFOpen(_path.c_str(), "r"), &TIFFClose);
    ASSERT_TRUE(pTiff);
    char const* text = nullptr;
    EXPECT_EQ(TIFFGetField(pTiff.get(), g_userPropertiesTag, &text), 1);
    EXPECT_STREQ(text, "text");
    TIFFField const* const pField = TIFFFieldWithTag(pTiff.get(), g_userPropertiesTag);
    ASSERT_NE(pField, nullptr);
    EXPECT_STREQ(TIFFFieldName(pField), "User properties tag");
    EXPECT_EQ(TIFFFieldDataType(pField), TIFF_ASCII);
    EXPECT_EQ(TIFFFieldReadCount(pField), TIFF_VARIABLE);
    EXPECT_EQ(TIFFFieldWriteCount(pField), TIFF_VARIABLE);
    EXPECT_EQ(TIFFFieldPassCount(pField), 0);
}

} // namespace velmo::image::file
