// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "planes/TiffPlaneFixture.h"

#include <VELMOSerialization/BinaryArchive.h>

#include <VELMOImage/ImageFactory.h>
#include <VELMOImageFile/TiffImageFileUtils.h>
#include <cstring>
#include <sstream>

namespace velmo::image::file {

namespace {

using TiffCreationBlobTest = TiffTest;

/// What a binary archive is made of: numbers in little-endian order, texts behind their length.
class Record {
  public:
    Record& put(std::uint64_t value, std::size_t width) {
        for (std::size_t index = 0; index < width; ++index) {
            _bytes.push_back(static_cast<char>(value >> 8 * index & 0xFFU));
        }
        return *this;
    }
    Record& wide(std::uint64_t value) { return put(value, 8); }
    Record& narrow(std::uint32_t value) { return put(value, 4); }
    Record& real(float value) {
        std::uint32_t bits = 0;
        std::memcpy(&bits, &value, sizeof(bits));
        return narrow(bits);
    }
    Record& text(std::string const& value) {
        wide(value.size());
        _bytes += value;
        return *this;
    }
    std::string const& bytes() const { return _bytes; }

  private:
    std::string _bytes;
};

/// The geometry of the example: 5 x 4 pixels of 16 bits, 3 planes, grey with white as zero, 2 time steps.
Record exampleRecord() {
    Record record;
    record.text("velmo::image::HomogeneousImageGeometry").narrow(1);
    record.wide(eVGT_3d).wide(3);
    record.wide(eCGT_Grey).wide(1).narrow(0).wide(0);
    record.wide(eTGT_Sequence).wide(2);
    record.wide(5).wide(4).wide(eIBT_UInt16);
    return record;
}

ImageGeometryPtr makeExampleGeometry() {
    ImageGeometryPtr const pGeometry = makeGeometry(eIBT_UInt16, {5, 4, 3, 1, 2});
    pGeometry->getColorGeometry().setMinIsBlack(false);
    return pGeometry;
}

boost::shared_ptr<GeometricCalibration> makeCalibration() {
    auto pCalibration = boost::make_shared<GeometricCalibration>();
    pCalibration->init3d(0.25F, 0.5F, 1.75F, "um", 1.0F, -2.0F, 3.0F, 4.5F, 5.0F, 6.0F, 7.0F);
    return pCalibration;
}

/// The bytes that an archive holds of an object.
std::string toBytes(BaseSerializationObject const& object) {
    std::ostringstream stream;
    BinaryOArchive archive(stream);
    EXPECT_THAT(object.write(archive), Succeeds());
    return stream.str();
}

std::string create(path const& path, BaseImageGeometry const& geometry,
                   boost::shared_ptr<GeometricCalibration const> const& pCalibration) {
    TIFF* pTiff = nullptr;
    EXPECT_THAT(createTiffFile(path, geometry, pCalibration, eTC_None, pTiff), Succeeds());
    TiffPtr const pOwner(pTiff);
    return findBlob(openPlain(path)).value_or("no blob");
}

} // namespace

TEST_F(TiffCreationBlobTest, HoldsGeometryAndCalibrationByteForByte) {
    Record expected = exampleRecord();
    expected.text("velmo::image::GeometricCalibration").narrow(1).narrow(1);
    expected.real(0.25F).real(0.5F).real(1.75F).text("um");
    for (float const term : {1.0F, -2.0F, 3.0F, 4.5F, 5.0F, 6.0F, 7.0F}) {
        expected.real(term);
    }
    EXPECT_EQ(create(_path, *makeExampleGeometry(), makeCalibration()), expected.bytes());
}

TEST_F(TiffCreationBlobTest, OfANullCalibrationHoldsAnEmptyClassName) {
    EXPECT_EQ(create(_path, *makeExampleGeometry(), nullptr), exampleRecord().text("").bytes());
    EXPECT_EQ(OpenedTiff(_path).pCalibration, nullptr);
}

TEST_F(TiffCreationBlobTest, IsTheSameWithUserProperties) {
    TIFF* pTiff = nullptr;
    ASSERT_THAT(createTiffFile(_path, *makeExampleGeometry(), nullptr, "text", eTC_None, pTiff), Succeeds());
    TiffPtr(pTiff).reset();
    EXPECT_EQ(findBlob(openPlain(_path)), exampleRecord().text("").bytes());
}

TEST_F(TiffCreationBlobTest, ReopeningRestoresGeometryAndCalibrationBitForBit) {
    ImageGeometryPtr const pRgba = makeColorGeometry(eCGT_Rgba, eIBT_Label8, {5, 4, 3, 1, 2});
    pRgba->getColorGeometry().setChannelName("Gänse", 2);
    auto const pTypes = boost::make_shared<HeterogeneousImageGeometry>();
    pTypes->init(VolumeGeometry(), ColorGeometry(),
                 makeGeometry(eIBT_UInt8, {5, 4, 1, 1, 3})->getTemporalGeometry(), 5, 4,
                 {eIBT_UInt8, eIBT_Real32, eIBT_Label16});
    for (ImageGeometryPtr const& pGeometry : {makeExampleGeometry(), pRgba, ImageGeometryPtr(pTypes)}) {
        create(_path, *pGeometry, makeCalibration());
        OpenedTiff const opened(_path);
        ASSERT_THAT(opened.result, Succeeds());
        EXPECT_EQ(toBytes(*opened.pGeometry), toBytes(*pGeometry));
        EXPECT_EQ(toBytes(*opened.pCalibration), toBytes(*makeCalibration()));
    }
}

namespace {

/// User properties as a file has them, or may not have them.
class TiffUserPropertiesTest : public TiffTest {
  protected:
    std::string getFailure() const {
        return "Error while setting tiff tag TIFFTAG_USERPROPERTIES for file " + _path.string() + "\n";
    }

