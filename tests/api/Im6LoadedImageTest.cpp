// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Im6Functions.h"

namespace velmo::test {

using namespace image;
using namespace image::file;

namespace {

/// 4 x 3 pixels; the bits of `sizes` choose two planes, three channels, two time steps and a calibration.
Im6Sample makeSample(std::uint32_t dataType, vlUInt64 pixelSize, unsigned int sizes) {
    Im6Sample sample;
    sample.dataType = dataType;
    sample.sizeZ = (sizes & 1U) != 0 ? 2 : 1;
    sample.sizeC = (sizes & 2U) != 0 ? 3 : 1;
    sample.sizeT = (sizes & 4U) != 0 ? 2 : 1;
    sample.pixels = makeBytes(12 * pixelSize * sample.sizeZ * sample.sizeC * sample.sizeT);
    if ((sizes & 8U) != 0) {
        sample.text = g_calibrationText;
        sample.calibration.emplace();
    }
    return sample;
}

} // namespace

// What is loaded

TEST_F(Im6Functions, EveryLoadGivesThePixelsOfTheFileAndLeavesItClosedAndAsItWas) {
    _sample.trailer = "tail"; // is ignored
    _sample.write(_path);
    CapturedLog const log(log4cplus::Logger::getRoot());
    std::string const bytes = readFile(_path);
    for (Load const& load : getLoads()) {
        SCOPED_TRACE(load.name);
        ImagePtr const pImage = load.call(_path);
        EXPECT_EQ(countOpen(_path), 0);
        EXPECT_EQ(describeGeometry(pImage->getGeometry()), "x=2 y=1 z=2 c=3 t=2 eIBT_UInt16");
        EXPECT_EQ(pImage->getGeometry().getColorGeometryType(), eCGT_Rgb);
        EXPECT_EQ(pImage->getTemporalGeometryType(), eTGT_Sequence);
        EXPECT_EQ(readPixels(*pImage), _sample.pixels);
        std::string plane(4, '\0');
        EXPECT_TRUE(pImage->readPixels(1, 2, 1, 0, 2, plane.data()));
        EXPECT_EQ(plane, bytes.substr(116 + ((1 * 3 + 2) * 2 + 1) * 4, 4));
    }
    EXPECT_TRUE(log.getRecords().empty());
    EXPECT_EQ(readFile(_path), bytes);
}

TEST_F(Im6Functions, EverySizeAndEveryDataTypeLoadsWithACalibrationAndWithout) {
    struct {
        std::uint32_t dataType;
        eImageBufferType bufferType;
    } const types[] = {{0, eIBT_Real32},  {1, eIBT_Int32},    {2, eIBT_Int16},
                       {4, eIBT_Int8},    {18, eIBT_UInt16},  {20, eIBT_UInt8},
                       {34, eIBT_Binary}, {65, eIBT_Label32}, {66, eIBT_Label16}};
    for (auto const& type : types) {
        for (unsigned int sizes = 0; sizes < 16; ++sizes) {
            Im6Sample sample = makeSample(type.dataType, getImageBufferBaseSize(type.bufferType), sizes);
            sample.write(_path);
            for (Load const& load : getLoads()) {
                SCOPED_TRACE(load.name + (' ' + std::to_string(type.dataType)));
                ImagePtr const pImage = load.call(_path);
                EXPECT_EQ(pImage->getBufferType(), type.bufferType);
                EXPECT_EQ(readPixels(*pImage), sample.pixels);
            }
            EXPECT_EQ(loadIm6ImageFile(_path)->hasGeometricCalibration(), sample.calibration.has_value());
        }
    }
}

TEST_F(Im6Functions, AGreyFileOfSeveralPlanesLoadsAsAVolumeAndAnRgbOneAsThreeChannels) {
    struct {
        unsigned int sizes;
        eVolumeGeometryType volume;
        eColorGeometryType color;
        char const* description;
    } const cases[] = {{0, eVGT_2d, eCGT_Grey, "x=4 y=3 z=1 c=1 t=1 eIBT_UInt8"},
                       {1, eVGT_3d, eCGT_Grey, "x=4 y=3 z=2 c=1 t=1 eIBT_UInt8"},
                       {2, eVGT_2d, eCGT_Rgb, "x=4 y=3 z=1 c=3 t=1 eIBT_UInt8"},
                       {3, eVGT_3d, eCGT_Rgb, "x=4 y=3 z=2 c=3 t=1 eIBT_UInt8"}};
    for (auto const& entry : cases) {
        makeSample(20, 1, entry.sizes).write(_path);
        for (Load const& load : getLoads()) {
            SCOPED_TRACE(load.name);
            ImagePtr const pImage = load.call(_path);
            BaseImageGeometry const& geometry = pImage->getGeometry();
            EXPECT_EQ(geometry.getVolumeGeometryType(), entry.volume);
            EXPECT_EQ(geometry.getColorGeometryType(), entry.color);
            EXPECT_EQ(geometry.getTemporalGeometryType(), eTGT_Single);
            EXPECT_EQ(describeGeometry(geometry), entry.description);
        }
    }
}

TEST_F(Im6Functions, ADataTypeThatIsNotKnownLoadsAsAnImageWithoutBytesAndOtherChannelsAsThree) {
    _sample.dataType = 67;
    _sample.sizeC = 4;
    _sample.write(_path);
    for (Load const& load : getLoads()) {
        SCOPED_TRACE(load.name);
        ImagePtr const pImage = load.call(_path);
        EXPECT_EQ(pImage->getBufferType(), eIBT_None);
        EXPECT_EQ(pImage->getGeometry().getFullMemorySize(), 0U);
        EXPECT_EQ(pImage->getGeometry().getSizeC(), 3U);
    }
}

// Calibration

TEST_F(Im6Functions, AMemoryLoadKeepsTheCalibrationAndADistributedLoadLosesIt) {
    for (std::uint32_t const sizeZ : {1U, 2U}) {
        _sample.sizeZ = sizeZ;
        _sample.pixels = countingBytes(24UL * sizeZ);
        _sample.write(_path);
        for (Load const& load : getMemoryLoads()) {
            SCOPED_TRACE(load.name);
            GeometricCalibrationConstPtr const pCalibration =
                load.call(_path)->getGeometricCalibrationConstPtr();
            ASSERT_TRUE(pCalibration);
            EXPECT_EQ(pCalibration->is3d(), sizeZ == 2);
            EXPECT_EQ(pCalibration->getPixelSizeX(), 0.5F);
            EXPECT_EQ(pCalibration->getPixelSizeY(), 0.25F);
            EXPECT_EQ(pCalibration->getPixelSizeZ(), sizeZ == 2 ? 1.5F : 1.0F);
            EXPECT_EQ(pCalibration->getUnit(), "um");
        }
        for (Load const& load : getDistributedLoads()) {
            EXPECT_FALSE(load.call(_path)->hasGeometricCalibration()) << load.name;
        }
    }
}

TEST_F(Im6Functions, AFileWithoutACalibrationLeavesNothingOfWhatATargetWasDescribedBy) {
    makeIm6Sequence().write(_path);
    for (ImagePtr const& pTarget :
         {makeMemoryImage(*makeSequence(eIBT_UInt8), std::string(48, 'x')), ImagePtr(_pReference)}) {
        pTarget->setGeometricCalibration(createGeometricCalibration2d(7, 7, "m", 0, 0, 0, 0, 0));
        pTarget->setUserPropertiesStr("text of another image");
        loadIm6ImageFile(_path, pTarget);
        EXPECT_EQ(readPixels(*pTarget), makeIm6Sequence().pixels);
        EXPECT_FALSE(pTarget->hasGeometricCalibration());
        EXPECT_EQ(pTarget->getUserPropertiesStr(), "");
    }
}

} // namespace velmo::test
