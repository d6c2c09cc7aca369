// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOImage/ImageFactory.h"
#include "ByteAccessor.h"
#include "CountingEngine.h"
#include "GeometryBuilder.h"
#include "Processes.h"
#include "ThrownText.h"
#include "VELMOImage/DistributedImage.h"
#include "VELMOImage/MemoryImage.h"
#include "VELMOImage/VELMOImageLog.h"
#include <algorithm>
#include <atomic>
#include <gtest/gtest.h>
#include <thread>

using namespace velmo;
using namespace velmo::image;
using namespace velmo::test;

namespace {

/// Sets an engine for one test, and one like the default afterwards.
class ImageFactoryTest : public testing::Test {
  protected:
    ~ImageFactoryTest() override {
        factory.setDistributionEngine(
            createThreadDistributionEngine(std::max(1U, std::thread::hardware_concurrency())));
    }

    ImageFactory& factory = ImageFactory::getInstance();
};

} // namespace

TEST_F(ImageFactoryTest, ADefaultImageOfEveryKindLiesInMemory) {
    for (NamedGeometry const& kind : makeAllKinds()) {
        ImagePtr pImage;
        ASSERT_TRUE(factory.createDefaultImage(*kind.pGeometry, pImage)) << kind.name;
        EXPECT_NE(dynamic_cast<MemoryImage*>(pImage.get()), nullptr);
        EXPECT_EQ(describe(pImage->getGeometry()), describe(*kind.pGeometry));
        EXPECT_EQ(readAll(*pImage), Bytes(countBytes(*kind.pGeometry)));
    }
}

TEST_F(ImageFactoryTest, ADefaultImageLargerThanTheMemoryIsRefusedAndLeavesOut) {
    ImagePtr const pBefore = boost::make_shared<MemoryImage>();
    ImagePtr pImage = pBefore;
    BoolResult const result =
        factory.createDefaultImage(*geometry3d(eIBT_UInt8, vlUInt64{1} << 60U, 1, 1), pImage);
    EXPECT_FALSE(result);
    EXPECT_FALSE(result.getMessage().empty());
    EXPECT_EQ(pImage, pBefore);
}

TEST_F(ImageFactoryTest, ADiskImageWithoutAnAccessorIsRefusedAndLeavesOut) {
    DiskImagePtr const pBefore =
        boost::make_shared<DiskImage>(makeByteAccessor("kept.raw", *GeometryBuilder().build()));
    DiskImagePtr pImage = pBefore;
    BoolResult const missing = factory.createDiskImage(boost::shared_ptr<BaseDiskImageAccessor>(), pImage);
    EXPECT_FALSE(missing);
    EXPECT_EQ(missing.getMessage(), "A disk image needs an accessor");
    BoolResult const notReady = factory.createDiskImage(boost::make_shared<ByteAccessor>(), pImage);
    EXPECT_FALSE(notReady);
    EXPECT_EQ(notReady.getMessage(), "A disk image needs an accessor that has a file open");
    EXPECT_EQ(pImage, pBefore);
}

TEST_F(ImageFactoryTest, AnAccessorThatPacksBinaryPixelsIsRefusedWhereThereAreAny) {
    DiskImagePtr const pBefore =
        boost::make_shared<DiskImage>(makeByteAccessor("kept.raw", *GeometryBuilder().build()));
    for (GeometryBuilder const& builder :
         {GeometryBuilder().type(eIBT_Binary),
          GeometryBuilder().sequence(3).types({eIBT_UInt8, eIBT_Binary, eIBT_UInt8})}) {
        auto const pAccessor = makeByteAccessor("packed.raw", *GeometryBuilder(builder).build());
        DiskImagePtr pImage = pBefore;
        EXPECT_TRUE(factory.createDiskImage(pAccessor, pImage));
        pAccessor->packBinary();
        pImage = pBefore;
        BoolResult const result = factory.createDiskImage(pAccessor, pImage);
        EXPECT_FALSE(result);
        EXPECT_EQ(result.getMessage(), "A disk image takes binary pixels as one byte each, and accessor "
                                       "velmo::test::ByteAccessor packs them");
        EXPECT_EQ(pImage, pBefore);
    }
    auto const pAccessor = makeByteAccessor(
        "unpacked.raw", *GeometryBuilder().sequence(2).types({eIBT_UInt8, eIBT_Label8}).build());
    pAccessor->packBinary(); // where there are none
    DiskImagePtr pImage;
    ASSERT_TRUE(factory.createDiskImage(pAccessor, pImage));
    EXPECT_EQ(pImage->getAccessor(), pAccessor);
}

