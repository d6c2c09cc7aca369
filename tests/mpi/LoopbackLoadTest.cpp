// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CapturedLog.h"
#include "Im6Sample.h"
#include "ImageBytes.h"
#include "LoopbackJob.h"
#include "Processes.h"
#include "TemporaryFolder.h"
#include "ThrownText.h"

#include <VELMOImage/VELMOImageLog.h>
#include <VELMOImageFile/VELMOImageFile.h>
#include <VELMOImageFileMpi/DistributedFiles.h>
#include <VELMOImageFileMpi/PlaneFunctions.h>
#include <VELMOSerialization/BinaryArchive.h>
#include <VELMOSerialization/VELMOSerializationLog.h>
#include <algorithm>
#include <boost/filesystem/operations.hpp>
#include <boost/make_shared.hpp>
#include <sstream>

namespace velmo::test {

using namespace image;
using namespace image::file;
using namespace image::mpi;

namespace {

constexpr int g_jobs[] = {1, 2, 3, 5};

ImageGeometryPtr makeVolume(vlUInt64 sizeZ, eImageBufferType type = eIBT_UInt16) {
    return geometry3d(type, 7, 5, sizeZ);
}

std::string toRecord(DiskImagePtr const& pImage) {
    std::ostringstream stream;
    BinaryOArchive archive(stream);
    archive.writeObject("accessor", pImage->getAccessor());
    return stream.str();
}

/// A block of the whole volume at a rank.
BaseBlockOwner& addBlockAt(LoopbackJob& job, vlUInt64 rank, vlUInt64 id, vlUInt64 sizeZ) {
    BaseBlockOwner& owner = job.getEngine()->getOwner(rank);
    EXPECT_TRUE(owner.addBlock(*makeVolume(sizeZ), {id, 0, sizeZ}));
    return owner;
}

} // namespace

TEST(LoopbackLoad, EveryFormatHasThePixelsOfALoadInOneProcess) {
    TemporaryFolder const folder;
    for (ImageGeometryPtr const& pGeometry : {makeVolume(23), makeSequence(eIBT_Real32)}) {
        std::string const pixels = makePixels(*pGeometry);
        ImagePtr const pImage = makeMemoryImage(*pGeometry, pixels);
        saveRawImageFile(folder / "image.raw", pImage, std::string("head"));
        for (int const nbRanks : g_jobs) {
            LoopbackJob job(nbRanks);
            UsedEngine const engine(job.getEngine());
            EXPECT_EQ(readPixels(*loadDistributedRawImageFile(folder / "image.raw", *pGeometry, 4, true)),
                      pixels);
            EXPECT_EQ(readPixels(*loadDistributedRawImageFile(folder / "image.raw", *pGeometry, 4, false)),
                      pixels);
            for (eTiffCompression const compression : {eTC_None, eTC_Lzw, eTC_Deflate}) {
                saveTiffImageFile(folder / "image.tif", pImage, {compression});
                EXPECT_EQ(readPixels(*loadDistributedTiffImageFile(folder / "image.tif", {})), pixels);
            }
            job.end();
            EXPECT_EQ(job.getStatuses(), std::vector<int>(static_cast<std::size_t>(nbRanks - 1), 0));
        }
    }
}

TEST(LoopbackLoad, Im6FilesAreLoadedByAllRanks) {
    TemporaryFolder const folder;
    Im6Sample const sample = makeIm6Sequence();
    sample.write(folder / "image.im6");
    LoopbackJob job(3);
    UsedEngine const engine(job.getEngine());
    EXPECT_EQ(readPixels(*loadDistributedIm6ImageFile(folder / "image.im6", true)), sample.pixels);
}

TEST(LoopbackLoad, AllRanksHoldBlocks) {
    LoopbackJob job(3);
    UsedEngine const engine(job.getEngine());
    DistributedImagePtr pImage;
    ASSERT_TRUE(ImageFactory::getInstance().createDistributedImage(*makeVolume(30), pImage));
    std::mutex mutex;
    std::vector<vlUInt64> nbPlanes(3);
    ASSERT_TRUE(pImage->forEachBlock([&](BaseBlockOwner& owner, PlanBlock const& block) {
        std::lock_guard<std::mutex> const lock(mutex);
        for (vlUInt64 rank = 0; rank < 3; ++rank) {
            nbPlanes[rank] += &job.getEngine()->getOwner(rank) == &owner ? block.nbPlans : 0;
        }
        return success();
    }));
    EXPECT_EQ(nbPlanes[0] + nbPlanes[1] + nbPlanes[2], 30U);
    EXPECT_GT(*std::min_element(nbPlanes.begin(), nbPlanes.end()), 0U);
}

TEST(LoopbackLoad, ManyThreadsReadAndWriteAtOnce) {
    LoopbackJob job(3);
    UsedEngine const engine(job.getEngine());
    ImageGeometryPtr const pGeometry = makeVolume(40);
    std::string const pixels = makePixels(*pGeometry);
    DistributedImagePtr pImage;
    ASSERT_TRUE(ImageFactory::getInstance().createDistributedImage(*pGeometry, pImage));
    onThreads(4, [&](unsigned int thread) {
        for (vlUInt64 z = thread; z < 40; z += 4) {
            std::string plane = pixels.substr(z * 70, 70);
            EXPECT_TRUE(pImage->writePixels(z, 0, 0, 0, 35, plane.data()));
            std::string back(70, '\0');
            EXPECT_TRUE(pImage->readPixels(z, 0, 0, 0, 35, back.data()));
            EXPECT_EQ(back, plane);
        }
    });
    EXPECT_EQ(readPixels(*pImage), pixels);
}

TEST(LoopbackLoad, TransfersLargerThanAMessageAreDivided) {
    LoopbackJob job(2);
    constexpr vlUInt64 nbBytes = 2 * g_largestPayload + 12345;
    BaseBlockOwner& owner = job.getEngine()->getOwner(1);
    ASSERT_TRUE(owner.addBlock(*geometry3d(eIBT_UInt8, nbBytes, 1, 1), {7, 0, 1}));
    std::string const bytes = makeBytes(nbBytes);
    ASSERT_TRUE(owner.writeBlock(7, 0, nbBytes, bytes.data()));
    std::string back(nbBytes, '\0');
    ASSERT_TRUE(owner.readBlock(7, 0, nbBytes, back.data()));
    EXPECT_TRUE(back == bytes);
}

TEST(LoopbackLoad, AFailureOfARankHasTheTextAndTheIdsOfOneProcessWithTheRank) {
    TemporaryFolder const folder;
    saveRawImageFile(folder / "image.raw", makeMemoryImage(*makeVolume(4), makePixels(*makeVolume(4))));
    std::string const record = toRecord(openRawImageFile(folder / "image.raw", *makeVolume(4)));
    LoopbackJob job(2);
    BaseBlockOwner& remote = addBlockAt(job, 1, 1, 4);
    BaseBlockOwner& local = addBlockAt(job, 0, 2, 4);
    EXPECT_TRUE(remote.fillBlock(1, record));
    boost::filesystem::remove(folder / "image.raw");
    BoolResult const here = local.fillBlock(2, record);
    BoolResult const there = remote.fillBlock(1, record);
    EXPECT_FALSE(here);
    EXPECT_EQ(there.getMessage(), here.getMessage() + " (rank 1 on host1 in /folder1)");
    ASSERT_FALSE(here.getMessageIds().getAll().empty());
    EXPECT_EQ(there.getMessageIds().getInnermost().id, here.getMessageIds().getInnermost().id);
    EXPECT_EQ(there.getMessageIds().getInnermost().domain, here.getMessageIds().getInnermost().domain);
}

TEST(LoopbackLoad, AnExceptionOfARankKeepsItsKindAndIsLoggedOnce) {
    std::ostringstream stream;
    BinaryOArchive archive(stream);
    archive.writeItem("className", std::string("NoSuchClass"));
    LoopbackJob job(2);
    BaseBlockOwner& remote = addBlockAt(job, 1, 1, 4);
    BaseBlockOwner& local = addBlockAt(job, 0, 2, 4);
    std::string here;
    try {
        static_cast<void>(local.fillBlock(2, stream.str()));
    } catch (VELMOSerializationException const& exception) {
        here = exception.what();
    }
    ASSERT_FALSE(here.empty());
    CapturedLog const log(getVELMOSerializationLogger());
    try {
        static_cast<void>(remote.fillBlock(1, stream.str()));
        ADD_FAILURE() << "nothing was thrown";
    } catch (VELMOSerializationException const& exception) {
        EXPECT_EQ(exception.what(), here + " (rank 1 on host1 in /folder1)");
        EXPECT_FALSE(exception.getMessageIds().getAll().empty());
    }
    EXPECT_EQ(log.getRecords().size(), 1U);
}

TEST(LoopbackLoad, RequestsOutsideOfABlockFail) {
    LoopbackJob job(2);
    BaseBlockOwner& owner = addBlockAt(job, 1, 1, 4);
    std::string bytes(1000, 'x');
    std::string const before = [&] {
        std::string pixels(280, '\0');
        EXPECT_TRUE(owner.readBlock(1, 0, 280, pixels.data()));
        return pixels;
    }();
    EXPECT_THAT(owner.readBlock(1, 1, 280, bytes.data()).getMessage(),
                testing::HasSubstr("outside of block 1"));
    EXPECT_THAT(owner.writeBlock(1, 280, 1, bytes.data()).getMessage(),
                testing::HasSubstr("outside of block 1"));
    EXPECT_FALSE(owner.writeBlock(1, NumericLimits<vlUInt64>::s_max, 2, bytes.data()));
    EXPECT_FALSE(owner.readBlock(2, 0, 1, bytes.data()));
    EXPECT_FALSE(owner.addBlock(*makeVolume(4), {3, 3, 2}));
    EXPECT_FALSE(owner.addBlock(*makeVolume(4), {1, 0, 1})) << "the id is in use";
    std::string after(280, '\0');
    EXPECT_TRUE(owner.readBlock(1, 0, 280, after.data()));
    EXPECT_EQ(after, before);
}

TEST(LoopbackLoad, BlocksMayBeDroppedAfterTheEndOfTheSession) {
    DistributedImagePtr pImage;
    {
        LoopbackJob job(2);
        UsedEngine const engine(job.getEngine());
        ASSERT_TRUE(ImageFactory::getInstance().createDistributedImage(*makeVolume(9), pImage));
    }
    std::string plane(70, '\0');
    EXPECT_FALSE(pImage->readPixels(2, 0, 0, 0, 35, plane.data()));
    pImage.reset();
}

TEST(LoopbackLoad, RanksOfOtherVersionsOrByteOrdersAreRefused) {
    RankDescription const ours = describeLoopbackRank(0);
    RankDescription theirs = describeLoopbackRank(1);
    EXPECT_TRUE(requireSameKind({ours, theirs}));
    theirs.byteOrder = ~theirs.byteOrder;
    EXPECT_THAT(requireSameKind({ours, theirs}).getMessage(),
                testing::HasSubstr("rank 1 on host1 has byte order"));
    theirs = describeLoopbackRank(2);
    theirs.libraryVersion = "0.9";
    EXPECT_THAT(requireSameKind({ours, ours, theirs}).getMessage(),
                testing::HasSubstr("rank 2 on host2 has library version 0.9"));
    theirs.protocol = 99;
    EXPECT_THAT(requireSameKind({ours, ours, theirs}).getMessage(),
                testing::HasSubstr("protocol version 99"));
}

TEST(LoopbackLoad, AnImageThatIsTooLargeForAMachineNamesItsRank) {
    LoopbackJob job(2);
    EXPECT_TRUE(job.getEngine()->requireRoom(vlUInt64{1} << 25U));
    BoolResult const result = job.getEngine()->requireRoom(vlUInt64{1} << 60U);
    EXPECT_TRUE(result.getMessageIds().contains(eImageMessage::eIM_MemoryTooSmall)) << result.getMessage();
}

// Work where the planes are

TEST(LoopbackLoad, APlaneFunctionRunsWhereThePlanesAre) {
    registerPlaneFunction("sum and invert", [](PlaneMemory const& plane, std::string const& argument) {
        auto* const pPixels = static_cast<std::uint16_t*>(plane.pPixels);
        std::uint64_t sum = 0;
        for (vlUInt64 i = 0; i < plane.geometry.getNbPixels(); ++i) {
            sum += pPixels[i];
            pPixels[i] = static_cast<std::uint16_t>(~pPixels[i]);
        }
        return argument + std::to_string(plane.indexes.z) + ":" + std::to_string(sum);
    });
    ImageGeometryPtr const pGeometry = makeVolume(17);
    std::string const pixels = makePixels(*pGeometry);
    std::string inverted = pixels;
    std::transform(pixels.begin(), pixels.end(), inverted.begin(),
                   [](char byte) { return static_cast<char>(~byte); });
    std::vector<std::string> expected;
    for (int const nbRanks : g_jobs) {
        LoopbackJob job(nbRanks);
        UsedEngine const engine(job.getEngine());
        DistributedImagePtr const pImage = makeDistributedImage(*pGeometry, pixels);
        std::vector<std::string> const results = forEachPlane(*pImage, "sum and invert", "z");
        EXPECT_EQ(readPixels(*pImage), inverted);
        expected = expected.empty() ? results : expected;
        EXPECT_EQ(results, expected);
        ASSERT_EQ(results.size(), 17U);
        EXPECT_EQ(results[16].substr(0, 4), "z16:");
    }
}

namespace {

class ClosedOwner : public BaseBlockOwner {
  public:
    BoolResult addBlock(BaseImageGeometry const& /*geometry*/, PlanBlock const& /*block*/) override {
        return success();
    }
    void dropBlock(vlUInt64 /*id*/) override {}
    BoolResult readBlock(vlUInt64, vlUInt64, vlUInt64, void* /*buffer*/) const override { return success(); }
    BoolResult writeBlock(vlUInt64, vlUInt64, vlUInt64, void const* /*buffer*/) override { return success(); }
    BoolResult fillBlock(vlUInt64 /*id*/, std::string const& /*record*/) override { return success(); }
};

/// An engine of an application that gives no access to the memory of its blocks.
class ClosedEngine : public BaseDistributionEngine {
  public:
    vlUInt64 getNbOwners() const override { return 1; }
    vlUInt64 createBlockId() override { return 1; }
    BaseBlockOwner& getOwner(vlUInt64 /*index*/) override { return _owner; }

