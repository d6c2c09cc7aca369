// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "ForeignFile.h"
#include "ForeignPrograms.h"
#include "SavedImages.h"
#include "TemporaryFolder.h"

#include <VELMOImageFile/TiffImageFileUtils.h>
#include <algorithm>
#include <gtest/gtest.h>
#include <iomanip>
#include <set>
#include <sstream>

namespace velmo::test {

namespace fs = boost::filesystem;
using namespace image;
using namespace image::file;

namespace {

struct Compression {
    char const* name;
    eTiffCompression value;
};

void PrintTo(Compression const& compression, std::ostream* pStream) { // a name of the test that stays
    *pStream << compression.name;
}

Compression const g_compressions[] = {{"None", eTC_None}, {"Lzw", eTC_Lzw}, {"Deflate", eTC_Deflate}};

std::string toText(std::vector<std::string> const& planes) {
    std::ostringstream text;
    text << std::hex << std::setfill('0');
    for (std::string const& plane : planes) {
        text << (text.tellp() > 0 ? " " : "") << std::setw(8) << getCrc(plane);
    }
    return text.str();
}

std::vector<std::string> selectLines(std::string const& text, std::string const& beginning) {
    std::vector<std::string> selected;
    for (std::string const& line : toLines(text)) {
        if (line.rfind(beginning, 0) == 0) {
            selected.push_back(line);
        }
    }
    return selected;
}

/// The bytes of the pixels of a file as libtiff's tiffinfo prints them, strip after strip.
std::string readPixelsByLibtiff(fs::path const& path) {
    ProgramResult const result = runProgram({"tiffinfo", "-d", path.string()});
    EXPECT_EQ(result.status, 0) << result.err;
    std::string bytes;
    bool bInStrip = false;
    for (std::string const& line : toLines(result.out)) {
        bool const bHexadecimal = !line.empty() && line.front() == ' ' && line.find(':') == std::string::npos;
        bInStrip = line.rfind("Strip ", 0) == 0 || (bInStrip && bHexadecimal);
        std::istringstream stream(bInStrip && bHexadecimal ? line : "");
        for (unsigned int byte = 0; stream >> std::hex >> byte;) {
            bytes += static_cast<char>(byte);
        }
    }
    return bytes;
}

/// The offsets of the strips of each directory, as tiffinfo prints them: "    0: [      8,    740]".
std::vector<std::vector<vlUInt64>> readStripOffsets(fs::path const& path) {
    ProgramResult const result = runProgram({"tiffinfo", "-s", path.string()});
    EXPECT_EQ(result.status, 0) << result.err;
    std::vector<std::vector<vlUInt64>> directories;
    for (std::string const& line : toLines(result.out)) {
        if (line.find(" Strips:") != std::string::npos) {
            directories.emplace_back();
        }
        std::string::size_type const bracket = line.find(": [");
        if (bracket != std::string::npos && !directories.empty()) {
            directories.back().push_back(std::stoul(line.substr(bracket + 3)));
        }
    }
    EXPECT_FALSE(directories.empty());
    return directories;
}

/// The planes, channel by channel, of pixels that lie as in the file.
std::vector<std::string> toPlanes(SavedImage const& image, std::string const& bytes) {
    std::size_t const nbPlanes = image.getPlanes().size();
    std::size_t const planeSize = image.getPlanes().front().size();
    std::size_t const sampleSize = getImageBufferBaseSize(image.pGeometry->getBufferType());
    std::size_t const nbSamples = image.isInterleaved() ? image.pGeometry->getSizeC() : 1;
    std::vector<std::string> planes(nbPlanes);
    for (std::size_t sample = 0; sample * sampleSize < bytes.size(); ++sample) {
        std::size_t const page = sample * sampleSize / (planeSize * nbSamples);
        std::size_t const plane = page * nbSamples + sample % nbSamples;
        if (plane < nbPlanes) {
            planes[plane] += bytes.substr(sample * sampleSize, sampleSize);
        }
    }
    return planes;
}

/// Images saved with one compression, in files of their own.
class ForeignReaders : public testing::TestWithParam<Compression> {
  protected:
    ForeignReaders() {
        for (SavedImage const& image : _images) {
            saveTiffImageFile(getPath(image), image.makeImage(), GetParam().value);
        }
    }

    fs::path getPath(SavedImage const& image) const { return _folder / (image.name + ".tif"); }

