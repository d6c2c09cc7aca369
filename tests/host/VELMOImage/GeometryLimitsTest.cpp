// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "GeometryBuilder.h"
#include "ThrownText.h"
#include "VELMOImage/VELMOImageLog.h"

#include <atomic>
#include <boost/make_shared.hpp>
#include <cstdlib>
#include <gtest/gtest.h>
#include <new>

using namespace velmo;
using namespace velmo::image;
using namespace velmo::test;

namespace {

std::atomic<vlUInt64> g_nbBytesAllocated{0};

/// Bytes that `operator new` gave out while `work` ran, whoever asked for them.
template <class Work>
vlUInt64 countAllocatedBytes(Work const& work) {
    vlUInt64 const before = g_nbBytesAllocated;
    work();
    return g_nbBytesAllocated - before;
}

} // namespace

void* operator new(std::size_t nbBytes) {
    g_nbBytesAllocated += nbBytes;
    if (void* const pBytes = std::malloc(nbBytes == 0 ? 1 : nbBytes)) {
        return pBytes;
    }
    throw std::bad_alloc();
}

void operator delete(void* pBytes) noexcept {
    std::free(pBytes);
}

void operator delete(void* pBytes, std::size_t /*nbBytes*/) noexcept {
    std::free(pBytes);
}

namespace {

constexpr vlUInt64 g_max = NumericLimits<vlUInt64>::s_max;
constexpr vlUInt64 g_half = vlUInt64{1} << 32U;

struct Sizes {
    vlUInt64 x;
    vlUInt64 y;
    vlUInt64 z;
    vlUInt64 c;
    vlUInt64 t;
};

GeometryBuilder builderOf(Sizes const& sizes) {
    return GeometryBuilder().plane(sizes.x, sizes.y).volume(sizes.z).channels(sizes.c).sequence(sizes.t);
}

std::string refusalOfSizes(Sizes const& sizes) {
    return "An image of sizes x=" + std::to_string(sizes.x) + " y=" + std::to_string(sizes.y) +
           " z=" + std::to_string(sizes.z) + " c=" + std::to_string(sizes.c) +
           " t=" + std::to_string(sizes.t) + " has more bytes than 64 bits can count";
}

/// Runs `init` with sizes that must be refused on geometries that hold something already.
template <class Geometry, class Types>
void expectRefusedInitChangesNothing(Geometry& geometry, Sizes const& sizes, Types const& types) {
    std::string const before = describe(geometry);
    VolumeGeometry volume;
    volume.init3d(sizes.z);
    ColorGeometry color;
    color.initUser(sizes.c);
    TemporalGeometry temporal;
    temporal.initSequence(sizes.t);
    EXPECT_EQ(thrownText<VELMOImageException>(
                  [&] { geometry.init(volume, color, temporal, sizes.x, sizes.y, types); }),
              refusalOfSizes(sizes));
    EXPECT_EQ(describe(geometry), before);
}

/// One dimension in turn is what takes the product past 64 bits.
constexpr Sizes g_tooLarge[] = {
    {g_half, g_half, 1, 1, 1}, {g_half, 1, g_half, 1, 1}, {g_half, 1, 1, g_half, 1},
    {1, g_half, g_half, 1, 1}, {1, g_half, 1, g_half, 1}, {1, 1, g_half, g_half, 1},
    {g_half, g_half, 2, 2, 2}, {g_max, 2, 1, 1, 1},       {2, g_max, 1, 1, 1},
    {2, 1, g_max, 1, 1},       {2, 1, 1, g_max, 1},       {g_max, g_max, g_max, g_max, 1}};
constexpr Sizes g_tooManySteps[] = {{g_half, 1, 1, 1, g_half}, {1, g_half, 1, 1, g_half},
                                    {1, 1, g_half, 1, g_half}, {1, 1, 1, g_half, g_half},
                                    {2, 1, 1, 1, g_max},       {g_max, g_max, g_max, g_max, g_max}};

} // namespace

