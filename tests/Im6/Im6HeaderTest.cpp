// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Im6/Im6Records.h"
#include "Im6ImageFileFixture.h"

#include <VELMOImage/VELMOImageLog.h>
#include <VELMOImageFile/VELMOImageFileLog.h>
#include <VELMOUtil/Logging.h>
#include <cstring>

namespace velmo::image::file {

namespace {

/// The record as a read of the file's bytes fills it.
HeaderData toRecord(Im6Sample const& sample) {
    HeaderData header;
    std::memcpy(&header, sample.toHeader().data(), sizeof(header));
    return header;
}

ImageGeometryPtr toGeometry(Im6Sample const& sample) {
    return headerToGeometry(toRecord(sample));
}

// Types

struct TypeCode {
    std::uint32_t code;
    eImageBufferType bufferType;
};

TEST(Im6Header, EveryDataTypeCodeIsABufferType) {
    TypeCode const codes[] = {{0, eIBT_Real32},  {1, eIBT_Int32},    {2, eIBT_Int16},
                              {4, eIBT_Int8},    {18, eIBT_UInt16},  {20, eIBT_UInt8},
                              {34, eIBT_Binary}, {65, eIBT_Label32}, {66, eIBT_Label16}};
    for (TypeCode const& entry : codes) {
        Im6Sample sample;
        sample.dataType = entry.code;
        EXPECT_EQ(toGeometry(sample)->getBufferType(), entry.bufferType) << entry.code;
    }
}

TEST(Im6Header, EveryOtherDataTypeCodeIsNoBufferTypeAndNoFailure) {
    std::set<std::uint32_t> const known = {0, 1, 2, 4, 18, 20, 34, 65, 66};
    std::vector<std::uint32_t> codes = {1000, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF, 0x100, 0x10000, 0x14000000};
    for (std::uint32_t code = 0; code < 256; ++code) {
        codes.push_back(code);
    }
    for (std::uint32_t const code : codes) {
        if (known.count(code) == 0) {
            Im6Sample sample;
            sample.dataType = code;
            EXPECT_EQ(toGeometry(sample)->getBufferType(), eIBT_None) << code;
        }
    }
}

// Sizes

TEST(Im6Header, SizesAlongXAndYAreTakenAsTheyAre) {
    Im6Sample sample;
    sample.sizeX = 70000;
    sample.sizeY = 0x01020304;
    EXPECT_EQ(toGeometry(sample)->getSizeX(), 70000U);
    EXPECT_EQ(toGeometry(sample)->getSizeY(), 0x01020304U);
}

TEST(Im6Header, OnePlaneIsA2dImageAndEveryOtherNumberAVolume) {
    for (std::uint32_t const sizeZ : {0U, 1U, 2U, 4000000000U}) {
        Im6Sample sample;
        sample.sizeZ = sizeZ;
        ImageGeometryPtr const pGeometry = toGeometry(sample);
        EXPECT_EQ(pGeometry->getVolumeGeometryType(), sizeZ == 1 ? eVGT_2d : eVGT_3d) << sizeZ;
        EXPECT_EQ(pGeometry->getSizeZ(), sizeZ);
    }
}

TEST(Im6Header, OneChannelIsGreyAndEveryOtherNumberRgb) {
    for (std::uint32_t const sizeC : {0U, 1U, 2U, 3U, 4U, 0xFFFFFFFFU}) {
        Im6Sample sample;
        sample.sizeC = sizeC;
        ImageGeometryPtr const pGeometry = toGeometry(sample);
        EXPECT_EQ(pGeometry->getColorGeometryType(), sizeC == 1 ? eCGT_Grey : eCGT_Rgb) << sizeC;
        EXPECT_EQ(pGeometry->getSizeC(), sizeC == 1 ? 1U : 3U) << sizeC;
    }
}

TEST(Im6Header, OneTimePointIsASingleImageAndEveryOtherNumberASequence) {
    for (std::uint32_t const sizeT : {0U, 1U, 2U, 4000000000U}) {
        Im6Sample sample;
        sample.sizeT = sizeT;
        ImageGeometryPtr const pGeometry = toGeometry(sample);
        EXPECT_EQ(pGeometry->getTemporalGeometryType(), sizeT == 1 ? eTGT_Single : eTGT_Sequence) << sizeT;
        EXPECT_EQ(pGeometry->getSizeT(), sizeT);
    }
}

TEST(Im6Header, SizesOfZeroAreTaken) {
    Im6Sample sample;
    sample.sizeX = sample.sizeY = sample.sizeZ = sample.sizeC = sample.sizeT = 0;
    EXPECT_EQ(toGeometry(sample)->getFullMemorySize(), 0U);
    EXPECT_EQ(toGeometry(sample)->getSizeC(), 3U);
}

TEST(Im6Header, SizesBeyond64BitsAreRefusedByTheImageLibrary) {
    Im6Sample sample;
    sample.sizeX = sample.sizeY = 0xFFFFFFFF;
    EXPECT_EQ(toGeometry(sample)->getFullMemorySize(), 0xFFFFFFFFUL * 0xFFFFFFFFUL);
    sample.sizeZ = 2;
    EXPECT_EQ(
        thrownText<VELMOImageException>([&] { toGeometry(sample); }),
        "An image of sizes x=4294967295 y=4294967295 z=2 c=1 t=1 has more bytes than 64 bits can count");
}

// The magic number

TEST(Im6Header, AnotherMagicNumberIsThrownAndLoggedByTheImageLibrary) {
    for (std::uint32_t const magic : {0U, 0x6934U + 1U, 0x6934U - 1U, 0x3469U, 0x34690000U,
                                      0x10000U + 0x6934U, 0x80006934U, 0xFFFFFFFFU}) {
        Im6Sample sample;
        sample.magic = magic;
        CapturedLog const log(getBaseLogger());
        EXPECT_EQ(thrownText<VELMOImageException>([&] { toGeometry(sample); }), g_invalidFormat) << magic;
        ASSERT_EQ(log.getRecords().size(), 1U);
        EXPECT_EQ(log.getRecords()[0].logger, getVELMOImageLogger().getName());
        EXPECT_EQ(log.getRecords()[0].level, log4cplus::ERROR_LOG_LEVEL);
        EXPECT_EQ(log.getRecords()[0].message, g_invalidFormat);
    }
    EXPECT_NE(getVELMOImageLogger().getName(), getVELMOImageFileLogger().getName());
}

TEST(Im6Header, NothingIsLoggedOnSuccess) {
    CapturedLog const log(getBaseLogger());
    toGeometry(makeIm6Sequence());
    EXPECT_TRUE(log.getRecords().empty());
}

} // namespace

} // namespace velmo::image::file
