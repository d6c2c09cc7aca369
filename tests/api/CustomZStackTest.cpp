// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "ThrownText.h"
#include "TiffFilesFixture.h"

#include <VELMOBaseProcessing/VELMOBaseProcessingLog.h>
#include <boost/filesystem/operations.hpp>
#include <cstring>
#include <gmock/gmock.h>

namespace velmo::test {

namespace fs = boost::filesystem;
using namespace image;
using namespace image::file;
using namespace imaproc::attr;
using processor::VELMOBaseProcessingException;
using testing::StartsWith;

namespace {

class CustomZStack : public TiffFiles {
  protected:
    using Values = std::vector<std::uint16_t>;

    /// Files of one pixel each, resampled.
    Values resample(Values const& values, std::string const& steps, unsigned long nbPlanes,
                    eInterpolationPolicy policy) const {
        for (std::size_t index = 0; index < values.size(); ++index) {
            save(numbered(index), {geometry3d(eIBT_UInt16, 1, 1, 1),
                                   std::string(reinterpret_cast<char const*>(&values[index]), 2)});
        }
        writeSteps(steps);
        std::string const bytes = readPixels(*loadStack(nbPlanes, policy));
        Values samples(bytes.size() / 2);
        std::memcpy(samples.data(), bytes.data(), bytes.size());
        return samples;
    }

    std::string raisedText(Action const& action) const {
        auto const raised = expectRaisedFrom("src/Tiff/TiffCustomZStack.cpp", action);
        EXPECT_EQ(countOpenFiles(), 0U);
        return raised ? raised->text : std::string();
    }

