// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Planes/PlaneTable.h"
#include "RawImageFileFixture.h"

#include <VELMOImage/VELMOImageLog.h>

namespace velmo::image::file {

namespace {

TEST(PlaneTable, PlacesThePlanesOfAGeometryAndIsFilledAnew) {
    PlaneTable planes;
    EXPECT_FALSE(planes.find(0, 0, 0));
    EXPECT_EQ(planes.getDataStartOffset(), 0U);
    ImageGeometryPtr const pGeometry = makeExampleGeometry();
    EXPECT_EQ(planes.process(g_exampleOffset, *pGeometry), g_exampleEnd);
    pGeometry->setBufferType(eIBT_UInt8); // the table has a copy
    pGeometry->getVolumeGeometry().init2d();
    EXPECT_EQ(planes.getDataStartOffset(), 16U);
    EXPECT_EQ(planes.find(0, 0, 0), 16U);
    EXPECT_EQ(planes.find(1, 0, 0), 40U);
    EXPECT_EQ(planes.find(0, 0, 1), 64U);
    EXPECT_EQ(planes.find(1, 0, 1), 88U);
    EXPECT_EQ(planes.process(0, *makeGeometry(eIBT_UInt8, {2, 2})), 4U);
    EXPECT_EQ(planes.find(0, 0, 0), 0U);
    EXPECT_FALSE(planes.find(1, 0, 0));
    EXPECT_EQ(planes.process(9, *makeGeometry(eIBT_UInt8, {1, 1, 0})), 9U);
    EXPECT_EQ(planes.getDataStartOffset(), 9U);
    EXPECT_FALSE(planes.find(0, 0, 0));
}

TEST(PlaneTable, AgreesWithAWalkThroughAllPlanes) {
    std::vector<eImageBufferType> const types = {eIBT_UInt8, eIBT_Real32, eIBT_None, eIBT_Int16};
    vlUInt64 const sizes[] = {1, 4, 0, 2};
    Sizes const shape = {5, 3, 2, 3, 4};
    PlaneTable planes;
    vlUInt64 const end = planes.process(7, *makeHeterogeneousGeometry(types, shape));
    vlUInt64 offset = 7;
    for (vlUInt64 t = 0; t < shape.t; ++t) {
        for (vlUInt64 c = 0; c < shape.c; ++c) {
            for (vlUInt64 z = 0; z < shape.z; ++z) {
                EXPECT_EQ(planes.find(z, c, t), offset) << z << ' ' << c << ' ' << t;
                offset += shape.x * shape.y * sizes[t];
            }
        }
    }
    EXPECT_EQ(end, offset);
}

TEST(PlaneTable, DoesNotFindAPlaneOutsideOfTheSizes) {
    PlaneTable planes;
    planes.process(0, *makeGeometry(eIBT_UInt8, {1, 1, 2, 3, 4}));
    EXPECT_TRUE(planes.find(1, 2, 3));
    EXPECT_FALSE(planes.find(2, 2, 3));
    EXPECT_FALSE(planes.find(1, 3, 3));
    EXPECT_FALSE(planes.find(1, 2, 4));
    EXPECT_FALSE(planes.find(g_largest, 0, 0));
}

TEST(PlaneTable, EndsAtTheLargestNumberWhereTheSumPasses64Bits) {
    PlaneTable planes;
    EXPECT_EQ(planes.process(g_largest - 96, *makeExampleGeometry()), g_largest);
    EXPECT_EQ(planes.process(g_largest - 95, *makeExampleGeometry()), g_largest);
    EXPECT_EQ(planes.process(g_largest - 50, *makeExampleGeometry()), g_largest);
    EXPECT_EQ(planes.find(1, 0, 0), g_largest - 26);
    EXPECT_FALSE(planes.find(1, 0, 1));
}

TEST(PlaneTable, RefusesAGeometryThatCannotBeCountedAndStaysAsItWas) {
    ImageGeometryPtr const pGeometry = makeGeometry(eIBT_UInt16, {g_largest / 4});
    pGeometry->getVolumeGeometry().init3d(3);
    PlaneTable planes;
    planes.process(g_exampleOffset, *makeExampleGeometry());
    EXPECT_THROW(planes.process(0, *pGeometry), VELMOImageException);
    EXPECT_EQ(planes.find(1, 0, 1), 88U);
}

} // namespace

} // namespace velmo::image::file
