// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOImage/GeometryParts.h"

#include "ThrownText.h"
#include "VELMOImage/VELMOImageLog.h"

#include <gmock/gmock.h>

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

TEST(ColorGeometry, EveryTypeHasItsNumberOfChannels) {
    for (ChannelsRow const& row : g_channels) {
        ColorGeometry color;
        color.init(row.type);
        EXPECT_EQ(color.getColorGeometryType(), row.type);
        EXPECT_EQ(color.getSizeC(), row.nbChannels) << static_cast<vlUInt64>(row.type);
    }
}

TEST(ColorGeometry, IsGreyWithZeroAsBlackByDefault) {
    ColorGeometry const color;
    EXPECT_EQ(color.getColorGeometryType(), eCGT_Grey);
    EXPECT_EQ(color.getSizeC(), 1U);
    EXPECT_TRUE(color.minIsBlack());
    EXPECT_TRUE(color.getChannelNames().empty());
}

TEST(ColorGeometry, GreyAndRgbHaveInitsOfTheirOwn) {
    ColorGeometry color;
    color.initRgb();
    EXPECT_EQ(color.getColorGeometryType(), eCGT_Rgb);
    EXPECT_EQ(color.getSizeC(), 3U);
    color.initGrey();
    EXPECT_EQ(color.getColorGeometryType(), eCGT_Grey);
    EXPECT_EQ(color.getSizeC(), 1U);
}

TEST(ColorGeometry, AUserTypeHasAsManyChannelsAsItIsTold) {
    ColorGeometry color;
    for (vlUInt64 const sizeC : {vlUInt64{0}, vlUInt64{1}, vlUInt64{7}, NumericLimits<vlUInt64>::s_max}) {
        color.initUser(sizeC);
        EXPECT_EQ(color.getColorGeometryType(), eCGT_User);
        EXPECT_EQ(color.getSizeC(), sizeC);
    }
}

TEST(ColorGeometry, AValueOutsideOfTheEnumerationHasOneChannel) {
    ColorGeometry color;
    color.init(static_cast<eColorGeometryType>(11));
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

TEST(ColorGeometry, ChannelsHaveTheNamesThatTheyWereGiven) {
    ColorGeometry color;
    color.initUser(4);
    color.setChannelName("third", 2);
    color.setChannelName("first", 0);
    EXPECT_EQ(color.getChannelName(0), "first");
    EXPECT_EQ(color.getChannelName(1), "");
    EXPECT_EQ(color.getChannelName(2), "third");
    EXPECT_EQ(color.getChannelName(3), "");
    EXPECT_EQ(color.getChannelNames().size(), 2U);
    color.setChannelName("again", 2);
    EXPECT_EQ(color.getChannelName(2), "again");
}

TEST(ColorGeometry, NamesGoWithTheChannelsThatBearThem) {
    ColorGeometry color;
    color.initRgb();
    color.setChannelName("red", 0);
    color.initRgb();
    EXPECT_EQ(color.getChannelName(0), "");
    EXPECT_TRUE(color.getChannelNames().empty());
}

TEST(ColorGeometry, ANameTakesNoRoomForTheChannelsBeforeIt) {
    ColorGeometry color;
    color.initUser(vlUInt64{1} << 60);
    color.setChannelName("far", vlUInt64{1} << 59);
    EXPECT_EQ(color.getChannelName(vlUInt64{1} << 59), "far");
    EXPECT_EQ(color.getChannelNames().size(), 1U);
}

TEST(ColorGeometry, ANameForAChannelThatIsNotThereIsRefused) {
    ColorGeometry color;
    color.initRgb();
    color.setChannelName("blue", 2);
    std::string const text = thrownText<VELMOImageException>([&] { color.setChannelName("alpha", 3); });
    EXPECT_EQ(text, "Channel 3 lies outside of a color geometry of 3 channels");
    EXPECT_EQ(color.getChannelNames().size(), 1U);
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

TEST(VolumeGeometry, IsOnePlaneByDefault) {
    VolumeGeometry const volume;
    EXPECT_TRUE(volume.is2d());
    EXPECT_EQ(volume.getVolumeGeometryType(), eVGT_2d);
    EXPECT_EQ(volume.getSizeZ(), 1U);
}

TEST(VolumeGeometry, AVolumeOfOnePlaneIsNoPlane) {
    VolumeGeometry volume;
    volume.init3d(1);
    EXPECT_FALSE(volume.is2d());
    EXPECT_EQ(volume.getVolumeGeometryType(), eVGT_3d);
    EXPECT_EQ(volume.getSizeZ(), 1U);
}

TEST(VolumeGeometry, CanBecomeAPlaneAgain) {
    VolumeGeometry volume;
    volume.init3d(9);
    EXPECT_EQ(volume.getSizeZ(), 9U);
    volume.init2d();
    EXPECT_TRUE(volume.is2d());
    EXPECT_EQ(volume.getSizeZ(), 1U);
}

TEST(TemporalGeometry, IsOneTimeStepByDefault) {
    TemporalGeometry const temporal;
    EXPECT_EQ(temporal.getTemporalGeometryType(), eTGT_Single);
    EXPECT_EQ(temporal.getSizeT(), 1U);
}

TEST(TemporalGeometry, CanBecomeASequenceAndASingleStepAgain) {
    TemporalGeometry temporal;
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
