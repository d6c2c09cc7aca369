// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOImage/JoinedImage.h"

#include "JoinTools.h"
#include "Processes.h"
#include "Results.h"
#include "VELMOImage/DistributedImage.h"
#include "VELMOImage/MemoryImage.h"
#include "VELMOImage/SubImageExtractor.h"
#include "VELMOImage/VELMOImageLog.h"

#include <atomic>
#include <boost/make_shared.hpp>
#include <gmock/gmock.h>

namespace velmo::test {

using namespace velmo::image;

namespace {

ImagePtr joinVolumes(std::vector<ImagePtr> const& parts) {
    ImagePtr pWhole;
    EXPECT_THAT(SubImageExtractor::concatenateVolumes<BaseImage>(parts, pWhole), Succeeds());
    return pWhole;
}

ImagePtr joinSequences(std::vector<ImagePtr> const& parts) {
    ImagePtr pWhole;
    EXPECT_THAT(SubImageExtractor::concatenateSequences<BaseImage>(parts, pWhole), Succeeds());
    return pWhole;
}

ImagePtr makeDistributedPart(BaseImageGeometry const& geometry, vlUInt64 seed) {
    auto const pImage = boost::make_shared<DistributedImage>(createThreadDistributionEngine(2));
    EXPECT_THAT(pImage->init(geometry), Succeeds());
    writeAll(*pImage, makePattern(countBytes(geometry), seed));
    return pImage;
}

/// Parts of three kinds of image.
std::vector<ImagePtr> makeMixedParts() {
    return {makeMemoryPart(*GeometryBuilder().volume(2).build(), 1),
            makeDiskPart(*GeometryBuilder().build(), 2),
            makeDistributedPart(*GeometryBuilder().volume(3).build(), 3)};
}

/// Time steps of 1, 4 and 2 bytes a pixel.
std::vector<ImagePtr> makePartsOfTypes() {
    return {makeDiskPart(*GeometryBuilder().volume(2).build(), 1),
            makeDiskPart(*GeometryBuilder().volume(2).type(eIBT_Real32).sequence(2).build(), 2),
            makeMemoryPart(*GeometryBuilder().volume(2).type(eIBT_Label16).build(), 3)};
}

} // namespace

TEST(JoinedImage, HasNoGeometryBeforeItsJoin) {
    JoinedImage const image;
    EXPECT_THROW(image.getGeometry(), VELMOImageException);
    EXPECT_FALSE(image.isStoredIn("/"));
}

TEST(JoinedImage, AFailedJoinLeavesItAsItWas) {
    auto const parts = makeParts(eJoinAxis::Z, {2, 1});
    JoinedImage image;
    ASSERT_THAT(image.join(parts, eJoinAxis::Z), Succeeds());
    std::string const before = describe(image.getGeometry());
    EXPECT_THAT(image.join({parts[0], makeDiskPart(*GeometryBuilder().build())}, eJoinAxis::Z),
                FailsLike("Image 1 ("));
    EXPECT_THAT(image.join({}, eJoinAxis::T), FailsWith("There are no images to join"));
    EXPECT_EQ(describe(image.getGeometry()), before);
    EXPECT_TRUE(readAll(image) == readParts(parts, eJoinAxis::Z));
}

TEST(JoinedImage, JoinsEveryKindOfImage) {
    auto const parts = makeMixedParts();
    ImagePtr const pWhole = joinVolumes(parts);
    EXPECT_TRUE(readAll(*pWhole) == readParts(parts, eJoinAxis::Z));
    Bytes const pattern = makePattern(countBytes(pWhole->getGeometry()), 9);
    writeAll(*pWhole, pattern);
    EXPECT_TRUE(readParts(parts, eJoinAxis::Z) == pattern);
    EXPECT_TRUE(pWhole->requiresCpuCopy());
    EXPECT_FALSE(joinVolumes(makeParts(eJoinAxis::Z, {1, 1}))->requiresCpuCopy());
    EXPECT_FALSE(joinVolumes({parts[0], parts[0]})->isStoredIn("/proc/self/exe"));
}

TEST(JoinedImage, APlaneOfAPartInMemoryIsReachedWhereItLies) {
    auto const parts = makeMixedParts();
    ImagePtr const pWhole = joinVolumes(parts);
    EXPECT_NE(pWhole->accessPlan(0, 0, 0), nullptr);
    EXPECT_EQ(pWhole->accessPlan(0, 0, 0), parts[0]->accessPlan(0, 0, 0));
    EXPECT_EQ(pWhole->accessPlan(1, 0, 0), parts[0]->accessPlan(1, 0, 0));
    for (vlUInt64 z = 2; z < 6; ++z) {
        EXPECT_EQ(pWhole->accessPlan(z, 0, 0), nullptr) << z;
    }
    EXPECT_THROW(pWhole->accessPlan(6, 0, 0), VELMOImageException);
}

TEST(JoinedImage, TimeStepsOfDifferentTypesAreReadAndWrittenAsTheyAre) {
    auto const parts = makePartsOfTypes();
    ImagePtr const pWhole = joinSequences(parts);
    EXPECT_EQ(describe(pWhole->getGeometry()),
              describe(*GeometryBuilder()
                            .volume(2)
                            .sequence(4)
                            .types({eIBT_UInt8, eIBT_Real32, eIBT_Real32, eIBT_Label16})
                            .build()));
    EXPECT_TRUE(readAll(*pWhole) == readParts(parts, eJoinAxis::T));
    Bytes const pattern = makePattern(countBytes(pWhole->getGeometry()), 9);
    writeAll(*pWhole, pattern);
    EXPECT_TRUE(readParts(parts, eJoinAxis::T) == pattern);
    ImageConstPtr const pCopy = pWhole->createCpuCopy();
    EXPECT_EQ(pCopy->getGeometry().getPlanGeometry(3).getBufferType(), eIBT_Label16);
    EXPECT_TRUE(readAll(*pCopy) == pattern);
}

TEST(JoinedImage, VolumesWithPlanesOfDifferentTypesAreRefusedByEveryCallAndLeaveTheOutput) {
    std::vector<ImagePtr> const parts = {
        makeDiskPart(*GeometryBuilder().volume(2).type(eIBT_UInt16).build(), 1),
        makeDiskPart(*GeometryBuilder().volume(2).types({eIBT_UInt16, eIBT_UInt8}).build(), 2)};
    for (JoinCall const& call : getJoinCalls()) {
        ImagePtr const pBefore = makeDiskPart(*GeometryBuilder().build());
        ImagePtr out = pBefore;
        EXPECT_THAT(call.join(parts, out),
                    FailsWith("Image 1 (x=5 y=3 z=2 c=1 t=1 eIBT_UInt16) cannot be joined: its plane z=1 is "
                              "of type eIBT_UInt8"))
            << call.name;
        EXPECT_EQ(out, pBefore) << call.name;
    }
}

TEST(JoinedImage, JoinedAgainHasNothingOfTheDescriptionBefore) {
    JoinedImage image;
    ASSERT_TRUE(image.join({makeMemoryPart(*GeometryBuilder().build())}, eJoinAxis::Z));
    image.setGeometricCalibration(createGeometricCalibration2d(1, 2, "mm", 0, 0, 0, 0, 0));
    image.setUserPropertiesStr("key=value");
    auto const parts = makeParts(eJoinAxis::T, {2, 1});
    ASSERT_TRUE(image.join(parts, eJoinAxis::T));
    EXPECT_TRUE(readAll(image) == readParts(parts, eJoinAxis::T));
    EXPECT_FALSE(image.hasGeometricCalibration());
    EXPECT_EQ(image.getUserPropertiesStr(), "");
}

TEST(JoinedImage, ADiskImageOfPartsOfWhichOnePacksItsBinaryPixelsIsRefused) {
    auto const pGeometry = GeometryBuilder().type(eIBT_Binary).build();
    auto const pPacked = makeByteAccessor("packed part", *pGeometry);
    std::vector<ImagePtr> const parts = {makeDiskPart(*pGeometry), boost::make_shared<DiskImage>(pPacked)};
    pPacked->packBinary();
    DiskImagePtr out;
    for (BoolResult const& result : {SubImageExtractor::concatenateDiskVolumes(parts, out),
                                     SubImageExtractor::concatenateDiskSequences(parts, out)}) {
        EXPECT_THAT(result, FailsWith("A disk image takes binary pixels as one byte each, and accessor "
                                      "velmo::image::JoinedImageAccessor packs them"));
    }
    EXPECT_FALSE(out);
}

TEST(JoinedImage, ADiskVolumeOfAnImageInMemoryIsRefusedWithItsPlace) {
    std::vector<ImagePtr> const parts = {makeDiskPart(*GeometryBuilder().build()),
                                         makeMemoryPart(*GeometryBuilder().build())};
    DiskImagePtr const pBefore = makeDiskPart(*GeometryBuilder().build());
    DiskImagePtr out = pBefore;
    EXPECT_THAT(SubImageExtractor::concatenateDiskVolumes(parts, out),
                FailsWith("Image 1 of those to join is no disk image"));
    EXPECT_THAT(SubImageExtractor::concatenateDiskSequences(parts, out),
                FailsWith("Image 1 of those to join is no disk image"));
    EXPECT_EQ(out, pBefore);
}

TEST(JoinedImage, ManyThreadsReadAndWriteItAtOnce) {
    constexpr unsigned int nbThreads = 8;
    auto const parts = makeMixedParts();
    ImagePtr const pWhole = joinVolumes(parts);
    Bytes const expected = readAll(*pWhole);
    std::atomic<unsigned int> nbWrong{0};
    onThreads(nbThreads, [&](unsigned int thread) {
        for (int round = 0; round < 20; ++round) {
            std::byte const written = expected[thread];
            std::byte pixel{};
            vlUInt64 const z = thread % 6; // threads 0 and 6 share a plane and differ by the pixel
            bool const bDone = pWhole->writePixels(z, 0, 0, thread, 1, &written) &&
                               pWhole->readPixels(z, 0, 0, thread, 1, &pixel);
            nbWrong += bDone && pixel == written ? 0 : 1;
        }
    });
    EXPECT_EQ(nbWrong, 0U);
}

} // namespace velmo::test