    /// "saved", or the text of what the save throws.
    std::string trySave(std::string const& userProperties) const {
        ImagePtr pImage;
        EXPECT_THAT(ImageFactory::getInstance().createDefaultImage(*_pGeometry, pImage), Succeeds());
        pImage->setUserPropertiesStr(userProperties);
        try {
            saveTiffImageFile(_path, pImage, eTC_None);
            return "saved";
        } catch (std::exception const& exception) {
            return exception.what();
        }
    }

    ImageGeometryPtr const _pGeometry = makeGeometry(eIBT_UInt8, {4, 3});
    std::vector<std::string> const _withZero = {std::string(1, '\0'), std::string("\0<a/>", 5),
                                                std::string("<a>\0</a>", 8), std::string("<a/>\0", 5)};
};

} // namespace

TEST_F(TiffUserPropertiesTest, ACreationRefusesAZeroByte) {
    for (std::string const& userProperties : _withZero) {
        TIFF* pTiff = nullptr;
        writeFile(_path, "an old file");
        EXPECT_THAT(
            createTiffFile(_path, *_pGeometry, nullptr, userProperties, eTC_None, pTiff),
            FailsInWords(getFailure() + "The text holds a zero byte, which would end it in the file"));
        EXPECT_EQ(pTiff, nullptr);
        EXPECT_EQ(countDescriptors(_path), 0U);
        EXPECT_EQ(readFile(_path), "an old file");
    }
}

TEST_F(TiffUserPropertiesTest, ASaveRefusesAZeroByte) {
    for (std::string const& userProperties : _withZero) {
        EXPECT_THAT(trySave(userProperties), testing::StartsWith("Error while saving tiff image file \"" +
                                                                 _path.string() + "\"\n" + getFailure()));
        EXPECT_EQ(countDescriptors(_path), 0U);
    }
}

TEST_F(TiffUserPropertiesTest, AnyOtherByteIsKept) {
    std::string userProperties;
    for (int byte = 1; byte < 256; ++byte) {
        userProperties += static_cast<char>(byte);
    }
    EXPECT_EQ(trySave(userProperties), "saved");
    EXPECT_EQ(loadTiffImageFile(_path, eTBM_Default)->getUserPropertiesStr(), userProperties);
}

} // namespace velmo::image::file
