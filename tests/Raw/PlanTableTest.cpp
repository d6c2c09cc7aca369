// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Utils/PlanTable.h"
#include "RawImageFileFixture.h"

#include <VELMOImage/VELMOImageLog.h>

namespace velmo {
namespace image {
namespace file {

namespace {

TEST(PlanTable, IsEmptyAtConstruction) {
    PlanTable const plans;
    EXPECT_FALSE(plans.find(0, 0, 0));
    EXPECT_EQ(plans.getDataStartOffset(), 0U);
}

TEST(PlanTable, PlacesThePlanesOfTheExample) {
    PlanTable plans;
    EXPECT_EQ(plans.process(g_exampleOffset, *makeExampleGeometry()), g_exampleEnd);
    EXPECT_EQ(plans.getDataStartOffset(), 16U);
    EXPECT_EQ(plans.find(0, 0, 0), 16U);
    EXPECT_EQ(plans.find(1, 0, 0), 40U);
    EXPECT_EQ(plans.find(0, 0, 1), 64U);
    EXPECT_EQ(plans.find(1, 0, 1), 88U);
}

TEST(PlanTable, AgreesWithAWalkThroughAllPlanes) {
    std::vector<eImageBufferType> const types = {eIBT_UInt8, eIBT_Real32, eIBT_None, eIBT_Int16};
    vlUInt64 const sizes[] = {1, 4, 0, 2};
    Sizes const shape = {5, 3, 2, 3, 4};
    PlanTable plans;
    vlUInt64 const end = plans.process(7, *makeHeterogeneousGeometry(types, shape));
    vlUInt64 offset = 7;
    for (vlUInt64 t = 0; t < shape.t; ++t) {
        for (vlUInt64 c = 0; c < shape.c; ++c) {
            for (vlUInt64 z = 0; z < shape.z; ++z) {
                EXPECT_EQ(plans.find(z, c, t), offset) << z << ' ' << c << ' ' << t;
                offset += shape.x * shape.y * sizes[t];
            }
        }
    }
    EXPECT_EQ(end, offset);
}

TEST(PlanTable, DoesNotFindAPlaneOutsideOfTheSizes) {
    PlanTable plans;
    plans.process(0, *makeGeometry(eIBT_UInt8, {1, 1, 2, 3, 4}));
    EXPECT_TRUE(plans.find(1, 2, 3));
    EXPECT_FALSE(plans.find(2, 2, 3));
    EXPECT_FALSE(plans.find(1, 3, 3));
    EXPECT_FALSE(plans.find(1, 2, 4));
    EXPECT_FALSE(plans.find(g_largest, 0, 0));
}

TEST(PlanTable, KeepsItsPlanesWhenTheGeometryChanges) {
    ImageGeometryPtr const pGeometry = makeExampleGeometry();
    PlanTable plans;
    plans.process(0, *pGeometry);
    pGeometry->setBufferType(eIBT_UInt8);
    pGeometry->getVolumeGeometry().init2d();
    EXPECT_EQ(plans.find(1, 0, 1), 72U);
}

TEST(PlanTable, IsFilledAnew) {
    PlanTable plans;
    plans.process(g_exampleOffset, *makeExampleGeometry());
    EXPECT_EQ(plans.process(0, *makeGeometry(eIBT_UInt8, {2, 2})), 4U);
    EXPECT_EQ(plans.getDataStartOffset(), 0U);
    EXPECT_EQ(plans.find(0, 0, 0), 0U);
    EXPECT_FALSE(plans.find(1, 0, 0));
}

TEST(PlanTable, WithoutPlanesKeepsTheOffset) {
    PlanTable plans;
    EXPECT_EQ(plans.process(9, *makeGeometry(eIBT_UInt8, {1, 1, 0})), 9U);
    EXPECT_EQ(plans.getDataStartOffset(), 9U);
    EXPECT_FALSE(plans.find(0, 0, 0));
}

TEST(PlanTable, EndsAtTheLargestNumberWhereTheSumPasses64Bits) {
    PlanTable plans;
    EXPECT_EQ(plans.process(g_largest - 96, *makeExampleGeometry()), g_largest);
    EXPECT_EQ(plans.process(g_largest - 95, *makeExampleGeometry()), g_largest);
    EXPECT_EQ(plans.process(g_largest - 50, *makeExampleGeometry()), g_largest);
    EXPECT_EQ(plans.find(1, 0, 0), g_largest - 26);
    EXPECT_FALSE(plans.find(1, 0, 1));
}

TEST(PlanTable, RefusesAGeometryThatCannotBeCountedAndStaysAsItWas) {
    ImageGeometryPtr const pGeometry = makeGeometry(eIBT_UInt16, {g_largest / 4});
    pGeometry->getVolumeGeometry().init3d(3);
    PlanTable plans;
    plans.process(g_exampleOffset, *makeExampleGeometry());
    EXPECT_THROW(plans.process(0, *pGeometry), VELMOImageException);
    EXPECT_EQ(plans.find(1, 0, 1), 88U);
}

} // namespace

} // namespace file
} // namespace image
} // namespace velmo
