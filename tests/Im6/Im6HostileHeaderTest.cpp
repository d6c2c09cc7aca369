// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CpuTime.h"
#include "Im6ImageFileFixture.h"
#include "Sanitizers.h"

#include <VELMOImage/VELMOImageLog.h>
#include <VELMOImageFile/Im6ImageFileUtils.h>
#include <VELMOImageFile/VELMOImageFileException.h>
#include <boost/filesystem/operations.hpp>
#include <fstream>
#include <map>
#include <random>

namespace velmo::image::file {

namespace {

constexpr std::uint32_t g_most = 0xFFFFFFFF;
constexpr std::uint32_t g_manyPlanes = 4000000000U;
// Kilobytes.
#ifdef VELMO_TEST_LIMITS_MEMORY
constexpr long g_littleMemory = 16384;
#else
constexpr long g_littleMemory = 524288; // sanitizers keep what was freed
#endif

/// A header whose fields are small, large or anything; the magic number is right.
Im6Sample makeAnyHeader(std::mt19937& random) {
    Im6Sample sample;
    auto const draw = [&]() -> std::uint32_t {
        switch (random() % 4) {
        case 0:
            return static_cast<std::uint32_t>(random() % 4);
        case 1:
            return static_cast<std::uint32_t>(random() % 70);
        case 2:
            return g_most - static_cast<std::uint32_t>(random() % 3);
        default:
            return static_cast<std::uint32_t>(random());
        }
    };
    for (std::uint32_t Im6Sample::*const pField :
         {&Im6Sample::sizeX, &Im6Sample::sizeY, &Im6Sample::sizeZ, &Im6Sample::sizeC, &Im6Sample::sizeT,
          &Im6Sample::dataType}) {
        sample.*pField = draw();
    }
    sample.textBlockSize = draw();
    sample.secondBlockSize = draw();
    sample.thirdBlockSize = draw();
    return sample;
}

/// Whether a file of a header alone, which becomes this one, opens, is refused as too short or is thrown at.
std::string openAny(Im6Sample const& sample, path const& path) {
    std::fstream(path.string(), std::ios::in | std::ios::out | std::ios::binary) << sample.toHeader();
    Im6ImageFile file;
    try {
        BoolResult const result = file.openFile(path, eIAM_ReadOnly);
        if (result) {
            return sample.textBlockSize == 0U && file.getGeometry().getFullMemorySize() != 0 ? "no pixels"
                                                                                             : "open";
        }
        return result.getMessage().find("is greater than global file size 116") != std::string::npos
                   ? "too short"
                   : result.getMessage();
    } catch (VELMOImageException const&) {
        return "thrown";
    }
}

long readPeak() {
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        if (word == "VmHWM:") {
            long kilobytes = 0;
            status >> kilobytes;
            return kilobytes;
        }
    }
    return -1;
}

class Im6HostileHeader : public Im6ImageFileTest {
  protected:
    /// Opens the file in a child, whose peak begins at what it uses; the outcome, or that it took too much.
    std::string openInLittleMemory() const {
        return inChild([this] {
            long const before = readPeak();
            Im6ImageFile file;
            std::string const text = file.openFile(_path, eIAM_ReadOnly).getMessage();
            long const added = readPeak() - before;
            return before > 0 && added < g_littleMemory ? text : std::to_string(added) + " KB";
        });
    }
};

TEST_F(Im6HostileHeader, TheMeasureSeesAnAllocation) {
    EXPECT_EQ(inChild([] {
                  long const before = readPeak();
                  std::string const block(2UL * g_littleMemory * 1024, 'x');
                  return std::string(readPeak() - before > g_littleMemory && block.back() == 'x' ? "seen"
                                                                                                 : "");
              }),
              "seen");
}

TEST_F(Im6HostileHeader, AFileOfAHeaderThatSaysAnythingOpensOrIsRefusedInLittleMemory) {
    Im6Sample().write(_path);
    EXPECT_EQ(inChild([this]() -> std::string {
                  long const before = readPeak();
                  std::mt19937 random(6);
                  std::map<std::string, int> counts;
                  for (int round = 0; round < 4000; ++round) {
                      ++counts[openAny(makeAnyHeader(random), _path)];
                  }
                  bool const bAllMet =
                      counts["open"] > 100 && counts["too short"] > 100 && counts["thrown"] > 100;
                  return counts.size() == 3 && bAllMet && readPeak() - before < g_littleMemory
                             ? "in little memory"
                             : counts.begin()->first + ' ' + std::to_string(readPeak() - before);
              }),
              "in little memory");
}

TEST_F(Im6HostileHeader, PlanesThatNoPositionCountsAreRefusedWhereThereIsNoTextBehindThem) {
    Im6Sample sample;
    sample.sizeX = sample.sizeY = g_most;
    vlUInt64 const nbBytes = vlUInt64(g_most) * g_most;
    expectTooShort(sample.toBytes(), 116 + nbBytes);
    sample.secondBlockSize = sample.thirdBlockSize = g_most; // beyond 64 bits
    expectTooShort(sample.toBytes(), g_largest);
}

// It opens, as its text is not there; the memory that its sizes ask for is not touched before the first read.
TEST_F(Im6HostileHeader, ALoadOfAGigabyteThatIsNotThereFailsInLittleMemory) {
    if (test::g_bThreadSanitized) {
        GTEST_SKIP() << "the thread sanitizer allows no threads in the child of a process with threads";
    }
    Im6Sample sample;
    sample.sizeX = sample.sizeY = 1U << 15U;
    sample.textBlockSize = 1;
    sample.write(_path);
    for (bool const bDistributed : {false, true}) {
        std::string const text = inChild([&]() -> std::string {
            long const before = readPeak();
            std::string const raised = thrownText<VELMOImageFileException>([&] {
                bDistributed ? static_cast<void>(loadDistributedIm6ImageFile(_path, true))
                             : static_cast<void>(loadIm6ImageFile(_path));
            });
            long const added = readPeak() - before;
            return added < g_littleMemory ? raised : std::to_string(added) + " KB";
        });
        EXPECT_THAT(text, testing::EndsWith(seekFailed(_path, {})));
    }
}

TEST_F(Im6HostileHeader, FourThousandMillionPlanesInASmallFileAreRefusedInLittleMemory) {
    struct {
        std::uint32_t Im6Sample::*pSize;
        vlUInt64 nbPlanes;
    } const cases[] = {{&Im6Sample::sizeZ, g_manyPlanes}, {&Im6Sample::sizeT, g_manyPlanes}};
    for (auto const& entry : cases) {
        Im6Sample sample;
        sample.*entry.pSize = g_manyPlanes;
        sample.write(_path);
        EXPECT_EQ(openInLittleMemory(), geometryExceeds(116 + 12 * entry.nbPlanes, 116, _path));
    }
}

TEST_F(Im6HostileHeader, FourThousandMillionPlanesThatAreThereOpenInLittleMemoryAndTheLastIsFound) {
    auto const measureOpening = [&] {
        return test::measureCpuTime([&] {
            Im6ImageFile opened;
            EXPECT_THAT(opened.openFile(_path, eIAM_ReadOnly), Succeeds());
        });
    };
    Im6Sample sample;
    sample.sizeX = sample.sizeY = 1;
    sample.pixels = "z";
    sample.write(_path);
    std::chrono::nanoseconds const timeOfOnePlane = measureOpening();
    sample.pixels.clear();
    sample.sizeZ = g_manyPlanes;
    sample.write(_path);
    boost::filesystem::resize_file(_path, g_im6HeaderBytes + g_manyPlanes - 1);
    std::ofstream(_path.string(), std::ios::binary | std::ios::app) << 'z';
    EXPECT_EQ(openInLittleMemory(), "");
    Im6ImageFile file;
    ASSERT_THAT(file.openFile(_path, eIAM_ReadOnly), Succeeds());
    EXPECT_LE(measureOpening(), 2 * timeOfOnePlane + std::chrono::milliseconds(5));
    EXPECT_EQ(readPixels(file, {g_manyPlanes - 1, 0, 0, 0, 1}), "z");
    EXPECT_EQ(readPixels(file, {g_manyPlanes - 2, 0, 0, 0, 2}), std::string("\0z", 2));
}

TEST_F(Im6HostileHeader, SizesWhoseBytesPass64BitsAreThrownByTheImageLibrary) {
    Im6Sample samples[4];
    samples[0].sizeX = samples[0].sizeY = samples[0].sizeZ = samples[0].sizeT = g_most;
    samples[1].sizeX = samples[1].sizeY = g_most;
    samples[1].sizeC = 2;
    samples[2].sizeX = samples[2].sizeY = g_most;
    samples[2].dataType = 18;
    samples[3].sizeZ = samples[3].sizeT = g_most;
    for (Im6Sample const& sample : samples) {
        sample.write(_path);
        for (eImageAccessMode const accessMode : g_accessModes) {
            Im6ImageFile file;
            EXPECT_THAT(thrownText<VELMOImageException>([&] { file.openFile(_path, accessMode); }),
                        testing::EndsWith("has more bytes than 64 bits can count"));
            EXPECT_FALSE(file.isInit());
            EXPECT_EQ(countDescriptors(_path), 0U);
        }
    }
}

// The text is sought where no position is: the stream has failed, as with a text that is cut.
TEST_F(Im6HostileHeader, ATextBehindPlanesThatNoPositionCountsOpensAndFailsAtTheFirstRead) {
    for (std::uint32_t const blockSize : {1U, g_most}) { // with the largest blocks they pass 64 bits
        Im6Sample sample;
        sample.sizeX = sample.sizeY = g_most;
        sample.textBlockSize = sample.secondBlockSize = sample.thirdBlockSize = blockSize;
        sample.pixels = "four";
        Im6ImageFile file;
        open(sample, file, eIAM_ReadWrite);
        EXPECT_THAT(tryRead(file, {}), FailsWith(seekFailed(_path, {})));
        inOtherThread([&] {
            EXPECT_EQ(readPixels(file, {0, 0, 0, 0, 4}), "four");
            EXPECT_THAT(tryRead(file, {0, 0, 0, 4, 1}), FailsWith(readFailed(_path, {0, 0, 0, 4, 1})));
        });
    }
}

// Blocks

TEST_F(Im6HostileHeader, ATextOfFourGigabytesThatASmallFileAnnouncesTakesLittleMemory) {
    for (std::string const& text : {std::string(), std::string("Calibration"), g_calibrationText}) {
        Im6Sample sample = makeIm6Sequence();
        sample.text = text;
        sample.textBlockSize = g_most;
        sample.write(_path);
        EXPECT_EQ(openInLittleMemory(), "");
        Im6ImageFile file;
        open(sample, file);
        EXPECT_FALSE(file.getGeometricCalibrationConstPtr());
        EXPECT_THAT(tryRead(file, {}), FailsWith(seekFailed(_path, {})));
    }
}

TEST_F(Im6HostileHeader, ATextOfFourGigabytesThatIsThereTakesLittleMemoryAndIsReadToItsZeroByte) {
    Im6Sample sample = makeIm6Sequence();
    sample.text = std::string(100000, 'x') + g_calibrationText;
    sample.textBlockSize = g_most;
    sample.write(_path);
    boost::filesystem::resize_file(_path, 164 + vlUInt64(g_most));
    std::ofstream(_path.string(), std::ios::binary | std::ios::app) << Im6Calibration().toBytes();
    EXPECT_EQ(openInLittleMemory(), "");
    Im6ImageFile file;
    ASSERT_THAT(file.openFile(_path, eIAM_ReadOnly), Succeeds());
    EXPECT_TRUE(file.getGeometricCalibrationConstPtr());
    EXPECT_EQ(readPixels(file, {0, 0, 0, 0, 2}), countingBytes(4));
}

TEST_F(Im6HostileHeader, TheSizesOfTheBlocksAreAddedIn64Bits) {
    Im6Sample sample = makeIm6Sequence();
    sample.text = "text";
    sample.secondBlockSize = sample.thirdBlockSize = g_most;
    expectTooShort(sample.toBytes(), 168 + 2 * vlUInt64(g_most));
    sample.text = g_calibrationText;
    sample.calibration.emplace();
    expectTooShort(sample.toBytes(), 176 + 2 * vlUInt64(g_most) + g_im6CalibrationBytes);
}

} // namespace

} // namespace velmo::image::file
