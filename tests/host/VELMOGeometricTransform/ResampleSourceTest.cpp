// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

// How the processor reads the image that it resamples.

#include "ByteAccessor.h"
#include "Processes.h"
#include "ResampleTools.h"
#include "ThrownText.h"
#include "VELMOBaseProcessing/VELMOBaseProcessingLog.h"
#include "VELMOImage/DiskImage.h"
#include "VELMOUtil/BaseException.h"

#include <boost/make_shared.hpp>
#include <boost/weak_ptr.hpp>
#include <cstring>
#include <fstream>
#include <gmock/gmock.h>
#include <map>
#include <tuple>

namespace velmo::test {

using namespace velmo::image;
using namespace velmo::imaproc::attr;
using processor::VELMOBaseProcessingException;
using testing::ElementsAre;

namespace {

using Plane = std::tuple<vlUInt64, vlUInt64, vlUInt64>;

/// A stack on disk that remembers which planes were read, in their order, and can fail at one.
class DiskStack {
  public:
    explicit DiskStack(BaseImageGeometry const& geometry)
        : _pAccessor(makeByteAccessor("stack", geometry)),
          _pImage(boost::make_shared<DiskImage>(_pAccessor)) {
        _pAccessor->getStorage().bytes = makePattern(countBytes(geometry));
        _pAccessor->getStorage().readGate = [this](PixelRun const& run) {
            _planes.emplace_back(run.z, run.c, run.t);
            _bWholePlanes = _bWholePlanes && run.pixelStart == 0 && run.nbPixels == 15;
            return _planes.size() == _failingRead ? failure("the disk is gone") : success();
        };
    }
    ~DiskStack() { _pAccessor->getStorage().readGate = nullptr; }
    DiskStack(DiskStack const&) = delete;
    DiskStack& operator=(DiskStack const&) = delete;

    ImagePtr const& getImage() const { return _pImage; }
    ByteStorage& getStorage() const { return _pAccessor->getStorage(); }
    std::vector<Plane> const& getPlanes() const { return _planes; }
    std::size_t countReadsOf(Plane const& plane) const {
        return static_cast<std::size_t>(std::count(_planes.begin(), _planes.end(), plane));
    }
    bool readsWholePlanes() const { return _bWholePlanes; }
    void failAtRead(std::size_t number) { _failingRead = number; }

  private:
    boost::shared_ptr<ByteAccessor> _pAccessor;
    ImagePtr _pImage;
    std::vector<Plane> _planes;
    bool _bWholePlanes = true;
    std::size_t _failingRead = 0; ///< from 1
};

ImageGeometryPtr makeStackGeometry() {
    return GeometryBuilder().volume(7).channels(2).sequence(2).type(eIBT_UInt16).build();
}

std::vector<float> const g_steps = {1, 0.25F, 3, 1, 1, 0.5F};

#ifdef VELMO_TEST_LIMITS_MEMORY
/// Planes of 4 MiB whose every byte is the plane's number; they take no memory here.
class EndlessAccessor : public ByteAccessor {
  public:
    EndlessAccessor(vlUInt64 sizeZ) {
        initBase("endless", eIAM_ReadOnly, *geometry3d(eIBT_UInt8, 2048, 2048, sizeZ), {}, false);
    }
    BoolResult readRawData(vlUInt64 z, vlUInt64 /*c*/, vlUInt64 /*t*/, vlUInt64 /*pixelStartOffset*/,
                           vlUInt64 nbPixels, void* buffer) const override {
        std::memset(buffer, static_cast<int>(z), nbPixels);
        return success();
    }
};

/// The most memory that this process ever had in use, in MiB.
long getPeakMemory() {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.rfind("VmHWM:", 0) == 0) {
            return std::stol(line.substr(6)) / 1024;
        }
    }
    return -1;
}
#endif

} // namespace

TEST(ResampleSource, AStackOnDiskGivesWhatOneInMemoryGives) {
    DiskStack const stack(*makeStackGeometry());
    ImageConstPtr const pInMemory = stack.getImage()->createCpuCopy();
    for (auto const policy : g_policies) {
        for (unsigned long const sizeZ : {1UL, 3UL, 7UL, 40UL}) {
            EXPECT_TRUE(readAll(*resample(stack.getImage(), g_steps, policy, sizeZ)) ==
                        readAll(*resample(pInMemory, g_steps, policy, sizeZ)))
                << "policy " << policy << " size " << sizeZ;
        }
    }
}

TEST(ResampleSource, EachPlaneIsReadWholeAndAtMostOnceByTheCallingThread) {
    for (auto const policy : g_policies) {
        for (unsigned long const sizeZ : {1UL, 2UL, 3UL, 4UL, 6UL, 7UL, 8UL, 40UL, 1000UL}) {
            DiskStack const stack(*makeStackGeometry());
            resample(stack.getImage(), g_steps, policy, sizeZ);
            EXPECT_TRUE(stack.readsWholePlanes());
            EXPECT_THAT(stack.getStorage().getThreads(), ElementsAre(std::this_thread::get_id()));
            for (Plane const& plane : stack.getPlanes()) {
                EXPECT_EQ(stack.countReadsOf(plane), 1U) << "policy " << policy << " size " << sizeZ;
            }
        }
        DiskStack const dense(*GeometryBuilder().volume(7).build());
        resample(dense.getImage(), g_steps, policy, 1000);
        EXPECT_EQ(dense.getPlanes().size(), 7U);
        EXPECT_TRUE(std::is_sorted(dense.getPlanes().begin(), dense.getPlanes().end())) << policy;
    }
}

