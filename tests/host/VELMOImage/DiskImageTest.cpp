// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOImage/DiskImage.h"

#include "ByteAccessor.h"
#include "GeometryBuilder.h"
#include "ThrownText.h"
#include "VELMOImage/VELMOImageLog.h"

#include <gmock/gmock.h>

using namespace velmo;
using namespace velmo::image;
using namespace velmo::test;

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
