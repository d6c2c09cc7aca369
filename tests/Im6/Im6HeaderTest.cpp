// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Im6/Im6Records.h"
#include "Im6ImageFileFixture.h"

#include <VELMOImage/VELMOImageLog.h>
#include <VELMOImageFile/VELMOImageFileLog.h>
#include <VELMOUtil/Logging.h>
#include <cstring>
#include <map>

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

TEST(Im6Header, EveryDataTypeCodeIsABufferTypeAndEveryOtherIsNone) {
    std::map<std::uint32_t, eImageBufferType> const types = {
        {0, eIBT_Real32}, {1, eIBT_Int32},   {2, eIBT_Int16},    {4, eIBT_Int8},    {18, eIBT_UInt16},
        {20, eIBT_UInt8}, {34, eIBT_Binary}, {65, eIBT_Label32}, {66, eIBT_Label16}};
    std::vector<std::uint32_t> codes = {1000, 0x7FFFFFFF, 0x80000000, 0xFFFFFFFF, 0x100, 0x10000, 0x14000000};
    for (std::uint32_t code = 0; code < 256; ++code) {
        codes.push_back(code);
    }
    for (std::uint32_t const code : codes) {
        Im6Sample sample;
        sample.dataType = code;
        auto const found = types.find(code);
        EXPECT_EQ(toGeometry(sample)->getBufferType(), found == types.end() ? eIBT_None : found->second)
            << code;
    }
}

// Sizes

TEST(Im6Header, SizesAreTakenAsTheyAreAndOneChannelPlaneOrTimePointIsAKindOfItsOwn) {
    Im6Sample sample;
    sample.sizeX = 70000;
    sample.sizeY = 0x0102;
    for (std::uint32_t const size : {0U, 1U, 2U, 3U, 4U, 4000000U}) {
        sample.sizeZ = sample.sizeC = size;
        sample.sizeT = size / 1000;
        CapturedLog const log(getBaseLogger());
        ImageGeometryPtr const pPlanes = toGeometry(sample);
        EXPECT_EQ(pPlanes->getSizeX(), 70000U);
        EXPECT_EQ(pPlanes->getSizeY(), 0x0102U);
        EXPECT_EQ(pPlanes->getVolumeGeometryType(), size == 1 ? eVGT_2d : eVGT_3d) << size;
        EXPECT_EQ(pPlanes->getSizeZ(), size);
        EXPECT_EQ(pPlanes->getColorGeometryType(), size == 1 ? eCGT_Grey : eCGT_Rgb) << size;
        EXPECT_EQ(pPlanes->getSizeC(), size == 1 ? 1U : 3U) << size;
        sample.sizeZ = sample.sizeC = 1;
        sample.sizeT = size;
        ImageGeometryPtr const pSteps = toGeometry(sample);
        EXPECT_EQ(pSteps->getTemporalGeometryType(), size == 1 ? eTGT_Single : eTGT_Sequence) << size;
        EXPECT_EQ(pSteps->getSizeT(), size);
        EXPECT_TRUE(log.getRecords().empty());
    }
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

} // namespace

} // namespace velmo::image::file
