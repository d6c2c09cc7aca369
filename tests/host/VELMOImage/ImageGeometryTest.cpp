// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOImage/ImageGeometry.h"

#include "GeometryBuilder.h"
#include "PixelPattern.h"
#include "ThrownText.h"
#include "VELMOImage/VELMOImageLog.h"
#include "VELMOUtil/VELMOUtilLog.h"

#include <boost/make_shared.hpp>
#include <gtest/gtest.h>
#include <random>

using namespace velmo;
using namespace velmo::image;
using namespace velmo::test;

namespace {

std::vector<eImageBufferType> const g_someTypes = {eIBT_UInt8, eIBT_Real32, eIBT_Label16, eIBT_None,
                                                   eIBT_Binary};

/// Sizes from 1 to 4, one type or one for each time step.
ImageGeometryPtr makeRandomGeometry(std::mt19937& random) {
    auto const draw = [&random](vlUInt64 count) { return vlUInt64{random()} % count; };
    GeometryBuilder builder;
    builder.plane(draw(4) + 1, draw(4) + 1).volume(draw(4) + 1).channels(draw(4) + 1);
    vlUInt64 const sizeT = draw(4) + 1;
    builder.sequence(sizeT).type(g_someTypes[draw(g_someTypes.size())]);
    if (draw(2) == 1) {
        std::vector<eImageBufferType> types;
        for (vlUInt64 t = 0; t < sizeT; ++t) {
            types.push_back(g_someTypes[draw(g_someTypes.size())]);
        }
        builder.types(types);
    }
    return builder.build();
}

/// Holds what a geometry says about each of its planes against a plain walk over them.
void expectPlanesInOrder(BaseImageGeometry const& geometry) {
    vlUInt64 plane = 0;
    vlUInt64 offset = 0;
    for (vlUInt64 t = 0; t < geometry.getSizeT(); ++t) {
        for (vlUInt64 c = 0; c < geometry.getSizeC(); ++c) {
            for (vlUInt64 z = 0; z < geometry.getSizeZ(); ++z) {
                EXPECT_EQ(geometry.getPlanOffset(z, c, t), offset);
                EXPECT_EQ(geometry.getPlansMemorySize(plane), offset);
                PlanIndexes const indexes = geometry.getPlanIndexes(plane);
                EXPECT_TRUE(indexes.z == z && indexes.c == c && indexes.t == t) << "plane " << plane;
                EXPECT_TRUE(geometry.hasPlan(z, c, t));
                offset += countPlaneBytes(geometry, t);
                ++plane;
            }
        }
    }
    EXPECT_EQ(geometry.getNbPlans(), plane);
    EXPECT_EQ(geometry.getPlansMemorySize(plane), offset);
    EXPECT_EQ(geometry.getFullMemorySize(), offset);
}

} // namespace

TEST(ImageGeometry, EveryKindAnswersWithItsSizesAndTypes) {
    for (NamedGeometry const& kind : makeAllKinds()) {
        SCOPED_TRACE(kind.name);
        BaseImageGeometry const& geometry = *kind.pGeometry;
        bool const b3d = geometry.getVolumeGeometryType() == eVGT_3d;
        bool const bSequence = geometry.getTemporalGeometryType() == eTGT_Sequence;
        EXPECT_EQ(geometry.getSizeX(), 5U);
        EXPECT_EQ(geometry.getSizeY(), 3U);
        EXPECT_EQ(geometry.getSizeZ(), b3d ? 4U : 1U);
        EXPECT_EQ(geometry.getSizeC(), geometry.getColorGeometry().getSizeC());
        EXPECT_EQ(geometry.getSizeT(), bSequence ? 3U : 1U);
        EXPECT_EQ(geometry.getPlanNbPixels(), 15U);
        EXPECT_EQ(geometry.getNbPixels(),
                  15U * geometry.getSizeZ() * geometry.getSizeC() * geometry.getSizeT());
        EXPECT_EQ(geometry.getBufferType(), geometry.getPlanGeometry(0).getBufferType());
    }
}

TEST(ImageGeometry, PlanesOfEveryKindLieInTheOrderOfTimeThenChannelThenZ) {
    for (NamedGeometry const& kind : makeAllKinds()) {
        SCOPED_TRACE(kind.name);
        expectPlanesInOrder(*kind.pGeometry);
    }
    ImageGeometryPtr const pGeometry = GeometryBuilder().volume(2).channels(3).sequence(4).build();
    EXPECT_FALSE(pGeometry->hasPlan(2, 0, 0));
    EXPECT_FALSE(pGeometry->hasPlan(0, 3, 0));
    EXPECT_FALSE(pGeometry->hasPlan(0, 0, 4));
}