TEST_F(ImageFactoryTest, ADistributedImageIsSpreadOverTheEngineThatIsSet) {
    auto const pEngine = boost::make_shared<CountingEngine>(3);
    factory.setDistributionEngine(pEngine);
    DistributedImagePtr pImage;
    ASSERT_TRUE(factory.createDistributedImage(*GeometryBuilder().volume(9).build(), pImage));
    EXPECT_EQ(pImage->getGeometry().getSizeZ(), 9U);
    EXPECT_GT(pEngine->getNbLiveBlocks(), 0U);
    EXPECT_EQ(readAll(*pImage), Bytes(15 * 9));
}

TEST_F(ImageFactoryTest, ADistributedImageLikeAModelHasItsGeometryAndAnotherBufferType) {
    DistributedImagePtr pModel;
    ImageGeometryPtr const pGeometry =
        GeometryBuilder().volume(4).sequence(3).types({eIBT_UInt8, eIBT_Real32, eIBT_Label16}).build();
    ASSERT_TRUE(factory.createDistributedImage(*pGeometry, pModel));
    DistributedImagePtr pImage;
    ASSERT_TRUE(factory.createDistributedImage(*pModel, eIBT_Int32, pImage));
    EXPECT_EQ(describe(pModel->getGeometry()), describe(*pGeometry));
    pGeometry->setBufferType(eIBT_Int32);
    EXPECT_EQ(describe(pImage->getGeometry()), describe(*pGeometry));
    Bytes const pattern = makePattern(countBytes(*pGeometry));
    writeAll(*pImage, pattern);
    EXPECT_EQ(readAll(*pImage), pattern);
}

TEST_F(ImageFactoryTest, ADistributedImageThatFailsLeavesOut) {
    DistributedImagePtr pBefore;
    ASSERT_TRUE(factory.createDistributedImage(*GeometryBuilder().build(), pBefore));
    DistributedImagePtr pImage = pBefore;
    factory.setDistributionEngine(boost::make_shared<CountingEngine>(2, 1));
    BoolResult const result = factory.createDistributedImage(*GeometryBuilder().volume(9).build(), pImage);
    EXPECT_FALSE(result);
    EXPECT_EQ(result.getMessage(), "this engine gives no more blocks");
    EXPECT_EQ(pImage, pBefore);
    factory.setDistributionEngine(boost::make_shared<CountingEngine>(2, 0));
    EXPECT_FALSE(factory.createDistributedImage(*pBefore, eIBT_Int32, pImage));
    EXPECT_EQ(pImage, pBefore);
}

TEST_F(ImageFactoryTest, ADistributedImageWithoutAWorkerIsRefusedAndLeavesOut) {
    for (DistributionEnginePtr const& pEngine :
         {DistributionEnginePtr(), createThreadDistributionEngine(0)}) {
        factory.setDistributionEngine(pEngine);
        DistributedImagePtr pImage;
        BoolResult const result = factory.createDistributedImage(*GeometryBuilder().build(), pImage);
        EXPECT_FALSE(result);
        EXPECT_EQ(result.getMessage(), "A distributed image needs a worker");
        EXPECT_FALSE(pImage);
    }
}

TEST_F(ImageFactoryTest, AModelWhoseBytesWouldPass64BitsIsRefusedAndLeavesOut) {
    DistributedImagePtr pModel;
    factory.setDistributionEngine(boost::make_shared<CountingEngine>(1));
    ASSERT_TRUE(factory.createDistributedImage(*geometry3d(eIBT_None, vlUInt64{1} << 63U, 1, 1), pModel));
    DistributedImagePtr pImage;
    EXPECT_THROW(factory.createDistributedImage(*pModel, eIBT_Int16, pImage), VELMOImageException);
    EXPECT_FALSE(pImage);
}

