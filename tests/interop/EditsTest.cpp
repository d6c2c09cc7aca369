// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "ForeignPrograms.h"
#include "ImageBytes.h"
#include "TemporaryFolder.h"
#include "ToolProcess.h"

#include <VELMOImage/ImageGeometry.h>
#include <VELMOImageFile/TiffImageFileUtils.h>
#include <gtest/gtest.h>

namespace velmo::test {

namespace {

constexpr char const* g_numpyScript = VELMO_TEST_FOLDER "/edits_by_numpy.py";

class Edits : public testing::TestWithParam<char const*> {};

/// An image of 2 x 1 pixels a plane for ImageJ, and the line that ImageJ is to print.
struct Hyperstack {
    char const* size;
    char const* type;
    Arguments options;
    char const* line;
};

/// The first pixels of the planes are 0, 2, 4 and so on, in the order z, c, t.
Hyperstack const g_hyperstacks[] = {
    {"2,1,3,2,2", "uint8", {}, "C2 Z3 T2 0.500000 0.250000 3.50000 um: 0 6 2 8 4 10 12 18 14 20 16 22"},
    {"2,1,3,2,2",
     "uint8",
     {"--compression", "lzw", "--to-type", "real32"},
     "C2 Z3 T2 0.500000 0.250000 3.50000 um: 0 6 2 8 4 10 12 18 14 20 16 22"},
    {"2,1,3,1,2", "uint8", {"--to-type", "uint16"}, "C1 Z3 T2 0.500000 0.250000 3.50000 um: 0 2 4 6 8 10"},
    {"2,1,1,2", "uint8", {}, "C2 Z1 T1 0.500000 0.250000 3.50000 um: 0 2"},
    {"2,1,4", "uint8", {"--z", "::2"}, "C1 Z2 T1 0.500000 0.250000 3.50000 um: 0 4"},
    {"2,1,1,5,2", "uint8", {}, "C5 Z1 T2 0.500000 0.250000 3.50000 um: 0 2 4 6 8 10 12 14 16 18"},
    {"2,1,2,3,2",
     "uint8",
     {"--to-type", "uint16"},
     "C3 Z2 T2 0.500000 0.250000 3.50000 um: 0 4 8 2 6 10 12 16 20 14 18 22"},
    // 0, 4, 8 as colours
    {"2,1,2,3", "uint8", {}, "C1 Z2 T1 0.500000 0.250000 3.50000 um: 1032 132618"}};

} // namespace

TEST_P(Edits, AreThoseOfNumpyAndTifffile) {
    std::optional<std::string> const python = findPython();
    if (!python) {
        GTEST_SKIP() << "no python3 with tifffile";
    }
    TemporaryFolder const folder;
    ProgramResult const result =
        runProgram({*python, "-B", g_numpyScript, GetParam(), VELMO_IMAGE_TOOL, folder.getPath().string()});
    EXPECT_EQ(0, result.status);
    EXPECT_EQ("", result.err);
    std::vector<std::string> const lines = toLines(result.out);
    ASSERT_EQ(1U, lines.size()) << result.out;
    EXPECT_EQ(0U, lines.front().find("checked ")) << lines.front();
}

INSTANTIATE_TEST_SUITE_P(Checks, Edits, testing::Values("pairs", "types", "imagej", "split"),
                         [](auto const& check) { return std::string(check.param); });

TEST(Hyperstacks, AreTheSameImagesToTheLibraryAsWithoutTheDescription) {
    TemporaryFolder const folder;
    std::string const input = (folder / "in.raw").string();
    writeFile(input, "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789.,");
    for (Hyperstack const& stack : g_hyperstacks) {
        Arguments line = {"convert",     input,     (folder / "plain.tif").string(),
                          "--overwrite", "--size",  stack.size,
                          "--type",      stack.type};
        EXPECT_EQ(0, runTool(line).status);
        line[2] = (folder / "described.tif").string();
        line.emplace_back("--imagej");
        EXPECT_EQ(0, runTool(line).status);
        auto const pPlain = image::file::loadTiffImageFile(folder / "plain.tif");
        for (auto const& pDescribed :
             {image::file::loadTiffImageFile(folder / "described.tif"),
              image::file::loadTiffImageFile(folder / "described.tif", image::file::eTDM_Temporal,
                                             image::file::eTBM_Label)}) {
            EXPECT_TRUE(haveSamePixels(pPlain->getGeometry(), pDescribed->getGeometry())) << stack.size;
            EXPECT_EQ(readPixels(*pPlain), readPixels(*pDescribed)) << stack.size;
        }
    }
}

TEST(Hyperstacks, AreOpenedByImageJWithAxesAndPixelSize) {
    std::optional<Arguments> arguments = findImageJ();
    if (!arguments) {
        GTEST_SKIP() << "no ImageJ, or no java that runs sources";
    }
    TemporaryFolder const folder;
    arguments->push_back(VELMO_TEST_FOLDER "/HyperstacksByImageJ.java");
    std::string bytes(64, '\0');
    for (std::size_t index = 0; index < bytes.size(); ++index) {
        bytes[index] = static_cast<char>(index);
    }
    std::vector<std::string> expected;
    for (Hyperstack const& stack : g_hyperstacks) {
        std::string const input = (folder / "in.raw").string();
        writeFile(input, bytes);
        arguments->push_back((folder / (std::to_string(expected.size()) + ".tif")).string());
        Arguments line = {"convert", input, arguments->back(), "--imagej", "--pixel-size", "0.5,0.25,3.5",
                          "--unit",  "um",  "--size",          stack.size, "--type",       stack.type};
        line.insert(line.end(), stack.options.begin(), stack.options.end());
        EXPECT_EQ(0, runTool(line).status);
        expected.push_back(std::string("stack: ") + stack.line);
    }
    ProgramResult const result = runProgram(*arguments);
    EXPECT_EQ(expected, toLines(result.out)) << result.err;
}

} // namespace velmo::test