TEST(ImageGeometry, OffsetsOfRandomGeometriesAreThoseOfAWalkOverTheirPlanes) {
    std::mt19937 random(20240517);
    for (int round = 0; round < 200; ++round) {
        ImageGeometryPtr const pGeometry = makeRandomGeometry(random);
        SCOPED_TRACE(describe(*pGeometry));
        expectPlanesInOrder(*pGeometry);
    }
}

TEST(ImageGeometry, ATimeStepOutsideIsRefused) {
    for (NamedGeometry const& kind : makeAllKinds()) {
        SCOPED_TRACE(kind.name);
        BaseImageGeometry const& geometry = *kind.pGeometry;
        vlUInt64 const sizeT = geometry.getSizeT();
        EXPECT_EQ(thrownText<VELMOImageException>([&] { geometry.getPlanGeometry(sizeT); }),
                  "Time step " + std::to_string(sizeT) + " lies outside of an image of " +
                      std::to_string(sizeT) + " time steps");
        EXPECT_THROW(geometry.getPlanGeometry(NumericLimits<vlUInt64>::s_max), VELMOImageException);
        EXPECT_THROW(geometry.getPlanMemorySize(sizeT), VELMOImageException);
    }
}

TEST(HeterogeneousImageGeometry, OfATypeForEachPlaneOfAVolumeTheFirstStandsForAll) {
    ImageGeometryPtr const pGeometry =
        GeometryBuilder().volume(3).types({eIBT_UInt16, eIBT_UInt8, eIBT_Real32}).build();
    EXPECT_EQ(pGeometry->getBufferType(), eIBT_UInt16);
    EXPECT_EQ(pGeometry->getPlanGeometry(0).getBufferType(), eIBT_UInt16);
    EXPECT_EQ(pGeometry->getFullMemorySize(), 15U * 3 * 2);
    EXPECT_EQ(pGeometry->getPlanOffset(2, 0, 0), 15U * 2 * 2);
    EXPECT_EQ(dynamic_cast<HeterogeneousImageGeometry&>(*pGeometry).getBufferTypes().size(), 3U);
}

TEST(HeterogeneousImageGeometry, RefusesANumberOfTypesThatFitsNeitherTimeStepsNorPlanes) {
    struct Row {
        vlUInt64 sizeZ;
        vlUInt64 sizeT;
        vlUInt64 nbTypes;
        bool bFits;
    };
    constexpr Row rows[] = {{4, 1, 1, true},  {4, 1, 4, true},  {4, 1, 3, false}, {4, 1, 5, false},
                            {4, 3, 3, true},  {4, 3, 4, false}, {4, 3, 1, false}, {4, 3, 12, false},
                            {1, 3, 3, true},  {1, 3, 2, false}, {1, 1, 0, false}, {1, 0, 0, false},
                            {0, 1, 0, false}, {0, 1, 1, true}};
    for (Row const& row : rows) {
        SCOPED_TRACE(testing::Message() << "z=" << row.sizeZ << " t=" << row.sizeT << " n=" << row.nbTypes);
        VolumeGeometry volume;
        volume.init3d(row.sizeZ);
        TemporalGeometry temporal;
        temporal.initSequence(row.sizeT);
        HeterogeneousImageGeometry geometry;
        std::vector<eImageBufferType> const types(row.nbTypes, eIBT_UInt8);
        auto const init = [&] { geometry.init(volume, ColorGeometry(), temporal, 5, 3, types); };
        if (row.bFits) {
            EXPECT_NO_THROW(init());
            EXPECT_EQ(geometry.getSizeT(), row.sizeT);
            continue;
        }
        std::string const before = describe(geometry);
        EXPECT_NE(
            thrownText<VELMOImageException>(init).find(std::to_string(row.nbTypes) + " buffer types fit"),
            std::string::npos);
        EXPECT_EQ(describe(geometry), before);
    }
}

TEST(ImageGeometry, SetBufferTypeReplacesTheTypeOfAllPlanes) {
    for (NamedGeometry const& kind : makeAllKinds()) {
        SCOPED_TRACE(kind.name);
        kind.pGeometry->setBufferType(eIBT_Label32);
        for (vlUInt64 t = 0; t < kind.pGeometry->getSizeT(); ++t) {
            EXPECT_EQ(kind.pGeometry->getPlanGeometry(t).getBufferType(), eIBT_Label32);
        }
        EXPECT_EQ(kind.pGeometry->getFullMemorySize(), kind.pGeometry->getNbPixels() * 4);
    }
}

namespace {

/// Changes all that a holder of a geometry may change.
void change(BaseImageGeometry& geometry) {
    geometry.getColorGeometry().setMinIsBlack(false);
    geometry.getColorGeometry().setChannelName("changed", 0);
    geometry.setBufferType(eIBT_Label32);
    geometry.getVolumeGeometry().init3d(9);
}

} // namespace

