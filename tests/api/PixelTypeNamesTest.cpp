// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include <VELMOImageFile/PixelTypeNames.h>
#include <algorithm>
#include <gmock/gmock.h>
#include <set>
#include <sstream>

namespace velmo::test {

namespace {

using namespace image;
using namespace image::file;

/// The part of an enumerator's name that says what it is, in lower case.
template <class Enum>
std::string showEnumerator(Enum value) {
    std::ostringstream text;
    text << value;
    std::string name = text.str().substr(text.str().find('_') + 1);
    std::transform(name.begin(), name.end(), name.begin(),
                   [](char c) { return static_cast<char>(std::tolower(c)); });
    return name;
}

} // namespace

TEST(PixelTypeNames, AreThoseOfTheEnumeratorsAndLeadBackToThem) {
    std::set<std::string> names;
    for (vlUInt64 value = eIBT_Int8; value <= eIBT_Label8; ++value) {
        auto const type = static_cast<eImageBufferType>(value);
        std::string const name = getPixelTypeName(type);
        EXPECT_EQ(showEnumerator(type), name);
        EXPECT_EQ(type, findPixelType(name));
        names.insert(name);
    }
    EXPECT_THAT(getPixelTypeNames(), testing::UnorderedElementsAreArray(names));
}

TEST(PixelTypeNames, AreEmptyOfNoPixelType) {
    EXPECT_EQ("", getPixelTypeName(eIBT_None));
    EXPECT_EQ("", getPixelTypeName(static_cast<eImageBufferType>(12)));
    for (char const* const text : {"", "uint64", "UINT8", "uint8 "}) {
        EXPECT_FALSE(findPixelType(text)) << text;
    }
}

TEST(PixelTypeNames, OfColoursAreThoseOfTheEnumerators) {
    for (vlUInt64 value = eCGT_Grey; value <= eCGT_User; ++value) {
        auto const type = static_cast<eColorGeometryType>(value);
        EXPECT_EQ(showEnumerator(type), getColorName(type));
    }
    EXPECT_EQ("", getColorName(static_cast<eColorGeometryType>(11)));
}

} // namespace velmo::test