    std::string processorText(Action const& action) const {
        CapturedLog const log(getVELMOImageFileLogger());
        std::string text = thrownText<VELMOBaseProcessingException>(action);
        EXPECT_TRUE(log.getRecords().empty());
        EXPECT_EQ(countOpenFiles(), 0U);
        return text;
    }
};

std::string countMismatch(int nbSteps, int nbPlanes) {
    return "Number of z-steps (" + std::to_string(nbSteps) +
           ") does not match with number of z-plans minus one (" + std::to_string(nbPlanes) + "-1)";
}

std::string stepRefused(std::size_t index, std::string const& value) {
    return "InZSteps holds a step that is not positive and finite: step " + std::to_string(index) + " is " +
           value;
}

} // namespace

// The result

TEST_F(CustomZStack, IsAVolumeInMemoryOfTheSizeAskedFor) {
    save({makePart(makeVolume(3, 2), 1), makePart(makeVolume(1, 2), 2)});
    writeSteps("1\n2\n3\n");
    for (unsigned long const sizeZ : {1UL, 2UL, 4UL, 33UL}) {
        ImagePtr const pImage = loadStack(sizeZ, eIP_Linear);
        EXPECT_TRUE(haveSamePixels(pImage->getGeometry(), *makeVolume(sizeZ, 2)));
        EXPECT_EQ(pImage->getGeometry().getVolumeGeometryType(), eVGT_3d);
        EXPECT_EQ(pImage->getTemporalGeometryType(), eTGT_Single);
        EXPECT_EQ(pImage->getGeometry().getColorGeometryType(), eCGT_User);
        EXPECT_NE(pImage->accessPlan(0, 1, 0), nullptr);
        EXPECT_EQ(boost::dynamic_pointer_cast<DiskImage>(pImage), nullptr);
    }
}

TEST_F(CustomZStack, WithEvenStepsAndItsOwnSizeHasThePixelsOfTheFiles) {
    std::vector<Part> const parts = {makePart(makeVolume(3, 2), 1), makePart(makeVolume(4, 2), 2),
                                     makePart(makeVolume(1, 2), 3)};
    save(parts);
    writeEvenSteps(8);
    for (eInterpolationPolicy const policy : {eIP_Nearest, eIP_Linear, eIP_Cubic}) {
        EXPECT_EQ(readPixels(*loadStack(8, policy)), joinAlongZ(parts)) << policy;
    }
}

TEST_F(CustomZStack, ValuesOnALineAreTheSameForLinearAndCubic) {
    for (eInterpolationPolicy const policy : {eIP_Linear, eIP_Cubic}) {
        EXPECT_EQ(resample({10, 20, 50}, "1\n3", 5, policy), (Values{10, 20, 30, 40, 50}));
        EXPECT_EQ(resample({10, 20, 50}, "100\n300", 5, policy), (Values{10, 20, 30, 40, 50}));
        EXPECT_EQ(resample({10, 40, 50}, "0.3\n0.1", 3, policy), (Values{10, 30, 50}));
    }
}

TEST_F(CustomZStack, ValuesOfTheNearestPlaneAreTheOneBeforeHalfWay) {
    EXPECT_EQ(resample({10, 20}, "1", 3, eIP_Nearest), (Values{10, 10, 20}));
    EXPECT_EQ(resample({10, 20, 50}, "1\n3", 5, eIP_Nearest), (Values{10, 20, 20, 50, 50}));
}

TEST_F(CustomZStack, ValuesOnAParabolaAreMetByTheCubicBetweenInnerPlanes) {
    // z^2 at 0, 1, 3, 4, 6: the slopes at 1, 3 and 4 are those of the parabola.
    Values const values = resample({0, 100, 900, 1600, 3600}, "1\n2\n1\n2", 7, eIP_Cubic);
    EXPECT_EQ(Values(values.begin() + 1, values.begin() + 5), (Values{100, 400, 900, 1600}));
}

TEST_F(CustomZStack, OfAnOpenImageIsTheSame) {
    save({makePart(makeVolume(3, 2), 1), makePart(makeVolume(4, 2), 2), makePart(makeVolume(1, 2), 3)});
    writeSteps("1\n2\n1\n3\n1\n1\n2\n");
    ImagePtr const pStack = openTiffImageFiles(_folder, g_numbered, {});
    for (eInterpolationPolicy const policy : {eIP_Nearest, eIP_Linear, eIP_Cubic}) {
        std::string const pixels = readPixels(*loadStack(40, policy));
        for (vlUInt64 const nbThreads : {1U, 2U, 7U}) {
            ImagePtr const pImage =
                resampleCustomZStack(pStack, getStepsPath(), 40, policy, useThreads(nbThreads));
            EXPECT_EQ(readPixels(*pImage), pixels) << policy << ' ' << nbThreads;
        }
    }
    writeSteps("1\n");
    EXPECT_EQ(thrownText<VELMOImageFileException>(
                  [&] { resampleCustomZStack(pStack, getStepsPath(), 4, eIP_Linear); }),
              countMismatch(1, 8));
    writeEvenSteps(8);
    EXPECT_THROW(resampleCustomZStack({}, getStepsPath(), 4, eIP_Linear), VELMOBaseProcessingException);
}

// The number of steps

TEST_F(CustomZStack, FilesOf3And4PlanesNeedExactly6Steps) {
    save({makePart(makeVolume(3), 1), makePart(makeVolume(4), 2)});
    for (int nbSteps = 0; nbSteps < 10; ++nbSteps) {
        SCOPED_TRACE(nbSteps);
        writeEvenSteps(static_cast<vlUInt64>(nbSteps) + 1);
        auto const call = [&] { return loadStack(7, eIP_Linear); };
        if (nbSteps == 6) {
            EXPECT_TRUE(call());
        } else {
            EXPECT_EQ(raisedText(call), countMismatch(nbSteps, 7));
        }
    }
}

TEST_F(CustomZStack, ChannelsDoNotCountAsPlanes) {
    save({makePart(makeVolume(2, 5), 1), makePart(makeVolume(1, 5), 2)});
    writeEvenSteps(3);
    EXPECT_TRUE(loadStack(3, eIP_Linear));
    writeEvenSteps(15);
    EXPECT_EQ(raisedText([&] { loadStack(3, eIP_Linear); }), countMismatch(14, 3));
}

// The order of the failures

TEST_F(CustomZStack, AStepsFileThatCannotBeReadIsNamedBeforeAnyImageFile) {
    writeFile(numbered(0), "no TIFF file");
    writeFile(numbered(1), "no TIFF file");
    for (fs::path const& steps : {_other / "missing.txt", _other / "missing.xml"}) {
        CapturedLog const log(getVELMOImageFileLogger());
        EXPECT_THAT(textThrownBy([&] {
                        loadCustomZStackImageFiles(_folder, steps, 2, eIP_Linear, g_numbered, eTBM_Default);
                    }),
                    StartsWith("Error while loading z-steps file \"" + steps.string() + "\": "));
        EXPECT_EQ(log.getRecords().size(), 1U);
    }
}

TEST_F(CustomZStack, AnImageFileThatFailsOrDiffersIsNamedBeforeTheNumberOfSteps) {
    save({makePart(makeVolume(2)), makePart(makeVolume(2)), makePart(makeVolume(2))});
    writeSteps("1\n");
    save(numbered(2), makePart(makeVolume(2, 3)));
    EXPECT_THAT(raisedText([&] { loadStack(2, eIP_Linear); }), StartsWith("SizeC mismatch"));
    writeFile(numbered(2), "no TIFF file");
    EXPECT_THAT(raisedText([&] { loadStack(2, eIP_Linear); }), StartsWith(loadError(numbered(2), "")));
}

TEST_F(CustomZStack, TheNumberOfStepsIsNamedBeforeTheirValues) {
    save({makePart(makeVolume(2)), makePart(makeVolume(2))});
    writeSteps("-1\nno number\n");
    EXPECT_EQ(raisedText([&] { loadStack(2, eIP_Linear); }), countMismatch(2, 4));
}

TEST_F(CustomZStack, TheValuesOfTheStepsAreNamedBeforeTheSizeOfTheResult) {
    save({makePart(makeVolume(1)), makePart(makeVolume(1))});
    writeSteps("-1\n");
    EXPECT_EQ(processorText([&] { loadStack(0, eIP_Linear); }), stepRefused(0, "-1"));
}

// What the processor refuses

TEST_F(CustomZStack, NegativeAndZeroStepsPassTheModuleAndAreRefusedByTheProcessor) {
    save({makePart(makeVolume(2)), makePart(makeVolume(2))});
    for (std::string const value : {"0", "-0.5"}) {
        writeSteps("1\n" + value + "\n1");
        EXPECT_EQ(processorText([&] { loadStack(2, eIP_Linear); }), stepRefused(1, value));
    }
}

TEST_F(CustomZStack, AResultWithoutPlanesIsRefusedByTheProcessor) {
    save({makePart(makeVolume(2)), makePart(makeVolume(2))});
    writeEvenSteps(4);
    EXPECT_EQ(processorText([&] { loadStack(0, eIP_Linear); }), "InOutputImg3dZSize cannot be 0");
}

TEST_F(CustomZStack, AResultBeyondTheMemoryFailsWithBothFigures) {
    save({makePart(makeVolume(2)), makePart(makeVolume(2))});
    writeEvenSteps(4);
    std::string const text = processorText([&] { loadStack(1000000000000000UL, eIP_Linear); });
    EXPECT_THAT(text,
                StartsWith("There is no OutImg, as processor ResampleCustomZStack3dImgLvl1 did not run to "
                           "its end\nThe image needs 30000000000000000 bytes of memory, and "));
    EXPECT_THAT(text, testing::EndsWith(" bytes are available"));
}

} // namespace velmo::test