TEST(ImageGeometry, CopiesOfEveryKindAreEqualToAndIndependentOfTheOriginal) {
    for (NamedGeometry const& kind : makeAllKinds()) {
        SCOPED_TRACE(kind.name);
        std::string const before = describe(*kind.pGeometry);
        EXPECT_TRUE(kind.pGeometry->hasCopySupport());
        DynamicObjectPtr const copies[] = {
            kind.pGeometry->duplicateShared(), DynamicObjectPtr(kind.pGeometry->duplicate()),
            duplicateGeometry(*kind.pGeometry), kind.pGeometry->createShared()};
        copies[3]->copy(*kind.pGeometry);
        for (DynamicObjectPtr const& pObject : copies) {
            auto& copy = dynamic_cast<BaseImageGeometry&>(*pObject);
            EXPECT_EQ(describe(copy), before);
            change(copy);
            EXPECT_NE(describe(copy), before);
            EXPECT_EQ(describe(*kind.pGeometry), before);
        }
        DynamicObjectPtr const pNew(kind.pGeometry->createNew());
        EXPECT_EQ(pNew->getClassName(), kind.pGeometry->getClassName());
        EXPECT_EQ(dynamic_cast<BaseImageGeometry&>(*pNew).getFullMemorySize(), 0U);
    }
    EXPECT_THROW(HomogeneousImageGeometry().copy(HeterogeneousImageGeometry()), VELMOUtilException);
    EXPECT_THROW(HeterogeneousImageGeometry().copy(HomogeneousImageGeometry()), VELMOUtilException);
}

TEST(ImageGeometry, FreeFunctionsMakeHomogeneousGeometries) {
    ImageGeometryPtr const pGeometry = geometry3d(eIBT_Int16, 6, 7, 8);
    EXPECT_EQ(describe(*pGeometry),
              describe(*GeometryBuilder().plane(6, 7).volume(8).type(eIBT_Int16).build()));
    EXPECT_EQ(pGeometry->getClassName(), HomogeneousImageGeometry::getTypeName());
    EXPECT_THROW(geometry3d(eIBT_Int16, vlUInt64{1} << 63U, 2, 1), VELMOImageException);
}

TEST(ImageGeometry, KnowsWhetherPlanesHaveAPixelType) {
    EXPECT_TRUE(hasBufferType(*GeometryBuilder().type(eIBT_Binary).build(), eIBT_Binary));
    EXPECT_FALSE(hasBufferType(*GeometryBuilder().type(eIBT_Label8).build(), eIBT_Binary));
    ImageGeometryPtr const pMixed = GeometryBuilder().sequence(2).types({eIBT_UInt8, eIBT_Binary}).build();
    EXPECT_TRUE(hasBufferType(*pMixed, eIBT_UInt8));
    EXPECT_TRUE(hasBufferType(*pMixed, eIBT_Binary));
    EXPECT_FALSE(hasBufferType(*pMixed, eIBT_Label8));
}

TEST(ImageGeometry, KnowsThePlaneWhoseTypeIsNotThatOfThePlanesBeforeIt) {
    auto const find = [](GeometryBuilder const& builder) { return findPlaneOfOtherType(*builder.build()); };
    EXPECT_EQ(find(GeometryBuilder().volume(3)), std::nullopt);
    EXPECT_EQ(find(GeometryBuilder().volume(2).types({eIBT_Int16, eIBT_Int16})), std::nullopt);
    EXPECT_EQ(find(GeometryBuilder().volume(2).sequence(2).types({eIBT_Int16, eIBT_UInt8})), std::nullopt);
    EXPECT_EQ(find(GeometryBuilder().volume(3).types({eIBT_Int16, eIBT_Int16, eIBT_UInt8})), 2U);
    EXPECT_EQ(find(GeometryBuilder().volume(3).sequence(1).types({eIBT_Int16, eIBT_UInt8, eIBT_UInt8})), 1U);
}

TEST(ImageGeometry, GeometriesOfTheSamePixelsAreEqualWhateverTheirClass) {
    ImageGeometryPtr const pOne = GeometryBuilder().sequence(2).type(eIBT_Real32).build();
    ImageGeometryPtr const pEach = GeometryBuilder().sequence(2).types({eIBT_Real32, eIBT_Real32}).build();
    ImageGeometryPtr const pOther = GeometryBuilder().sequence(2).types({eIBT_Real32, eIBT_Int32}).build();
    EXPECT_TRUE(haveSamePixels(*pOne, *pEach));
    EXPECT_TRUE(haveSamePixels(*pEach, *pOne));
    EXPECT_TRUE(haveSamePixels(*pEach, *pEach));
    EXPECT_FALSE(haveSamePixels(*pOne, *pOther));
    EXPECT_FALSE(haveSamePixels(*pOther, *pEach));
}