TEST(ResampleSource, PlanesThatCountNothingAreNotRead) {
    DiskStack const linear(*GeometryBuilder().volume(7).build());
    resample(linear.getImage(), std::vector<float>(6, 1.0F), eIP_Linear, 3); // planes 0, 3 and 6
    EXPECT_THAT(linear.getPlanes(), ElementsAre(Plane(0, 0, 0), Plane(3, 0, 0), Plane(6, 0, 0)));
    DiskStack const nearest(*GeometryBuilder().volume(7).build());
    resample(nearest.getImage(), std::vector<float>(6, 1.0F), eIP_Nearest, 2);
    EXPECT_THAT(nearest.getPlanes(), ElementsAre(Plane(0, 0, 0), Plane(6, 0, 0)));
    DiskStack const labels(*GeometryBuilder().volume(7).type(eIBT_Label8).build());
    resample(labels.getImage(), std::vector<float>(6, 1.0F), eIP_Cubic, 4);
    EXPECT_EQ(labels.getPlanes().size(), 4U);
}

TEST(ResampleSource, AFailingReadAnywhereFailsTheRunWithItsText) {
    for (auto const policy : g_policies) {
        for (std::size_t number = 1; number <= 28; ++number) {
            DiskStack stack(*makeStackGeometry());
            stack.failAtRead(number);
            Resampling resampling(stack.getImage(), g_steps, policy, 200);
            auto const result = resampling.processor.run(processor::eST_Synchronous);
            EXPECT_EQ(result.getStatus(), 1U) << number;
            EXPECT_EQ(result.getMessage(), "the disk is gone");
            EXPECT_EQ(stack.getPlanes().size(), number); // nothing is read afterwards
            EXPECT_EQ(
                thrownText<VELMOBaseProcessingException>([&] { resampling.processor.getStorage<OutImg>(); }),
                "There is no OutImg, as processor ResampleCustomZStack3dImgLvl1 did not run to its "
                "end\nthe disk is gone");
        }
    }
}

TEST(ResampleSource, AFailedRunTakesTheFormerResultAwayAndTheNextMakesAnother) {
    DiskStack stack(*GeometryBuilder().volume(7).build());
    Resampling resampling(stack.getImage(), g_steps, eIP_Linear, 20);
    EXPECT_EQ(resampling.processor.run(processor::eST_Synchronous).getStatus(), 0U);
    Bytes const expected = readAll(*resampling.processor.getStorage<OutImg>());
    stack.failAtRead(stack.getPlanes().size() + 3);
    EXPECT_EQ(resampling.processor.run(processor::eST_Synchronous).getStatus(), 1U);
    EXPECT_THROW(resampling.processor.getStorage<OutImg>(), VELMOBaseProcessingException);
    EXPECT_EQ(resampling.processor.run(processor::eST_Synchronous).getStatus(), 0U);
    EXPECT_TRUE(readAll(*resampling.processor.getStorage<OutImg>()) == expected);
}

TEST(ResampleSource, WhatASourceThrowsComesOutOfTheRunAndLeavesNoResult) {
    DiskStack const stack(*GeometryBuilder().volume(7).build());
    stack.getStorage().readGate = [](PixelRun const&) -> BoolResult { throw std::runtime_error("broken"); };
    Resampling resampling(stack.getImage(), g_steps, eIP_Linear, 20);
    EXPECT_EQ(thrownText<std::runtime_error>([&] { resampling.processor.run(processor::eST_Synchronous); }),
              "broken");
    EXPECT_THROW(resampling.processor.getStorage<OutImg>(), VELMOBaseProcessingException);
}

TEST(ResampleSource, TheInputIsKeptUntilTheProcessorForgetsIt) {
    ImagePtr pSource = makeColumn(eIBT_UInt8, {1, 2});
    boost::weak_ptr<BaseImage> const pWeak = pSource;
    Resampling resampling(pSource, {1}, eIP_Linear, 2);
    pSource.reset();
    EXPECT_EQ(resampling.processor.run(processor::eST_Synchronous).getStatus(), 0U);
    resampling.processor.init(processor::ePRP_Strict);
    EXPECT_TRUE(pWeak.expired());
}

#ifdef VELMO_TEST_LIMITS_MEMORY
TEST(ResampleSource, AtMostFourPlanesAreInMemoryWhateverTheDepth) {
    for (auto const policy : g_policies) {
        EXPECT_EQ(inChild([&]() -> std::string {
                      auto const pSource =
                          boost::make_shared<DiskImage>(boost::make_shared<EndlessAccessor>(100));
                      long const before = getPeakMemory();
                      ImagePtr const pResult = resample(pSource, std::vector<float>(99, 1.0F), policy, 10);
                      long const grown = getPeakMemory() - before;
                      bool const bRight = getPixel(*pResult, 9, 0, 0, 4194303) == 99;
                      return bRight && grown < 4 * 4 + 10 * 4 + 8 ? "few" : std::to_string(grown) + " MiB";
                  }),
                  "few")
            << "policy " << policy;
    }
}
#endif

} // namespace velmo::test
