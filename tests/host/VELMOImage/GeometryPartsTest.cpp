// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOImage/GeometryParts.h"
#include "ThrownText.h"
#include "VELMOImage/ImageEnums.h"
#include "VELMOImage/VELMOImageLog.h"
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sstream>
#include <vector>

using namespace velmo;
using namespace velmo::image;
using testing::HasSubstr;
using velmo::test::thrownText;

namespace {

struct ChannelsRow {
    eColorGeometryType type;
    vlUInt64 nbChannels;
};

constexpr ChannelsRow g_channels[] = {{eCGT_Grey, 1},  {eCGT_Rgb, 3},   {eCGT_Rgba, 4},   {eCGT_XYZ, 3},
                                      {eCGT_YPbPr, 3}, {eCGT_YCbCr, 3}, {eCGT_CieLab, 3}, {eCGT_CieLuv, 3},
                                      {eCGT_HLS, 3},   {eCGT_HSV, 3},   {eCGT_User, 1}};

} // namespace

TEST(ColorGeometry, IsGreyAtFirstAndEveryTypeHasItsNumberOfChannels) {
    ColorGeometry color;
    EXPECT_EQ(color.getColorGeometryType(), eCGT_Grey);
    EXPECT_EQ(color.getSizeC(), 1U);
    EXPECT_TRUE(color.minIsBlack());
    EXPECT_TRUE(color.getChannelNames().empty());
    for (ChannelsRow const& row : g_channels) {
        color.init(row.type);
        EXPECT_EQ(color.getColorGeometryType(), row.type);
        EXPECT_EQ(color.getSizeC(), row.nbChannels) << static_cast<vlUInt64>(row.type);
    }
    color.initRgb();
    EXPECT_EQ(color.getColorGeometryType(), eCGT_Rgb);
    EXPECT_EQ(color.getSizeC(), 3U);
    color.initGrey();
    EXPECT_EQ(color.getColorGeometryType(), eCGT_Grey);
    EXPECT_EQ(color.getSizeC(), 1U);
    for (vlUInt64 const sizeC : {vlUInt64{0}, vlUInt64{1}, vlUInt64{7}, NumericLimits<vlUInt64>::s_max}) {
        color.initUser(sizeC);
        EXPECT_EQ(color.getColorGeometryType(), eCGT_User);
        EXPECT_EQ(color.getSizeC(), sizeC);
    }
    color.init(static_cast<eColorGeometryType>(11)); // outside of the enumeration
    EXPECT_EQ(color.getSizeC(), 1U);
}

TEST(ColorGeometry, WhatIsBlackIsKeptWhenTheTypeChanges) {
    ColorGeometry color;
    color.setMinIsBlack(false);
    color.initRgb();
    EXPECT_FALSE(color.minIsBlack());
    color.initUser(5);
    EXPECT_FALSE(color.minIsBlack());
    color.setMinIsBlack(true);
    color.initGrey();
    EXPECT_TRUE(color.minIsBlack());
}

TEST(ColorGeometry, ChannelsHaveTheNamesThatTheyWereGivenUntilTheNextInit) {
    ColorGeometry color;
    vlUInt64 const far = vlUInt64{1} << 59; // a name takes no room for the channels before it
    color.initUser(2 * far);
    color.setChannelName("third", 2);
    color.setChannelName("far", far);
    color.setChannelName("again", 2);
    EXPECT_EQ(color.getChannelName(1), "");
    EXPECT_EQ(color.getChannelName(2), "again");
    EXPECT_EQ(color.getChannelName(far), "far");
    EXPECT_EQ(color.getChannelNames().size(), 2U);
    color.initRgb();
    EXPECT_TRUE(color.getChannelNames().empty());
    EXPECT_EQ(thrownText<VELMOImageException>([&] { color.setChannelName("alpha", 3); }),
              "Channel 3 lies outside of a color geometry of 3 channels");
    EXPECT_TRUE(color.getChannelNames().empty());
    EXPECT_EQ(color.getChannelName(3), "");
}

TEST(ColorGeometry, ACopyHasNamesOfItsOwn) {
    ColorGeometry color;
    color.initRgb();
    color.setChannelName("red", 0);
    ColorGeometry copy;
    copy = color;
    copy.setChannelName("other", 0);
    EXPECT_EQ(color.getChannelName(0), "red");
    EXPECT_EQ(copy.getColorGeometryType(), eCGT_Rgb);
}

TEST(VolumeGeometry, IsOnePlaneAtFirstAndCanBecomeOneAgain) {
    VolumeGeometry volume;
    for (vlUInt64 const sizeZ : {1U, 9U}) { // a volume of one plane is no plane
        EXPECT_TRUE(volume.is2d());
        EXPECT_EQ(volume.getVolumeGeometryType(), eVGT_2d);
        EXPECT_EQ(volume.getSizeZ(), 1U);
        volume.init3d(sizeZ);
        EXPECT_FALSE(volume.is2d());
        EXPECT_EQ(volume.getVolumeGeometryType(), eVGT_3d);
        EXPECT_EQ(volume.getSizeZ(), sizeZ);
        volume.init2d();
    }
    EXPECT_TRUE(volume.is2d());
    EXPECT_EQ(volume.getSizeZ(), 1U);
}