TEST(GeometryLimits, ABytesCountPast64BitsIsRefusedInEveryDimension) {
    HomogeneousImageGeometry homogeneous = dynamic_cast<HomogeneousImageGeometry&>(
        *GeometryBuilder().volume(2).color(eCGT_Rgb).type(eIBT_Real32).build());
    for (Sizes const& sizes : g_tooLarge) {
        expectRefusedInitChangesNothing(homogeneous, sizes, eIBT_UInt8);
    }
    for (Sizes const& sizes : g_tooManySteps) {
        expectRefusedInitChangesNothing(homogeneous, sizes, eIBT_UInt8);
    }
    HeterogeneousImageGeometry heterogeneous = dynamic_cast<HeterogeneousImageGeometry&>(
        *GeometryBuilder().sequence(2).types({eIBT_Real32, eIBT_UInt8}).build());
    for (Sizes const& sizes : g_tooLarge) {
        std::vector<eImageBufferType> const types(sizes.t, eIBT_UInt8);
        expectRefusedInitChangesNothing(heterogeneous, sizes, types);
    }
}

TEST(GeometryLimits, TheBytesOfAPixelCount) {
    Sizes const sizes = {vlUInt64{1} << 62U, 1, 1, 1, 1};
    EXPECT_EQ(builderOf(sizes).type(eIBT_UInt16).build()->getFullMemorySize(), vlUInt64{1} << 63U);
    EXPECT_EQ(thrownText<VELMOImageException>([&] { builderOf(sizes).type(eIBT_Real32).build(); }),
              refusalOfSizes(sizes));
}

TEST(GeometryLimits, TheSumOverTheTimeStepsCounts) {
    Sizes const sizes = {vlUInt64{1} << 60U, 1, 1, 1, 4};
    std::vector<eImageBufferType> const fits = {eIBT_Real32, eIBT_Real32, eIBT_Real32, eIBT_UInt16};
    std::vector<eImageBufferType> const exceeds = {eIBT_Real32, eIBT_Real32, eIBT_Real32, eIBT_Real32};
    EXPECT_EQ(builderOf(sizes).types(fits).build()->getFullMemorySize(), 14 * (vlUInt64{1} << 60U));
    EXPECT_EQ(thrownText<VELMOImageException>([&] { builderOf(sizes).types(exceeds).build(); }),
              refusalOfSizes(sizes));
}

TEST(GeometryLimits, TheGreatestCountFits) {
    for (Sizes const& sizes : {Sizes{g_max, 1, 1, 1, 1}, Sizes{1, g_max, 1, 1, 1}, Sizes{1, 1, g_max, 1, 1},
                               Sizes{1, 1, 1, g_max, 1}, Sizes{1, 1, 1, 1, g_max}}) {
        ImageGeometryPtr const pGeometry = builderOf(sizes).build();
        EXPECT_EQ(pGeometry->getNbPixels(), g_max);
        EXPECT_EQ(pGeometry->getFullMemorySize(), g_max);
        EXPECT_EQ(pGeometry->getPlanOffset(sizes.z - 1, sizes.c - 1, sizes.t - 1), g_max - sizes.x * sizes.y);
    }
}

TEST(GeometryLimits, ABufferTypeThatTakesTheBytesPast64BitsIsRefusedAndChangesNothing) {
    Sizes const sizes = {vlUInt64{1} << 62U, 1, 1, 1, 1};
    for (ImageGeometryPtr const& pGeometry :
         {builderOf(sizes).type(eIBT_UInt16).build(), builderOf(sizes).types({eIBT_UInt16}).build()}) {
        std::string const before = describe(*pGeometry);
        EXPECT_EQ(thrownText<VELMOImageException>([&] { pGeometry->setBufferType(eIBT_UInt32); }),
                  refusalOfSizes(sizes));
        EXPECT_EQ(describe(*pGeometry), before);
        pGeometry->setBufferType(eIBT_Int8);
        EXPECT_EQ(pGeometry->getFullMemorySize(), vlUInt64{1} << 62U);
    }
}

