// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOImage/ImageEnums.h"

#include <gtest/gtest.h>
#include <sstream>
#include <vector>

using namespace velmo;
using namespace velmo::image;

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
