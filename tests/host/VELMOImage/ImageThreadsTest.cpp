// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CountingEngine.h"
#include "GeometryBuilder.h"
#include "Processes.h"
#include "VELMOImage/DistributedImage.h"
#include "VELMOImage/ImageFactory.h"
#include "VELMOImage/MemoryImage.h"

#include <atomic>
#include <gtest/gtest.h>

using namespace velmo;
using namespace velmo::image;
using namespace velmo::test;

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