namespace {

constexpr unsigned int g_nbThreads = 8;
constexpr vlUInt64 g_nbPlanes = 32;
constexpr vlUInt64 g_nbRounds = 20;

ImageGeometryPtr makeGeometry() {
    return GeometryBuilder().plane(37, 11).volume(g_nbPlanes).build();
}

/// Writes and reads back the planes of one thread; the number of planes that came back wrong.
vlUInt64 exercisePlanes(BaseImage& image, vlUInt64 thread) {
    vlUInt64 nbWrong = 0;
    for (vlUInt64 round = 0; round < g_nbRounds; ++round) {
        for (vlUInt64 z = thread; z < g_nbPlanes; z += g_nbThreads) {
            Bytes const written = makePattern(37 * 11, round * g_nbPlanes + z);
            Bytes read(written.size());
            bool const bDone = image.writePixels(z, 0, 0, 0, written.size(), written.data()) &&
                               image.readPixels(z, 0, 0, 0, read.size(), read.data());
            nbWrong += bDone && read == written ? 0 : 1;
        }
    }
    return nbWrong;
}

void expectDisjointPlanes(BaseImage& image) {
    std::atomic<vlUInt64> nbWrong{0};
    onThreads(g_nbThreads, [&](vlUInt64 thread) { nbWrong += exercisePlanes(image, thread); });
    EXPECT_EQ(nbWrong, 0U);
    Bytes const all = readAll(image);
    for (vlUInt64 z = 0; z < g_nbPlanes; ++z) {
        Bytes const last = makePattern(37 * 11, (g_nbRounds - 1) * g_nbPlanes + z);
        EXPECT_TRUE(
            std::equal(last.begin(), last.end(), all.begin() + static_cast<std::ptrdiff_t>(z * 37 * 11)))
            << z;
    }
}

} // namespace

TEST(ImageThreads, DisjointPlanesAreWrittenAndReadAtOnce) {
    MemoryImage inMemory;
    DistributedImage distributed(createThreadDistributionEngine(3));
    for (BaseImage* const pImage :
         {static_cast<BaseImage*>(&inMemory), static_cast<BaseImage*>(&distributed)}) {
        ASSERT_TRUE(pImage->init(*makeGeometry()));
        expectDisjointPlanes(*pImage);
    }
}

TEST(ImageThreads, ImagesOfOneEngineAreMadeUsedAndDroppedAtOnce) {
    DistributionEnginePtr const pEngine = createThreadDistributionEngine(3);
    std::atomic<vlUInt64> nbWrong{0};
    onThreads(g_nbThreads, [&](vlUInt64 thread) {
        for (vlUInt64 round = 0; round < g_nbRounds; ++round) {
            DistributedImage image(pEngine);
            bool const bMade(image.init(*makeGeometry()));
            Bytes const pattern = makePattern(37 * 11 * g_nbPlanes, thread * g_nbRounds + round);
            if (bMade) {
                writeAll(image, pattern);
            }
            nbWrong += bMade && readAll(image) == pattern ? 0 : 1;
        }
    });
    EXPECT_EQ(nbWrong, 0U);
}

TEST(ImageThreads, TheFactoryServesAllThreadsWhileItsEngineChanges) {
    ImageFactory& factory = ImageFactory::getInstance();
    std::atomic<vlUInt64> nbFailed{0};
    onThreads(g_nbThreads, [&](vlUInt64 thread) {
        for (vlUInt64 round = 0; round < g_nbRounds; ++round) {
            if (thread == 0) {
                factory.setDistributionEngine(createThreadDistributionEngine(round % 3 + 1));
            }
            ImagePtr pImage;
            DistributedImagePtr pDistributed;
            bool const bMade = factory.createDefaultImage(*makeGeometry(), pImage) &&
                               factory.createDistributedImage(*makeGeometry(), pDistributed);
            nbFailed += bMade ? 0 : 1;
        }
    });
    EXPECT_EQ(nbFailed, 0U);
}