  private:
    ClosedOwner _owner;
};

} // namespace

TEST(LoopbackLoad, PlaneFunctionsAndSavesWorkWithoutRanks) {
    registerPlaneFunction("first pixel", [](PlaneMemory const& plane, std::string const&) {
        return std::to_string(*static_cast<std::uint16_t const*>(plane.pPixels));
    });
    TemporaryFolder const folder;
    std::string const pixels = makePixels(*makeVolume(16));
    {
        UsedEngine const engine(createThreadDistributionEngine(3));
        DistributedImagePtr const pImage = makeDistributedImage(*makeVolume(16), pixels);
        EXPECT_EQ(forEachPlane(*pImage, "first pixel").size(), 16U);
        saveDistributedRawImageFile(folder / "image.raw", pImage);
        EXPECT_EQ(readFile(folder / "image.raw"), pixels);
    }
    UsedEngine const closed(boost::make_shared<ClosedEngine>());
    DistributedImagePtr const pImage = makeDistributedImage(*makeVolume(16), pixels);
    EXPECT_THAT(thrownText<BaseException>([&] { forEachPlane(*pImage, "first pixel"); }),
                testing::HasSubstr("does not give access"));
    EXPECT_THROW(saveDistributedRawImageFile(folder / "image.raw", pImage), VELMOImageFileException);
    EXPECT_EQ(readFile(folder / "image.raw"), pixels);
}

TEST(LoopbackLoad, AFailingPlaneFunctionIsTheFailureOfTheCall) {
    registerPlaneFunction("fail at 10", [](PlaneMemory const& plane, std::string const&) -> std::string {
        return plane.indexes.z == 10 ? throw std::runtime_error("no luck") : "";
    });
    LoopbackJob job(2);
    UsedEngine const engine(job.getEngine());
    DistributedImagePtr const pImage = makeDistributedImage(*makeVolume(16), makePixels(*makeVolume(16)));
    EXPECT_THAT(thrownText<BaseException>([&] { forEachPlane(*pImage, "fail at 10"); }),
                testing::StrEq("no luck (rank 1 on host1 in /folder1)"));
    EXPECT_THAT(thrownText<BaseException>([&] { forEachPlane(*pImage, "nothing of that name"); }),
                testing::HasSubstr("\"nothing of that name\" is registered"));
    EXPECT_EQ(readPixels(*pImage), makePixels(*makeVolume(16)));
}

// Saves

TEST(LoopbackLoad, ARawFileThatAllRanksWriteIsThatOfOneProcess) {
    TemporaryFolder const folder;
    for (ImageGeometryPtr const& pGeometry :
         {makeVolume(23), makeHeterogeneous(), makeVolume(3, eIBT_Binary)}) {
        std::string const pixels = makePixels(*pGeometry);
        saveRawImageFile(folder / "expected.raw", makeMemoryImage(*pGeometry, pixels), std::string("header"));
        for (int const nbRanks : g_jobs) {
            LoopbackJob job(nbRanks);
            UsedEngine const engine(job.getEngine());
            saveDistributedRawImageFile(folder / "image.raw", makeDistributedImage(*pGeometry, pixels),
                                        "header");
            EXPECT_EQ(readFile(folder / "image.raw"), readFile(folder / "expected.raw"));
        }
    }
    EXPECT_EQ(std::distance(boost::filesystem::directory_iterator(folder.getPath()), {}), 2);
}

TEST(LoopbackLoad, AStreamedImageIsSavedAsItsDistributedImage) {
    TemporaryFolder const folder;
    ImageGeometryPtr const pGeometry = makeVolume(23);
    LoopbackJob job(3);
    UsedEngine const engine(job.getEngine());
    DistributedImagePtr const pImage = makeDistributedImage(*pGeometry, makePixels(*pGeometry));
    pImage->setUserPropertiesStr("of the user");
    for (eTiffCompression const compression : {eTC_None, eTC_Deflate}) {
        saveTiffImageFile(folder / "expected.tif", pImage, {compression});
        saveDistributedTiffImageFile(folder / "image.tif", pImage, {compression});
        EXPECT_EQ(readFile(folder / "image.tif"), readFile(folder / "expected.tif"));
    }
}

} // namespace velmo::test