TEST(TemporalGeometry, IsOneTimeStepAtFirstAndCanBecomeASequenceAndASingleStepAgain) {
    TemporalGeometry temporal;
    EXPECT_EQ(temporal.getTemporalGeometryType(), eTGT_Single);
    EXPECT_EQ(temporal.getSizeT(), 1U);
    temporal.initSequence(1);
    EXPECT_EQ(temporal.getTemporalGeometryType(), eTGT_Sequence);
    temporal.initSequence(12);
    EXPECT_EQ(temporal.getSizeT(), 12U);
    temporal.initSingle();
    EXPECT_EQ(temporal.getTemporalGeometryType(), eTGT_Single);
    EXPECT_EQ(temporal.getSizeT(), 1U);
}

TEST(ImagePlanGeometry, CountsItsPixels) {
    ImagePlanGeometry const plane(7, 11, eIBT_Label16);
    EXPECT_EQ(plane.getSizeX(), 7U);
    EXPECT_EQ(plane.getSizeY(), 11U);
    EXPECT_EQ(plane.getNbPixels(), 77U);
    EXPECT_EQ(plane.getBufferType(), eIBT_Label16);
}

namespace {

struct BufferTypeRow {
    vlUInt64 value;
    eImageBufferType type;
    char const* text;
    eDataType dataType;
    unsigned int nbBytes;
};

constexpr BufferTypeRow g_bufferTypes[] = {
    {0, eIBT_None, "eIBT_None", eDT_None, 0},          {1, eIBT_Int8, "eIBT_Int8", eDT_Int8, 1},
    {2, eIBT_UInt8, "eIBT_UInt8", eDT_UInt8, 1},       {3, eIBT_Int16, "eIBT_Int16", eDT_Int16, 2},
    {4, eIBT_UInt16, "eIBT_UInt16", eDT_UInt16, 2},    {5, eIBT_Int32, "eIBT_Int32", eDT_Int32, 4},
    {6, eIBT_UInt32, "eIBT_UInt32", eDT_UInt32, 4},    {7, eIBT_Real32, "eIBT_Real32", eDT_Real32, 4},
    {8, eIBT_Binary, "eIBT_Binary", eDT_UInt8, 1},     {9, eIBT_Label16, "eIBT_Label16", eDT_UInt16, 2},
    {10, eIBT_Label32, "eIBT_Label32", eDT_UInt32, 4}, {11, eIBT_Label8, "eIBT_Label8", eDT_UInt8, 1}};

constexpr vlUInt64 g_outsideBufferTypes[] = {12, 255, NumericLimits<vlUInt64>::s_max};

/// The text of a value; "bad" where the stream's bad bit is set, behind what was written before.
template <class Enum>
std::string toText(Enum value) {
    std::ostringstream stream;
    stream << value;
    return stream.str() + (stream.bad() ? "bad" : "");
}

template <class Enum>
void expectTexts(std::vector<char const*> const& texts) {
    for (vlUInt64 value = 0; value < texts.size(); ++value) {
        EXPECT_EQ(toText(static_cast<Enum>(value)), texts[value]);
    }
    EXPECT_EQ(toText(static_cast<Enum>(texts.size())), "bad");
    EXPECT_EQ(toText(static_cast<Enum>(NumericLimits<vlUInt64>::s_max)), "bad");
}

} // namespace

TEST(ImageEnums, BufferTypesHaveTheirValuesTextsAndBytes) {
    for (BufferTypeRow const& row : g_bufferTypes) {
        EXPECT_EQ(static_cast<vlUInt64>(row.type), row.value);
        EXPECT_EQ(toText(row.type), row.text);
        EXPECT_EQ(getImageBufferBaseSize(row.type), row.nbBytes) << row.text;
        EXPECT_EQ(toDataType(row.type), row.dataType) << row.text;
        EXPECT_EQ(getBufferBaseSize(toDataType(row.type)), row.nbBytes) << row.text;
    }
    EXPECT_EQ(getBufferBaseSize(static_cast<eDataType>(8)), 0U); // next to the last
}

TEST(ImageEnums, ABufferTypeOutsideOfTheEnumerationWritesNothingAndTakesNoBytes) {
    for (vlUInt64 const value : g_outsideBufferTypes) {
        auto const type = static_cast<eImageBufferType>(value);
        EXPECT_EQ(toText(type), "bad") << value;
        EXPECT_EQ(toDataType(type), eDT_None) << value;
        EXPECT_EQ(getImageBufferBaseSize(type), 0U) << value;
        EXPECT_EQ(getBufferBaseSize(static_cast<eDataType>(value)), 0U) << value;
    }
}

TEST(ImageEnums, GeometryTypesAreWrittenByTheirEnumerators) {
    expectTexts<eColorGeometryType>({"eCGT_Grey", "eCGT_Rgb", "eCGT_Rgba", "eCGT_XYZ", "eCGT_YPbPr",
                                     "eCGT_YCbCr", "eCGT_CieLab", "eCGT_CieLuv", "eCGT_HLS", "eCGT_HSV",
                                     "eCGT_User"});
    expectTexts<eVolumeGeometryType>({"eVGT_2d", "eVGT_3d"});
    expectTexts<eTemporalGeometryType>({"eTGT_Single", "eTGT_Sequence"});
}

TEST(ImageEnums, AccessModesHaveTheValuesThatArchivesHold) {
    EXPECT_EQ(static_cast<vlUInt64>(eIAM_ReadOnly), 0U);
    EXPECT_EQ(static_cast<vlUInt64>(eIAM_ReadWrite), 2U);
}
