// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "ByteAccessor.h"
#include "GeometryBuilder.h"
#include "PixelPattern.h"
#include "ThrownText.h"
#include "VELMOImage/DiskImage.h"
#include "VELMOImage/MemoryImage.h"
#include "VELMOImage/VELMOImageLog.h"
#include <algorithm>
#include <boost/make_shared.hpp>
#include <cstdint>
#include <gmock/gmock.h>
#include <sstream>

using namespace velmo;
using namespace velmo::image;
using namespace velmo::test;

namespace {

bool isZero(Bytes const& bytes) {
    return std::all_of(bytes.begin(), bytes.end(), [](std::byte byte) { return byte == std::byte{0}; });
}

std::byte const* getBytes(MemoryImage const& image) {
    return static_cast<std::byte const*>(image.getDataPtr());
}

/// An image of 2 x 3 x 2 planes of 15 pixels of 16 bits that holds a pattern.
class FilledMemoryImage : public testing::Test {
  protected:
    FilledMemoryImage() {
        EXPECT_TRUE(
            image.init(*GeometryBuilder().volume(2).channels(3).sequence(2).type(eIBT_UInt16).build()));
        writeAll(image, pattern);
    }

    Bytes const pattern = makePattern(15 * 2 * 12);
    MemoryImage image;
};

} // namespace

TEST(MemoryImage, HasNoGeometryBeforeInit) {
    MemoryImage image;
    EXPECT_EQ(thrownText<VELMOImageException>([&] { image.getGeometry(); }), "The image has no geometry yet");
    EXPECT_THROW(image.getBufferType(), VELMOImageException);
    EXPECT_THROW(image.accessPlan(0, 0, 0), VELMOImageException);
    EXPECT_THROW(image.createCpuCopy(), VELMOImageException);
    char pixel = 0;
    EXPECT_THROW(image.readPixels(0, 0, 0, 0, 1, &pixel), VELMOImageException);
}

TEST(MemoryImage, OfEveryKindIsZeroAtFirstAndKeepsItsPlanesInOneAllocationInTheOrderOfTimeThenChannelThenZ) {
    for (NamedGeometry const& kind : makeAllKinds()) {
        SCOPED_TRACE(kind.name);
        BaseImageGeometry const& geometry = *kind.pGeometry;
        MemoryImage image;
        ASSERT_TRUE(image.init(geometry));
        EXPECT_TRUE(isZero(readAll(image)));
        EXPECT_FALSE(image.requiresCpuCopy());
        Bytes const pattern = makePattern(countBytes(geometry));
        writeAll(image, pattern);
        EXPECT_EQ(readAll(image), pattern);
        EXPECT_TRUE(std::equal(pattern.begin(), pattern.end(), getBytes(image)));
        vlUInt64 const z = geometry.getSizeZ() - 1;
        vlUInt64 const c = geometry.getSizeC() - 1;
        MemoryImage const& constImage = image;
        for (vlUInt64 t = 0; t < geometry.getSizeT(); ++t) {
            EXPECT_EQ(image.accessPlan(z, c, t), getBytes(image) + countBytesBefore(geometry, z, c, t));
            EXPECT_EQ(constImage.accessPlan(z, c, t), image.accessPlan(z, c, t));
        }
        EXPECT_THROW(image.accessPlan(z + 1, 0, 0), VELMOImageException);
        EXPECT_THROW(image.accessPlan(0, c + 1, 0), VELMOImageException);
        EXPECT_THROW(constImage.accessPlan(0, 0, geometry.getSizeT()), VELMOImageException);
        std::string const before = describe(image.getGeometry());
        kind.pGeometry->setBufferType(eIBT_Int8); // the image has a copy
        EXPECT_EQ(describe(image.getGeometry()), before);
    }
}

TEST_F(FilledMemoryImage, ReadsAndWritesPartsOfRowsAndNothingElse) {
    Bytes part(7 * 2);
    ASSERT_TRUE(image.readPixels(1, 2, 0, 3, 7, part.data()));
    EXPECT_TRUE(std::equal(part.begin(), part.end(), pattern.begin() + 5 * 30 + 3 * 2));
    part = makePattern(7 * 2, 99);
    ASSERT_TRUE(image.writePixels(1, 2, 0, 3, 7, part.data()));
    Bytes expected = pattern;
    std::copy(part.begin(), part.end(), expected.begin() + 5 * 30 + 3 * 2);
    EXPECT_EQ(readAll(image), expected);
}

