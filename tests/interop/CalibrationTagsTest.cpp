// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "ForeignPrograms.h"
#include "SavedImages.h"
#include "TemporaryFolder.h"
#include "ToolProcess.h"

#include <VELMOImage/GeometricCalibration.h>
#include <VELMOImageFile/TiffImageFileUtils.h>
#include <algorithm>
#include <gtest/gtest.h>

namespace velmo::test {

namespace {

struct Sample {
    char const* image; ///< a name of SavedImages
    std::size_t nbDirectories;
    char const* unit;
    float sizeX;
    float sizeY;
    char const* byTifffile;
    char const* byLibtiff;
    char const* byImageJ;
};

/// ImageJ turns small pixels in centimetres into micrometres.
Sample const g_samples[] = {
    {"eIBT_UInt8", 1, "um", 0.65F, 0.5F, "200000/13 20000/1 3", "15384.6, 20000 pixels/cm",
     "0.650000 0.500000 um"},
    {"volume8", 3, "\xc2\xb5m", 2, 3, "5000/1 10000/3 3", "5000, 3333.33 pixels/cm", "2.00000 3.00000 um"},
    {"rgb8", 1, "mm", 0.9375F, 0.9375F, "32/3 32/3 3", "10.6667, 10.6667 pixels/cm",
     "0.0937500 0.0937500 cm"},
    {"two-channels16", 8, "nm", 250, 125, "40000/1 80000/1 3", "40000, 80000 pixels/cm",
     "0.250000 0.125000 um"},
    {"small", 1, "inch", 0.02F, 0.01F, "2500/127 5000/127 3", "19.685, 39.3701 pixels/cm",
     "0.0508000 0.0254000 cm"}};

class CalibrationTags : public testing::Test {
  protected:
    /// The tool writes each sample to a file of the name of its image.
    CalibrationTags() {
        std::vector<SavedImage> const images = makeSavedImages();
        for (Sample const& sample : g_samples) {
            auto const pSaved = std::find_if(images.begin(), images.end(), [&](SavedImage const& image) {
                return image.name == sample.image;
            });
            image::ImagePtr const pImage = pSaved->makeImage();
            pImage->setGeometricCalibration(
                image::createGeometricCalibration2d(sample.sizeX, sample.sizeY, sample.unit, 0, 0, 0, 0, 0));
            std::string const input = (_folder / "in.tif").string();
            image::file::saveTiffImageFile(input, pImage, image::file::eTC_None);
            EXPECT_EQ(
                0, runTool({"convert", input, getPath(sample), "--calibration-tags", "--overwrite"}).status);
        }
    }

    std::string getPath(Sample const& sample) const {
        return (_folder / (sample.image + std::string(".tif"))).string();
    }

    Arguments addPaths(Arguments arguments) const {
        for (Sample const& sample : g_samples) {
            arguments.push_back(getPath(sample));
        }
        return arguments;
    }

    /// The rest of the lines that begin so.
    static std::vector<std::string> select(std::string const& text, std::string const& beginning) {
        std::vector<std::string> selected;
        for (std::string const& line : toLines(text)) {
            if (line.rfind(beginning, 0) == 0) {
                selected.push_back(line.substr(beginning.size()));
            }
        }
        return selected;
    }

    /// A text for each directory of each file.
    static std::vector<std::string> repeat(char const* const Sample::*pText) {
        std::vector<std::string> texts;
        for (Sample const& sample : g_samples) {
            texts.insert(texts.end(), sample.nbDirectories, sample.*pText);
        }
        return texts;
    }

    TemporaryFolder _folder;
};

} // namespace

TEST_F(CalibrationTags, TifffileReadsThePixelSizeOfEachDirectory) {
    std::optional<std::string> const python = findPython();
    if (!python) {
        GTEST_SKIP() << "no python3 with tifffile";
    }
    ProgramResult const result =
        runProgram(addPaths({*python, "-B", VELMO_TEST_FOLDER "/pixel_size_by_tifffile.py"}));
    EXPECT_EQ(repeat(&Sample::byTifffile), select(result.out, "pixel: ")) << result.err;
}

TEST_F(CalibrationTags, LibtiffReadsThePixelSizeOfEachDirectory) {
    if (!hasLibtiffTools()) {
        GTEST_SKIP() << "no tools of libtiff";
    }
    ProgramResult const result = runProgram(addPaths({"tiffinfo"}));
    EXPECT_EQ(repeat(&Sample::byLibtiff), select(result.out, "  Resolution: ")) << result.err;
}

TEST_F(CalibrationTags, ImageJShowsThePixelSize) {
    std::optional<Arguments> arguments = findImageJ();
    if (!arguments) {
        GTEST_SKIP() << "no ImageJ, or no java that runs sources";
    }
    arguments->push_back(VELMO_TEST_FOLDER "/PixelSizeByImageJ.java");
    ProgramResult const result = runProgram(addPaths(*arguments));
    std::vector<std::string> expected;
    for (Sample const& sample : g_samples) {
        expected.emplace_back(sample.byImageJ);
    }
    EXPECT_EQ(expected, select(result.out, "pixel: ")) << result.err;
}

} // namespace velmo::test
