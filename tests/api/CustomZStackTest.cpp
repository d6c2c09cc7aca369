// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "ThrownText.h"
#include "TiffFilesFixture.h"

#include <VELMOBaseProcessing/VELMOBaseProcessingLog.h>
#include <boost/filesystem/operations.hpp>
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
    for (std::string const step : {"1\n", "0.1\n", "1e-20\n", "1e20\n"}) {
        std::string text;
        for (int index = 0; index < 7; ++index) {
            text += step;
        }
        writeSteps(text);
        for (eInterpolationPolicy const policy : {eIP_Nearest, eIP_Linear, eIP_Cubic}) {
            SCOPED_TRACE(step + std::to_string(policy));
            EXPECT_EQ(readPixels(*loadStack(8, policy)), joinAlongZ(parts));
        }
    }
}

TEST_F(CustomZStack, ItsFirstAndLastPlanesAreThoseOfTheFilesWhateverTheSteps) {
    std::vector<Part> const parts = {makePart(makeVolume(2), 1), makePart(makeVolume(2), 2)};
    save(parts);
    writeSteps("0.3\n17\n2e-3\n");
    for (eInterpolationPolicy const policy : {eIP_Nearest, eIP_Linear, eIP_Cubic}) {
        std::string const pixels = readPixels(*loadStack(12, policy));
        EXPECT_EQ(pixels.substr(0, 30), parts[0].pixels.substr(0, 30));
        EXPECT_EQ(pixels.substr(330), parts[1].pixels.substr(30));
    }
}

TEST_F(CustomZStack, PlanesAreTakenInTheOrderOfTheirNumbersOrOfTheirNames) {
    std::vector<Part> const parts = {makePart(makeVolume(1), 1), makePart(makeVolume(1), 2)};
    save(at("a2.tif"), parts[0]);
    save(at("a10.tif"), parts[1]);
    writeSteps("1\n");
    EXPECT_EQ(readPixels(*loadStack(2, eIP_Linear)), parts[0].pixels + parts[1].pixels);
    EXPECT_EQ(readPixels(*loadStack(2, eIP_Linear, "a*.tif")), parts[1].pixels + parts[0].pixels);
}

TEST_F(CustomZStack, DirectoriesOfForeignFilesAreItsPlanesAndTheBufferModeReachesThem) {
    std::string pixels;
    for (std::size_t index = 0; index < 2; ++index) {
        std::vector<Directory> pages = makePages(3);
        for (Directory& page : pages) {
            page.pixels = countingBytes(12, static_cast<unsigned int>(1 + pixels.size()));
            pixels += page.pixels;
        }
        writeTiff(numbered(index), pages);
    }
    writeSteps("1\n1\n1\n1\n1\n");
    for (eTiffBufferMode const mode : {eTBM_Default, eTBM_Binary, eTBM_Label}) {
        ImagePtr const pImage =
            loadCustomZStackImageFiles(_folder, getStepsPath(), 6, eIP_Linear, g_numbered, mode);
        EXPECT_EQ(pImage->getBufferType(), mode == eTBM_Default  ? eIBT_UInt8
                                           : mode == eTBM_Binary ? eIBT_Binary
                                                                 : eIBT_Label8);
        EXPECT_EQ(readPixels(*pImage), pixels);
    }
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
    for (std::string const value : {"0", "-1", "-0.5", "-1e+20"}) {
        for (std::size_t index = 0; index < 3; ++index) {
            std::vector<std::string> lines(3, "1");
            lines[index] = value;
            writeSteps(lines[0] + '\n' + lines[1] + '\n' + lines[2]);
            EXPECT_EQ(processorText([&] { loadStack(2, eIP_Linear); }), stepRefused(index, value));
        }
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

TEST_F(CustomZStack, AResultWhoseBytes64BitsCannotCountIsAFailure) {
    save({makePart(makeVolume(2)), makePart(makeVolume(2))});
    writeEvenSteps(4);
    for (unsigned long const sizeZ : {~0UL, ~0UL / 29}) {
        CapturedLog const log(getVELMOImageFileLogger());
        EXPECT_THAT(textThrownBy([&] { loadStack(sizeZ, eIP_Linear); }),
                    testing::HasSubstr("has more bytes than 64 bits can count"));
        EXPECT_TRUE(log.getRecords().empty());
        EXPECT_EQ(countOpenFiles(), 0U);
    }
}

} // namespace velmo::test