TEST_F(FilledMemoryImage, ARunOfNoPixelsIsInsideUpToTheEndOfThePlane) {
    EXPECT_TRUE(image.readPixels(0, 0, 0, 15, 0, nullptr));
    EXPECT_TRUE(image.writePixels(0, 0, 0, 0, 0, nullptr));
    EXPECT_THROW(image.readPixels(0, 0, 0, 16, 0, nullptr), VELMOImageException);
    EXPECT_EQ(readAll(image), pattern);
}

TEST_F(FilledMemoryImage, ARunOutsideInAnyDimensionIsRefused) {
    constexpr vlUInt64 max = NumericLimits<vlUInt64>::s_max;
    struct Row {
        vlUInt64 z;
        vlUInt64 c;
        vlUInt64 t;
        vlUInt64 pixelStart;
        vlUInt64 nbPixels;
    };
    constexpr Row rows[] = {{2, 0, 0, 0, 1},       {0, 3, 0, 0, 1},   {0, 0, 2, 0, 1},   {0, 0, 0, 15, 1},
                            {0, 0, 0, 0, 16},      {0, 0, 0, 14, 2},  {0, 0, 0, max, 1}, {0, 0, 0, 1, max},
                            {0, 0, 0, 2, max - 1}, {max, 0, 0, 0, 1}, {0, max, 0, 0, 1}, {0, 0, max, 0, 1}};
    Bytes buffer(100);
    for (Row const& row : rows) {
        std::ostringstream expected;
        expected << "The run from pixel " << row.pixelStart << " of " << row.nbPixels
                 << " pixels in plane z=" << row.z << " c=" << row.c << " t=" << row.t
                 << " lies outside of an image of sizes z=2 c=3 t=2 with planes of 15 pixels";
        auto const read = [&] {
            image.readPixels(row.z, row.c, row.t, row.pixelStart, row.nbPixels, buffer.data());
        };
        auto const write = [&] {
            image.writePixels(row.z, row.c, row.t, row.pixelStart, row.nbPixels, buffer.data());
        };
        EXPECT_EQ(thrownText<VELMOImageException>(read), expected.str());
        EXPECT_EQ(thrownText<VELMOImageException>(write), expected.str());
    }
    EXPECT_EQ(readAll(image), pattern);
}

TEST_F(FilledMemoryImage, InitAgainReplacesGeometryAndPixels) {
    std::string const before = describe(image.getGeometry());
    ASSERT_TRUE(image.init(image.getGeometry()));
    EXPECT_EQ(describe(image.getGeometry()), before);
    EXPECT_TRUE(isZero(readAll(image)));
    writeAll(image, pattern);
    ASSERT_TRUE(image.init(*GeometryBuilder().volume(3).type(eIBT_Real32).build()));
    EXPECT_EQ(image.getGeometry().getSizeZ(), 3U);
    EXPECT_EQ(readAll(image), Bytes(15 * 4 * 3));
}

TEST_F(FilledMemoryImage, AnImageLargerThanTheMemoryIsRefusedWithBothFiguresAndChangesNothing) {
    std::string const before = describe(image.getGeometry());
    vlUInt64 const needed = vlUInt64{1} << 60U;
    BoolResult const result = image.init(*geometry3d(eIBT_UInt8, vlUInt64{1} << 30U, vlUInt64{1} << 30U, 1));
    ASSERT_FALSE(result);
    std::istringstream text(result.getMessage());
    std::string word;
    vlUInt64 figures[2] = {0, 0};
    text >> word >> word >> word >> figures[0] >> word >> word >> word >> word >> figures[1];
    EXPECT_EQ(figures[0], needed) << result.getMessage();
    EXPECT_LT(figures[1], needed) << result.getMessage();
    EXPECT_GT(figures[1], 0U) << result.getMessage();
    EXPECT_THAT(result.getMessage(), testing::EndsWith(" bytes are available"));
    EXPECT_EQ(describe(image.getGeometry()), before);
    EXPECT_EQ(readAll(image), pattern);
}