    /// Runs a program that prints a line of "planes: " and their checksums for each of the files.
    void expectPlanesFrom(Arguments arguments, std::vector<SavedImage> const& images) const {
        for (SavedImage const& image : images) {
            arguments.push_back(getPath(image).string());
        }
        ProgramResult const result = runProgram(arguments);
        std::vector<std::string> const lines = selectLines(result.out, "planes: ");
        ASSERT_EQ(lines.size(), images.size()) << result.err;
        for (std::size_t i = 0; i < images.size(); ++i) {
            EXPECT_EQ(lines[i], "planes: " + toText(images[i].getPlanes())) << images[i].name;
        }
    }

    TemporaryFolder _folder;
    std::vector<SavedImage> _images = makeSavedImages();
};

/// ImageJ has no integers of 32 bits and keeps three of four samples.
std::vector<SavedImage> selectForImageJ(std::vector<SavedImage> const& images) {
    std::set<std::string> const without = {"eIBT_Int32", "eIBT_UInt32", "eIBT_Label32", "rgba8", "rgba16"};
    std::vector<SavedImage> selected;
    for (SavedImage const& image : images) {
        if (without.count(image.name) == 0) {
            selected.push_back(image);
        }
    }
    return selected;
}

} // namespace

TEST_P(ForeignReaders, TifffileReadsTheSamePixels) {
    std::optional<std::string> const python = findPython();
    if (!python) {
        GTEST_SKIP() << "no python3 with tifffile";
    }
    if (GetParam().value == eTC_Lzw && !hasLzw(*python)) {
        GTEST_SKIP() << "tifffile has no LZW without imagecodecs";
    }
    expectPlanesFrom({*python, "-B", VELMO_TEST_FOLDER "/planes_by_tifffile.py"}, _images);
}

TEST_P(ForeignReaders, ImageJReadsTheSamePixels) {
    std::optional<Arguments> arguments = findImageJ();
    if (!arguments) {
        GTEST_SKIP() << "no ImageJ, or no java that runs sources";
    }
    arguments->push_back(VELMO_TEST_FOLDER "/PlanesByImageJ.java");
    expectPlanesFrom(*arguments, selectForImageJ(_images));
}

TEST_P(ForeignReaders, LibtiffReadsTheSamePixels) {
    if (!hasLibtiffTools()) {
        GTEST_SKIP() << "no tools of libtiff";
    }
    for (SavedImage const& image : _images) {
        SCOPED_TRACE(image.name);
        EXPECT_EQ(toText(toPlanes(image, readPixelsByLibtiff(getPath(image)))), toText(image.getPlanes()));
    }
}

TEST_P(ForeignReaders, ACopyByLibtiffDiffersInNothingFromAnUncompressedFile) {
    if (!hasLibtiffTools()) {
        GTEST_SKIP() << "no tools of libtiff";
    }
    for (SavedImage const& image : _images) {
        SCOPED_TRACE(image.name);
        std::string const copy = (_folder / "copy.tif").string();
        std::string const plain = (_folder / "plain.tif").string();
        saveTiffImageFile(plain, image.makeImage(), eTC_None);
        ASSERT_EQ(runProgram({"tiffcp", "-c", "none", getPath(image).string(), copy}).status, 0);
        for (std::string const& path : {copy, plain}) { // saved at two moments
            ASSERT_EQ(runProgram({"tiffset", "-s", "306", "2000:01:01 00:00:00", path}).status, 0);
        }
        ProgramResult const comparison = runProgram({"tiffcmp", copy, plain});
        EXPECT_EQ(comparison.status, 0);
        EXPECT_EQ(toLines(comparison.out), selectLines(comparison.out, "Directory ")) << comparison.out;
    }
}

// ImageJ turns an image whose last strip lies before the first.
TEST_P(ForeignReaders, StripsLieInTheirOrder) {
    if (!hasLibtiffTools()) {
        GTEST_SKIP() << "no tools of libtiff";
    }
    for (SavedImage const& image : _images) {
        SCOPED_TRACE(image.name);
        for (std::vector<vlUInt64> const& offsets : readStripOffsets(getPath(image))) {
            EXPECT_TRUE(std::is_sorted(offsets.begin(), offsets.end())) << testing::PrintToString(offsets);
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Compressions, ForeignReaders, testing::ValuesIn(g_compressions),
                         [](auto const& entry) { return std::string(entry.param.name); });

} // namespace velmo::test
