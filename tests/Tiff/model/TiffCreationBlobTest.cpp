// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "planes/TiffPlaneFixture.h"

#include <VELMOSerialization/BinaryArchive.h>

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

TEST_F(TiffCreationBlobTest, IsReadBackByABinaryArchive) {
    std::istringstream stream(create(_path, *makeExampleGeometry(), makeCalibration()));
    BinaryIArchive archive(stream);
    auto const pGeometry = boost::dynamic_pointer_cast<HomogeneousImageGeometry>(archive.readObject("a"));
    auto const pCalibration = boost::dynamic_pointer_cast<GeometricCalibration>(archive.readObject("b"));
    ASSERT_TRUE(pGeometry);
    ASSERT_TRUE(pCalibration);
    EXPECT_EQ(toBytes(*pGeometry), toBytes(*makeExampleGeometry()));
    EXPECT_EQ(toBytes(*pCalibration), toBytes(*makeCalibration()));
    EXPECT_EQ(stream.peek(), std::istringstream::traits_type::eof());
}

TEST_F(TiffCreationBlobTest, ReopeningRestoresGeometryAndCalibrationBitForBit) {
    ImageGeometryPtr const pRgba = makeColorGeometry(eCGT_Rgba, eIBT_Label8, {5, 4, 3, 1, 2});
    pRgba->getColorGeometry().setChannelName("Gänse", 2);
    for (ImageGeometryPtr const& pGeometry : {makeExampleGeometry(), pRgba}) {
        create(_path, *pGeometry, makeCalibration());
        OpenedTiff const opened(_path);
        ASSERT_THAT(opened.result, Succeeds());
        EXPECT_EQ(toBytes(*opened.pGeometry), toBytes(*pGeometry));
        EXPECT_EQ(toBytes(*opened.pCalibration), toBytes(*makeCalibration()));
    }
}

TEST_F(TiffCreationBlobTest, HoldsTheTypesOfAHeterogeneousGeometry) {
    ImageGeometryPtr const pModel = makeGeometry(eIBT_UInt8, {5, 4, 1, 1, 3});
    HeterogeneousImageGeometry heterogeneous;
    heterogeneous.init(pModel->getVolumeGeometry(), pModel->getColorGeometry(), pModel->getTemporalGeometry(),
                       5, 4, {eIBT_UInt8, eIBT_Real32, eIBT_Label16});
    create(_path, heterogeneous, nullptr);
    OpenedTiff const opened(_path);
    ASSERT_THAT(opened.result, Succeeds());
    EXPECT_EQ(toBytes(*opened.pGeometry), toBytes(heterogeneous));
}

TEST_F(TiffCreationBlobTest, IsThereWhileTheFileIsStillBeingCreated) {
    Planes const planes = createPlanes(_path, makeExampleGeometry());
    OpenedTiff const opened(_path); // the creating handle is open
    ASSERT_THAT(opened.result, Succeeds());
    EXPECT_EQ(toBytes(*opened.pGeometry), toBytes(*makeExampleGeometry()));
}

TEST_F(TiffCreationBlobTest, OfALabelImageAloneTellsThatItIsOne) {
    create(_path, *makeGeometry(eIBT_Label16, {5, 4}), nullptr);
    EXPECT_EQ(OpenedTiff(_path).pGeometry->getBufferType(), eIBT_Label16);
    TiffPtr pTiff = openPlain(_path, "r+");
    TIFFUnsetField(pTiff.get(), TIFFTAG_SOFTWARE);
    EXPECT_EQ(TIFFRewriteDirectory(pTiff.get()), 1);
    pTiff.reset();
    EXPECT_EQ(OpenedTiff(_path).pGeometry->getBufferType(), eIBT_UInt16);
}

} // namespace velmo::image::file