TEST_F(FilledMemoryImage, AGeometryThatCannotBeCountedIsRefusedAndChangesNothing) {
    ImageGeometryPtr const pGeometry = geometry3d(eIBT_UInt8, vlUInt64{1} << 40U, 1, 1);
    pGeometry->getVolumeGeometry().init3d(vlUInt64{1} << 40U);
    EXPECT_THROW(image.init(*pGeometry), VELMOImageException);
    EXPECT_EQ(readAll(image), pattern);
}

TEST(MemoryImage, WithoutBytesHasNoAddress) {
    for (ImageGeometryPtr const& pGeometry :
         {GeometryBuilder().plane(0, 3).build(), GeometryBuilder().type(eIBT_None).build()}) {
        MemoryImage image;
        ASSERT_TRUE(image.init(*pGeometry));
        EXPECT_EQ(image.getDataPtr(), nullptr);
        EXPECT_EQ(image.accessPlan(0, 0, 0), nullptr);
        EXPECT_TRUE(image.readPixels(0, 0, 0, 0, pGeometry->getPlanNbPixels(), nullptr));
    }
}

TEST(MemoryImage, AboveAHugePageIsZeroAndWholeToItsLastByte) {
    MemoryImage image;
    ASSERT_TRUE(image.init(*GeometryBuilder().plane(1031, 1033).volume(5).build()));
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(image.getDataPtr()) % (2U << 20U), 0U);
    EXPECT_TRUE(isZero(readAll(image)));
    Bytes const pattern = makePattern(1031 * 1033 * 5);
    writeAll(image, pattern);
    EXPECT_EQ(readAll(image), pattern);
}

TEST_F(FilledMemoryImage, InitDropsCalibrationAndUserPropertiesUnlessItFails) {
    auto const pCalibration = createGeometricCalibration2d(1, 2, "mm", 0, 0, 0, 0, 0);
    image.setGeometricCalibration(pCalibration);
    image.setUserPropertiesStr("key=value");
    EXPECT_FALSE(image.init(*geometry3d(eIBT_UInt8, vlUInt64{1} << 30U, vlUInt64{1} << 30U, 1)));
    EXPECT_EQ(image.getGeometricCalibrationConstPtr(), pCalibration);
    EXPECT_EQ(image.getUserPropertiesStr(), "key=value");
    image.setGeometricCalibration(GeometricCalibrationConstPtr());
    EXPECT_FALSE(image.hasGeometricCalibration());
    image.setGeometricCalibration(pCalibration);
    ASSERT_TRUE(image.init(image.getGeometry()));
    EXPECT_FALSE(image.hasGeometricCalibration());
    EXPECT_EQ(image.getUserPropertiesStr(), "");
}

TEST_F(FilledMemoryImage, ACpuCopyHoldsAllThatTheImageHolds) {
    auto const pCalibration = createGeometricCalibration2d(1, 2, "mm", 0, 0, 0, 0, 0);
    image.setGeometricCalibration(pCalibration);
    image.setUserPropertiesStr("key=value");
    ImageConstPtr const pCopy = image.createCpuCopy();
    EXPECT_EQ(describe(pCopy->getGeometry()), describe(image.getGeometry()));
    EXPECT_EQ(pCopy->getGeometricCalibrationConstPtr(), pCalibration);
    EXPECT_EQ(pCopy->getUserPropertiesStr(), "key=value");
    writeAll(image, makePattern(pattern.size(), 7));
    EXPECT_EQ(readAll(*pCopy), pattern);
}

TEST(DiskImage, OfEveryKindReadsAndWritesThroughItsAccessor) {
    for (NamedGeometry const& kind : makeAllKinds()) {
        SCOPED_TRACE(kind.name);
        auto const pAccessor = makeByteAccessor("kinds.raw", *kind.pGeometry);
        DiskImage image(pAccessor);
        EXPECT_EQ(describe(image.getGeometry()), describe(*kind.pGeometry));
        Bytes const pattern = makePattern(countBytes(*kind.pGeometry));
        writeAll(image, pattern);
        EXPECT_EQ(pAccessor->getStorage().bytes, pattern);
        EXPECT_EQ(readAll(image), pattern);
        image.setUserPropertiesStr("text");
        ImageConstPtr const pCopy = image.createCpuCopy();
        EXPECT_EQ(readAll(*pCopy), pattern);
        EXPECT_EQ(pCopy->getUserPropertiesStr(), "text");
        EXPECT_NE(pCopy->accessPlan(0, 0, 0), nullptr);
    }
}

