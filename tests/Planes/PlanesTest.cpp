// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Planes/PlaneTable.h"
#include "Planes/StreamRuns.h"
#include "RawImageFileFixture.h"
#include <VELMOImage/VELMOImageLog.h>
#include <boost/filesystem/operations.hpp>

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

constexpr auto g_readWrite = std::ios::in | std::ios::out | std::ios::binary;

class StreamRunsTest : public RawImageFileTest {
  protected:
    std::fstream open(std::string const& bytes, std::ios::openmode mode = g_readWrite) const {
        writeFile(_path, bytes);
        return std::fstream(_path.string(), mode);
    }
};

TEST(ByteRun, CountsPixelsInBytes) {
    ByteRun const run = toByteRun(100, 3, 5, 4);
    EXPECT_EQ(run.offset, 112U);
    EXPECT_EQ(run.size, 20U);
}

TEST(ByteRun, IsEmptyWhere64BitsCannotCount) {
    EXPECT_FALSE(toByteRun(0, g_largest / 2 + 1, 1, 2).offset);
    EXPECT_FALSE(toByteRun(2, g_largest - 1, 1, 1).offset);
    EXPECT_FALSE(toByteRun(0, 0, g_largest / 4 + 1, 4).size);
    EXPECT_EQ(toByteRun(1, g_largest - 1, g_largest, 1).offset, g_largest);
    EXPECT_EQ(toByteRun(1, g_largest - 1, g_largest, 1).size, g_largest);
    EXPECT_EQ(toByteRun(1, g_largest, g_largest, 0).size, 0U);
}

TEST_F(StreamRunsTest, ReadAndWriteAtTheirOffset) {
    std::fstream stream = open("0123456789");
    std::string buffer(3, '#');
    EXPECT_EQ(readRun(stream, {4, 3}, buffer.data()), eStreamOutcome::Done);
    EXPECT_EQ(buffer, "456");
    EXPECT_EQ(writeRun(stream, {2, 2}, "ab"), eStreamOutcome::Done);
    EXPECT_EQ(readFile(_path), "01ab456789");
}

TEST_F(StreamRunsTest, AFailureStaysInTheStream) {
    std::fstream stream = open("0123456789");
    std::string buffer(3, '#');
    EXPECT_EQ(readRun(stream, {8, 3}, buffer.data()), eStreamOutcome::TransferFailed);
    EXPECT_EQ(readRun(stream, {0, 1}, buffer.data()), eStreamOutcome::SeekFailed);
    EXPECT_EQ(writeRun(stream, {0, 1}, "x"), eStreamOutcome::SeekFailed);
    EXPECT_FALSE(reserveBytes(stream, 20));
    EXPECT_EQ(readFile(_path), "0123456789");
}

TEST_F(StreamRunsTest, OffsetsAndSizesThatNoFileHasFailWithoutATransfer) {
    vlUInt64 const tooLarge = g_largest / 2 + 1;
    for (std::optional<vlUInt64> const& number :
         {std::optional<vlUInt64>(), std::optional<vlUInt64>(tooLarge)}) {
        std::string buffer(3, '#');
        std::fstream seeking = open("0123456789");
        EXPECT_EQ(readRun(seeking, {number, 1}, buffer.data()), eStreamOutcome::SeekFailed);
        std::fstream reading = open("0123456789");
        EXPECT_EQ(readRun(reading, {1, number}, buffer.data()), eStreamOutcome::TransferFailed);
        std::fstream writing = open("0123456789");
        EXPECT_EQ(writeRun(writing, {1, number}, buffer.data()), eStreamOutcome::TransferFailed);
        EXPECT_EQ(buffer, "###");
        EXPECT_EQ(readFile(_path), "0123456789");
    }
}

TEST_F(StreamRunsTest, ReservingPutsAZeroAtTheEnd) {
    std::fstream stream = open("0123456789");
    EXPECT_TRUE(reserveBytes(stream, 0));
    EXPECT_EQ(readFile(_path), "0123456789");
    EXPECT_TRUE(reserveBytes(stream, 12));
    EXPECT_EQ(readFile(_path), std::string("0123456789\0\0", 12));
    EXPECT_TRUE(reserveBytes(stream, 4));
    EXPECT_EQ(readFile(_path), std::string("012\0"
                                           "456789\0\0",
                                           12));
    std::fstream empty = open("");
    EXPECT_TRUE(reserveBytes(empty, 1));
    EXPECT_EQ(readFile(_path), std::string(1, '\0'));
    std::fstream reading = open("0123", std::ios::in | std::ios::binary);
    EXPECT_FALSE(reserveBytes(reading, 12));
    EXPECT_EQ(readFile(_path), "0123");
}

} // namespace

} // namespace velmo::image::file
