// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOImage/JoinLayout.h"

#include "GeometryBuilder.h"
#include "Processes.h"
#include "Results.h"
#include "ThrownText.h"
#include "VELMOImage/VELMOImageLog.h"

#include <sys/resource.h>
#include <tuple>

namespace velmo::test {

using namespace velmo::image;

namespace {

BoolResult initLayout(JoinLayout& layout, std::vector<ImageGeometryPtr> const& parts, eJoinAxis axis) {
    std::vector<BaseImageGeometry const*> pointers;
    for (ImageGeometryPtr const& pPart : parts) {
        pointers.push_back(pPart.get());
    }
    return layout.init(pointers, axis);
}

std::string joinedGeometry(std::vector<ImageGeometryPtr> const& parts, eJoinAxis axis) {
    JoinLayout layout;
    BoolResult const result = initLayout(layout, parts, axis);
    return result ? describe(layout.getGeometry()) : result.getMessage();
}

/// Part, then z, c, t within it.
using Found = std::tuple<std::size_t, vlUInt64, vlUInt64, vlUInt64>;
Found locate(JoinLayout const& layout, vlUInt64 z, vlUInt64 c, vlUInt64 t) {
    auto const [part, plane] = layout.locate(z, c, t);
    return {part, plane.z, plane.c, plane.t};
}

/// Parts that do not fit, and the text of the refusal.
struct Mismatch {
    std::string name;
    eJoinAxis axis;
    GeometryBuilder first;
    GeometryBuilder second;
    char const* secondText;
    char const* firstText;
};

void PrintTo(Mismatch const& mismatch, std::ostream* pStream) {
    *pStream << mismatch.name;
}

GeometryBuilder volume() {
    return GeometryBuilder().volume(2);
}

std::vector<Mismatch> makeMismatches() {
    constexpr auto Z = eJoinAxis::Z;
    constexpr auto T = eJoinAxis::T;
    char const* const plain = "x=5 y=3 z=2 c=1 t=1 eIBT_UInt8";
    std::vector<Mismatch> mismatches = {
        {"SizeZAlongT", T, volume(), volume().volume(3), "x=5 y=3 z=3 c=1 t=1 eIBT_UInt8", plain},
        {"TypeAlongZ", Z, volume(), volume().type(eIBT_Label8), "x=5 y=3 z=2 c=1 t=1 eIBT_Label8", plain}};
    for (auto const& [name, axis] : {std::make_pair("AlongZ", Z), std::make_pair("AlongT", T)}) {
        mismatches.insert(
            mismatches.end(),
            {{std::string("SizeX") + name, axis, volume(), volume().plane(4, 3),
              "x=4 y=3 z=2 c=1 t=1 eIBT_UInt8", plain},
             {std::string("SizeY") + name, axis, volume(), volume().plane(5, 4),
              "x=5 y=4 z=2 c=1 t=1 eIBT_UInt8", plain},
             {std::string("SizeC") + name, axis, volume().channels(2), volume().channels(3),
              "x=5 y=3 z=2 c=3 t=1 eIBT_UInt8", "x=5 y=3 z=2 c=2 t=1 eIBT_UInt8"},
             {std::string("Colors") + name, axis, volume().color(eCGT_Rgb), volume().color(eCGT_HSV),
              "x=5 y=3 z=2 c=3 t=1 eIBT_UInt8", "x=5 y=3 z=2 c=3 t=1 eIBT_UInt8"}});
    }
    return mismatches;
}

class JoinMismatch : public testing::TestWithParam<Mismatch> {};

} // namespace

TEST_P(JoinMismatch, IsRefusedWithBothDescriptionsAndChangesNothing) {
    Mismatch const& mismatch = GetParam();
    JoinLayout layout;
    ASSERT_TRUE(initLayout(layout, {volume().build(), volume().build()}, eJoinAxis::Z));
    std::string const before = describe(layout.getGeometry());
    std::string const text = std::string("Image 2 (") + mismatch.secondText +
                             ") cannot be joined to the first one (" + mismatch.firstText + ")";
    EXPECT_THAT(initLayout(layout, {mismatch.first.build(), mismatch.first.build(), mismatch.second.build()},
                           mismatch.axis),
                FailsWith(text));
    EXPECT_EQ(describe(layout.getGeometry()), before);
    EXPECT_EQ(locate(layout, 3, 0, 0), Found(1, 1, 0, 0));
}

INSTANTIATE_TEST_SUITE_P(JoinLayout, JoinMismatch, testing::ValuesIn(makeMismatches()),
                         [](auto const& mismatch) { return mismatch.param.name; });

TEST(JoinLayout, APartWithoutExactlyOneTimeStepIsRefusedAlongZWithTheirNumber) {
    for (vlUInt64 const sizeT : {0U, 2U, 3U}) {
        auto const pPart = volume().sequence(sizeT).build();
        std::string const text = " (x=5 y=3 z=2 c=1 t=" + std::to_string(sizeT) + " eIBT_UInt8) has " +
                                 std::to_string(sizeT) +
                                 " time steps: only images of one time step are joined along Z";
        EXPECT_EQ(joinedGeometry({volume().build(), pPart}, eJoinAxis::Z), "Image 1" + text);
        EXPECT_EQ(joinedGeometry({pPart, pPart}, eJoinAxis::Z), "Image 0" + text);
    }
}

TEST(JoinLayout, APartWhoseTimeStepHasPlanesOfDifferentTypesIsRefusedWithItsPlace) {
    auto const pUniform = volume().volume(4).build();
    auto const pMixed = volume().volume(4).types({eIBT_UInt8, eIBT_UInt8, eIBT_Int8, eIBT_UInt8}).build();
    std::string const text = " (x=5 y=3 z=4 c=1 t=1 eIBT_UInt8) cannot be joined: its plane z=2 is of type "
                             "eIBT_Int8";
    for (eJoinAxis const axis : {eJoinAxis::Z, eJoinAxis::T}) {
        EXPECT_EQ(joinedGeometry({pUniform, pMixed}, axis), "Image 1" + text);
        EXPECT_EQ(joinedGeometry({pMixed, pUniform}, axis), "Image 0" + text);
        EXPECT_EQ(joinedGeometry({pMixed, pMixed}, axis), "Image 0" + text);
    }
}

TEST(JoinLayout, APartWithOneTypeForEachPlaneThatAreAllTheSameJoins) {
    auto const pEach = volume().types({eIBT_UInt16, eIBT_UInt16}).build();
    auto const pOne = volume().type(eIBT_UInt16).build();
    for (auto const& parts : {std::vector<ImageGeometryPtr>{pEach, pOne}, {pOne, pEach}}) {
        EXPECT_EQ(joinedGeometry(parts, eJoinAxis::Z),
                  describe(*volume().volume(4).type(eIBT_UInt16).build()));
        EXPECT_EQ(joinedGeometry(parts, eJoinAxis::T),
                  describe(*volume().sequence(2).type(eIBT_UInt16).build()));
    }
}

TEST(JoinLayout, TheWholeHasTheSumOfTheLengthsAndTheTypesOfTheTimeSteps) {
    constexpr auto Z = eJoinAxis::Z;
    constexpr auto T = eJoinAxis::T;
    using Types = std::vector<eImageBufferType>;
    GeometryBuilder const plane;
    struct {
        eJoinAxis axis;
        std::vector<GeometryBuilder> parts;
        GeometryBuilder whole;
    } const cases[] = {
        {Z, {plane, plane}, volume()},
        {Z, {plane}, volume().volume(1)},
        {Z, {volume(), plane, volume().volume(7)}, volume().volume(10)},
        {Z, {volume(), volume().sequence(1)}, volume().volume(4)},
        {T, {volume()}, volume().sequence(1)},
        {T, {plane, GeometryBuilder().sequence(1)}, GeometryBuilder().sequence(2)},
        {T,
         {volume(), volume().type(eIBT_Real32).sequence(2),
          volume().sequence(2).types({eIBT_Label16, eIBT_UInt8})},
         volume().sequence(5).types({eIBT_UInt8, eIBT_Real32, eIBT_Real32, eIBT_Label16, eIBT_UInt8})},
        {T,
         {volume().sequence(2).types(Types(2, eIBT_Int16)), volume().type(eIBT_Int16)},
         volume().type(eIBT_Int16).sequence(3)}};
    for (auto const& entry : cases) {
        std::vector<ImageGeometryPtr> parts;
        for (GeometryBuilder const& part : entry.parts) {
            parts.push_back(part.build());
        }
        EXPECT_EQ(joinedGeometry(parts, entry.axis), describe(*entry.whole.build()));
    }
}

TEST(JoinLayout, ColorsAreThoseOfTheFirstWithTheirNamesAndTheirBlack) {
    auto const pFirst = volume().color(eCGT_Rgb).build();
    pFirst->getColorGeometry().setChannelName("red", 0);
    pFirst->getColorGeometry().setMinIsBlack(false);
    auto const pSecond = volume().color(eCGT_Rgb).build();
    for (eJoinAxis const axis : {eJoinAxis::Z, eJoinAxis::T}) {
        JoinLayout layout;
        ASSERT_TRUE(initLayout(layout, {pFirst, pSecond}, axis));
        ColorGeometry const& color = layout.getGeometry().getColorGeometry();
        EXPECT_EQ(color.getColorGeometryType(), eCGT_Rgb);
        EXPECT_EQ(color.getChannelName(0), "red");
        EXPECT_FALSE(color.minIsBlack());
    }
}

TEST(JoinLayout, PlanesAreFoundAlongZ) {
    JoinLayout layout;
    auto const parts = {volume().build(), volume().volume(0).build(), GeometryBuilder().build(),
                        volume().volume(3).build()};
    ASSERT_TRUE(initLayout(layout, parts, eJoinAxis::Z));
    std::vector<Found> const expected = {{0, 0, 0, 0}, {0, 1, 0, 0}, {2, 0, 0, 0},
                                         {3, 0, 0, 0}, {3, 1, 0, 0}, {3, 2, 0, 0}};
    for (vlUInt64 z = 0; z < expected.size(); ++z) {
        EXPECT_EQ(locate(layout, z, 0, 0), expected[z]) << z;
    }
}

TEST(JoinLayout, PlanesAreFoundAlongT) {
    JoinLayout layout;
    auto const three = volume().channels(4);
    ASSERT_TRUE(initLayout(layout,
                           {GeometryBuilder(three).sequence(2).build(), GeometryBuilder(three).build(),
                            GeometryBuilder(three).sequence(3).build()},
                           eJoinAxis::T));
    std::vector<std::pair<std::size_t, vlUInt64>> const expected = {{0, 0}, {0, 1}, {1, 0},
                                                                    {2, 0}, {2, 1}, {2, 2}};
    for (vlUInt64 t = 0; t < expected.size(); ++t) {
        EXPECT_EQ(locate(layout, 1, 3, t), Found(expected[t].first, 1, 3, expected[t].second)) << t;
    }
}

TEST(JoinLayout, AWholeWhosePlanesPixelsOrBytesPass64BitsIsRefused) {
    constexpr vlUInt64 many = vlUInt64{1} << 62U;
    for (GeometryBuilder const& part :
         {GeometryBuilder().plane(0, 3).color(eCGT_Rgb).volume(many),
          GeometryBuilder().plane(many, 1).volume(2), GeometryBuilder().plane(many, 1).type(eIBT_UInt16)}) {
        auto const pPart = GeometryBuilder(part).build();
        std::string const text = describeGeometry(*pPart);
        for (eJoinAxis const axis : {eJoinAxis::Z, eJoinAxis::T}) {
            EXPECT_THAT(joinedGeometry({pPart, pPart, pPart, pPart}, axis),
                        testing::MatchesRegex("Image [12] .* cannot be joined to the first one .*"))
                << text;
        }
    }
}

#ifdef VELMO_TEST_LIMITS_MEMORY
TEST(JoinLayout, SequencesOfAnyLengthTakeNoMemoryOfThatLength) {
    EXPECT_EQ(inChild([]() -> std::string {
                  rlimit const limit = {rlim_t{1} << 30U, rlim_t{1} << 30U};
                  setrlimit(RLIMIT_AS, &limit);
                  auto const sequence = GeometryBuilder().plane(0, 3).sequence(vlUInt64{1} << 40U);
                  auto const pPart = GeometryBuilder(sequence).build();
                  auto const pOther = GeometryBuilder(sequence).type(eIBT_Real32).build();
                  JoinLayout layout;
                  BoolResult const result = initLayout(layout, {pPart, pPart, pOther}, eJoinAxis::T);
                  return result ? std::to_string(layout.getGeometry().getSizeT()) : result.getMessage();
              }),
              "3298534883328");
}
#endif

} // namespace velmo::test