TEST(GeometryLimits, PartsChangedPast64BitsAreMetByTheNextQuestion) {
    ImageGeometryPtr const pGeometry = builderOf({g_half, 1, 1, 1, 1}).build();
    pGeometry->getVolumeGeometry().init3d(g_half);
    EXPECT_EQ(thrownText<VELMOImageException>([&] { pGeometry->getNbPixels(); }),
              refusalOfSizes({g_half, 1, g_half, 1, 1}));
    EXPECT_THROW(pGeometry->getFullMemorySize(), VELMOImageException);
    EXPECT_THROW(pGeometry->getPlanOffset(0, 0, 1), VELMOImageException);
    pGeometry->getColorGeometry().initUser(g_half);
    EXPECT_THROW(pGeometry->getNbPlans(), VELMOImageException);
}

TEST(GeometryLimits, ASizeOfZeroInAnyDimensionLeavesNoBytes) {
    for (Sizes const& sizes : {Sizes{0, 3, 4, 2, 3}, Sizes{5, 0, 4, 2, 3}, Sizes{5, 3, 0, 2, 3},
                               Sizes{5, 3, 4, 0, 3}, Sizes{5, 3, 4, 2, 0}, Sizes{0, 0, 0, 0, 0}}) {
        ImageGeometryPtr const pGeometry = builderOf(sizes).build();
        EXPECT_EQ(pGeometry->getNbPixels(), 0U);
        EXPECT_EQ(pGeometry->getFullMemorySize(), 0U);
        EXPECT_EQ(pGeometry->getNbPlans(), sizes.z * sizes.c * sizes.t);
        EXPECT_EQ(pGeometry->getPlanNbPixels(), sizes.x * sizes.y);
        EXPECT_EQ(pGeometry->getPlansMemorySize(pGeometry->getNbPlans()), 0U);
    }
}

TEST(GeometryLimits, ABufferTypeOutsideOfTheEnumerationIsCarriedAndTakesNoBytes) {
    auto const outside = static_cast<eImageBufferType>(12);
    ImageGeometryPtr const pGeometry = GeometryBuilder().volume(4).type(outside).build();
    EXPECT_EQ(pGeometry->getBufferType(), outside);
    EXPECT_EQ(pGeometry->getNbPixels(), 60U);
    EXPECT_EQ(pGeometry->getFullMemorySize(), 0U);
    ImageGeometryPtr const pMixed =
        GeometryBuilder().sequence(3).types({eIBT_UInt8, outside, eIBT_Int16}).build();
    EXPECT_EQ(pMixed->getFullMemorySize(), 15U * 3);
    EXPECT_EQ(pMixed->getPlanOffset(0, 0, 2), 15U);
}

TEST(GeometryLimits, PlaneOffsetsTakeNoMemoryAndNoTimePerPlane) {
    constexpr vlUInt64 nbSteps = 10'000'000;
    ImageGeometryPtr const pOne = builderOf({64, 64, 1, 1, nbSteps}).build();
    ImageGeometryPtr const pEach = GeometryBuilder()
                                       .plane(64, 64)
                                       .sequence(nbSteps)
                                       .types(std::vector<eImageBufferType>(nbSteps, eIBT_Int16))
                                       .build();
    for (ImageGeometryPtr const& pGeometry : {pOne, pEach}) {
        vlUInt64 sum = 0;
        vlUInt64 const nbAllocated = countAllocatedBytes([&] {
            for (vlUInt64 i = 0; i < 100'000; ++i) {
                sum += pGeometry->getPlanOffset(0, 0, nbSteps - 1 - i);
            }
        });
        EXPECT_EQ(nbAllocated, 0U);
        EXPECT_NE(sum, 0U); // a walk over the planes would take 10^12 steps and not come to this line
        EXPECT_LT(countAllocatedBytes([&] { duplicateGeometry(*pGeometry); }), 10'000U);
    }
    EXPECT_LT(countAllocatedBytes([&] { builderOf({64, 64, nbSteps, 1, 1}).build(); }), 10'000U);
}