TEST(DiskImage, PassesRunsOnAsTheyAreButForThoseOutside) {
    auto const pAccessor = makeByteAccessor("runs.raw", *GeometryBuilder().volume(2).sequence(2).build());
    std::vector<vlUInt64> seen;
    pAccessor->getStorage().readGate = [&seen](PixelRun const& run) {
        seen = {run.z, run.c, run.t, run.pixelStart, run.nbPixels};
        return failure("the disk is gone");
    };
    pAccessor->getStorage().writeGate = [](PixelRun const&) { return failure("the disk is full"); };
    DiskImage image(pAccessor);
    Bytes buffer(15);
    EXPECT_EQ(image.readPixels(1, 0, 1, 4, 6, buffer.data()).getMessage(), "the disk is gone");
    EXPECT_THAT(seen, testing::ElementsAre(1, 0, 1, 4, 6));
    EXPECT_EQ(image.writePixels(0, 0, 0, 0, 15, buffer.data()).getMessage(), "the disk is full");
    EXPECT_EQ(thrownText<VELMOImageException>([&] { image.createCpuCopy(); }),
              "Failed to copy the image into memory\nthe disk is gone");
    vlUInt64 const nbVisits = pAccessor->getStorage().getNbVisits();
    EXPECT_THROW(image.readPixels(2, 0, 0, 0, 1, buffer.data()), VELMOImageException);
    EXPECT_THROW(image.writePixels(0, 0, 0, 15, 1, buffer.data()), VELMOImageException);
    EXPECT_EQ(pAccessor->getStorage().getNbVisits(), nbVisits);
}

TEST(DiskImage, HasTheCalibrationOfItsAccessorAndKeepsItOpen) {
    auto pAccessor = boost::make_shared<ByteAccessor>();
    auto const pCalibration = createGeometricCalibration2d(1, 2, "mm", 0, 0, 0, 0, 0);
    pAccessor->create("owned.raw", *GeometryBuilder().build(), pCalibration);
    DiskImage image(pAccessor);
    EXPECT_EQ(image.getGeometricCalibrationConstPtr(), pCalibration);
    EXPECT_EQ(image.getAccessor(), pAccessor);
    pAccessor.reset();
    Bytes const pattern = makePattern(15);
    writeAll(image, pattern);
    EXPECT_EQ(readAll(image), pattern);
}

TEST(DiskImage, HasNoPixelsInMemoryAndTakesNoOtherGeometry) {
    DiskImage image(makeByteAccessor("address.raw", *GeometryBuilder().build()));
    std::string const before = describe(image.getGeometry());
    EXPECT_EQ(image.accessPlan(0, 0, 0), nullptr);
    EXPECT_THROW(image.accessPlan(1, 0, 0), VELMOImageException);
    EXPECT_FALSE(image.requiresCpuCopy());
    BoolResult const result = image.init(*GeometryBuilder().volume(2).build());
    EXPECT_FALSE(result);
    EXPECT_EQ(result.getMessage(), "This kind of image takes its geometry at construction");
    EXPECT_EQ(describe(image.getGeometry()), before);
}

TEST(DiskImage, ACpuCopyOfAnImageWithoutPixelsDoesNotWalkOverItsPlanes) {
    auto const pAccessor =
        makeByteAccessor("empty.raw", *GeometryBuilder().plane(0, 3).volume(vlUInt64{1} << 40U).build());
    pAccessor->getStorage().readGate = [&](PixelRun const&) {
        return pAccessor->getStorage().getNbVisits() > 1000 ? failure("too many reads of nothing")
                                                            : success();
    };
    EXPECT_NO_THROW(DiskImage(pAccessor).createCpuCopy());
}
