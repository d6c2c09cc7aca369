// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "ForeignFile.h"
#include "TemporaryFolder.h"
#include "TiffSample.h"

#include <ImportTiff.h>
#include <VELMOImage/ImageGeometry.h>
#include <VELMOImage/PixelAccess.h>
#include <VELMOImageFile/TiffImageFileUtils.h>
#include <VELMOImageFile/VELMOImageFileException.h>
#include <atomic>
#include <boost/filesystem/operations.hpp>
#include <gmock/gmock.h>
#include <thread>
#include <tiffio.h>

namespace velmo::test {

namespace fs = boost::filesystem;
using namespace image;
using importer::ImportedImage;
using importer::ImportedTiff;
using importer::ImportException;
using importer::ImportOptions;
using testing::HasSubstr;

namespace {

fs::path getSample(std::string const& name) {
    return getForeignFolder().parent_path() / "import" / name;
}

/// Noise, so that no two tiles are alike.
std::string makePixels(std::size_t nbBytes) {
    std::string pixels(nbBytes, '\0');
    std::uint32_t state = 1;
    for (char& byte : pixels) {
        state = state * 1664525U + 1013904223U;
        byte = static_cast<char>(state >> 24U);
    }
    return pixels;
}

/// A page of 1000 x 900 pixels of 16 bits, large enough for several threads.
TiffPage makeTiledPage(int compression, std::uint16_t samples = 1) {
    TiffPage page;
    page.sizeX = 1000;
    page.sizeY = 900;
    page.bits = 16;
    page.samples = samples;
    page.photometric = samples == 3 ? PHOTOMETRIC_RGB : PHOTOMETRIC_MINISBLACK;
    page.compression = static_cast<std::uint16_t>(compression);
    page.tileSize = 128;
    page.pixels = makePixels(page.countBytes());
    return page;
}

std::string readBytes(BaseImage const& image, vlUInt64 c = 0) {
    std::string bytes(image.getGeometry().getPlanMemorySize(0), '\x55');
    BoolResult const result =
        image.readPixels(0, c, 0, 0, image.getGeometry().getPlanNbPixels(), bytes.data());
    EXPECT_TRUE(result) << result.getMessage();
    return bytes;
}

std::string getMessageOf(fs::path const& file, ImportOptions const& options = {}) {
    try {
        importer::importTiffImage(file, options);
    } catch (ImportException const& failure) {
        return failure.what();
    }
    return "no exception";
}

std::vector<std::string> listFolder(fs::path const& folder) {
    std::vector<std::string> names;
    for (auto const& entry : fs::directory_iterator(folder)) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

} // namespace

TEST(ImportTiff, GivesAnImageInMemoryWithItsChangesAndItsCalibration) {
    ImportedImage const imported = importer::importTiffImage(getSample("tf-imagej-single-u2-be.tif"));
    BaseImageGeometry const& geometry = imported.pImage->getGeometry();
    EXPECT_EQ(3U, geometry.getSizeZ());
    EXPECT_EQ(2U, geometry.getSizeC());
    EXPECT_EQ(2U, geometry.getSizeT());
    ASSERT_TRUE(imported.pImage->hasGeometricCalibration());
    EXPECT_EQ(0.25F, imported.pImage->getGeometricCalibrationConstPtr()->getPixelSizeX());
    EXPECT_EQ(2U, imported.report.changes.size());
    EXPECT_TRUE(imported.report.outputs.empty());
}

TEST(ImportTiff, NamesTheChannels) {
    ImportedImage const ome = importer::importTiffImage(getSample("tf-set-0.ome.tif"));
    EXPECT_EQ("DAPI", ome.pImage->getGeometry().getColorGeometry().getChannelName(0));
    ImportedImage const grey = importer::importTiffImage(getSample("tf-grey-unassalpha-le.tif"));
    EXPECT_EQ("alpha", grey.pImage->getGeometry().getColorGeometry().getChannelName(1));
}

TEST(ImportTiff, DecodesWithAnyNumberOfThreadsToTheSamePixels) {
    TemporaryFolder const folder;
    for (int const compression : {COMPRESSION_NONE, COMPRESSION_LZW, COMPRESSION_ADOBE_DEFLATE}) {
        TiffPage const page = makeTiledPage(compression);
        writeTiff(folder / "tiled.tif", {page});
        for (vlUInt64 const nbThreads : {1UL, 2UL, 7UL}) {
            ImportOptions options;
            options.nbThreads = nbThreads;
            EXPECT_TRUE(readBytes(*ImportedTiff(folder / "tiled.tif", options).getImage()) == page.pixels);
        }
    }
}

TEST(ImportTiff, ReadsPartsOfPlanesAndPlanesInAnyOrder) {
    TemporaryFolder const folder;
    TiffPage const page = makeTiledPage(COMPRESSION_LZW, 3);
    writeTiff(folder / "rgb.tif", {page});
    ImportedTiff const imported(folder / "rgb.tif", ImportOptions());
    auto const getExpected = [&](std::size_t pixel, std::size_t c) {
        std::uint16_t value = 0;
        std::memcpy(&value, page.pixels.data() + (pixel * 3 + c) * 2, sizeof(value));
        return value;
    };
    for (std::size_t const c : {2U, 0U, 1U, 1U, 2U}) {
        std::vector<std::uint16_t> run(5000);
        constexpr std::size_t start = 77777;
        ASSERT_TRUE(imported.getImage()->readPixels(0, c, 0, start, run.size(), run.data()));
        std::string const plane = readBytes(*imported.getImage(), c);
        EXPECT_EQ(0, plane.compare(start * 2, run.size() * 2, reinterpret_cast<char const*>(run.data()),
                                   run.size() * 2));
        EXPECT_EQ(getExpected(start, c), run.front());
        EXPECT_EQ(getExpected(start + run.size() - 1, c), run.back());
    }
}

TEST(ImportTiff, LeavesTheHandlersOfTheProcessAlone) {
    static std::atomic<int> nbCalls{0};
    TIFFErrorHandler const handler = [](char const*, char const*, va_list) { ++nbCalls; };
    TIFFErrorHandler const errorHandler = TIFFSetErrorHandler(handler);
    TIFFErrorHandler const warningHandler = TIFFSetWarningHandler(handler);
    EXPECT_THAT(getMessageOf(getSample("py-damaged-tile.tif")), HasSubstr("tile 2"));
    EXPECT_THAT(getMessageOf(getSample("py-loop.tif")), HasSubstr("chain of directories"));
    EXPECT_EQ(handler, TIFFSetErrorHandler(errorHandler));
    EXPECT_EQ(handler, TIFFSetWarningHandler(warningHandler));
    EXPECT_EQ(0, nbCalls);
}

TEST(ImportTiff, RunsOnSeveralThreadsAtOnce) {
    std::vector<std::thread> threads;
    std::atomic<int> nbEqual{0};
    std::string const expected =
        readBytes(*importer::importTiffImage(getSample("lt-tiled-lzw-2-u2-be.tif")).pImage);
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&] {
            for (int round = 0; round < 20; ++round) {
                ImportedImage const imported =
                    importer::importTiffImage(getSample("lt-tiled-lzw-2-u2-be.tif"));
                nbEqual += readBytes(*imported.pImage) == expected ? 1 : 0;
                EXPECT_THAT(getMessageOf(getSample("py-damaged-tile.tif")), HasSubstr("tile 2"));
            }
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    EXPECT_EQ(80, nbEqual);
}

TEST(ImportTiff, AReadOfADamagedPlaneFailsEachTime) {
    for (char const* const name : {"py-truncated-jpeg.tif", "py-damaged-tile.tif"}) {
        ImportedTiff const imported(getSample(name), ImportOptions());
        std::string bytes(imported.getImage()->getGeometry().getPlanMemorySize(0), ' ');
        for (int round = 0; round < 3; ++round) {
            EXPECT_FALSE(imported.getImage()->readPixels(
                0, 0, 0, 0, imported.getImage()->getGeometry().getPlanNbPixels(), bytes.data()))
                << name << round;
        }
    }
}

TEST(ImportTiff, StopsWithinAPlane) {
    TemporaryFolder const folder;
    writeTiff(folder / "tiled.tif", {makeTiledPage(COMPRESSION_NONE)});
    int nbAsked = 0;
    ImportOptions options;
    options.nbThreads = 1;
    options.isStopped = [&] { return ++nbAsked == 3; };
    EXPECT_EQ("interrupted", getMessageOf(folder / "tiled.tif", options));
    EXPECT_EQ(3, nbAsked);
}

TEST(ImportTiff, WritesAFileOrLeavesTheOldOne) {
    TemporaryFolder const folder;
    fs::path const output = folder / "out.tif";
    importer::ImportReport const report = importer::importTiff(getSample("tf-planar-tiled-be.tif"), output);
    EXPECT_EQ(std::vector<fs::path>{output}, report.outputs);
    EXPECT_EQ(2U, report.changes.size());
    std::string const bytes = readFile(output);
    EXPECT_THROW(importer::importTiff(getSample("tf-u8-large.tif"), output), BaseException);
    EXPECT_THROW(importer::importTiff(output, output, {}), BaseException);
    EXPECT_TRUE(readFile(output) == bytes);
    EXPECT_EQ(std::vector<std::string>{"out.tif"}, listFolder(folder.getPath()));
}

TEST(ImportTiff, DividesAnImageAlongTBeforeZ) {
    VolumeGeometry volume;
    volume.init3d(1000);
    TemporalGeometry sequence;
    sequence.initSequence(100);
    ColorGeometry channels;
    channels.initUser(5);
    auto const parts =
        importer::divideOutput("a/out.tif", *geometry(eIBT_UInt8, 2, 2, volume, channels, sequence));
    ASSERT_EQ(17U, parts.size()); // 6 time steps of 5000 planes in each
    EXPECT_EQ("a/out-00.tif", parts.front().path);
    EXPECT_EQ("a/out-16.tif", parts.back().path);
    EXPECT_EQ(96U, parts.back().part.firstT);
    EXPECT_EQ(4U, parts.back().part.nbT);
    ColorGeometry rgb;
    rgb.initRgb();
    volume.init3d(65536);
    EXPECT_EQ(1U, importer::divideOutput("out.tif", *geometry(eIBT_UInt8, 2, 2, volume, rgb, {})).size());
    volume.init3d(65537);
    EXPECT_EQ(2U, importer::divideOutput("out.tif", *geometry(eIBT_UInt8, 2, 2, volume, rgb, {})).size());
    volume.init3d(40000);
    EXPECT_THROW(importer::divideOutput("out.tif", *geometry(eIBT_UInt8, 2, 2, volume, {}, sequence)),
                 ImportException);
    EXPECT_EQ("out-<INDEX>.tif", importer::getPartPattern("a/out.tif"));
}

TEST(ImportTiff, AnErrorOfTheOutputNamesItAndNoTemporaryFile) {
    TemporaryFolder const folder;
    fs::path const output = folder / "out.tif";
    try {
        importer::importTiff(getSample("py-damaged-tile.tif"), output);
        FAIL() << "no exception";
    } catch (file::VELMOImageFileException const& failure) {
        EXPECT_THAT(failure.what(), HasSubstr("file \"" + output.string() + "\"\n"));
        EXPECT_FALSE(failure.getMessageIds().getAll().empty());
    }
    EXPECT_THAT(listFolder(folder.getPath()), testing::IsEmpty());
}

TEST(ImportTiff, SaysWithWhichOptionsAFileCanBeImported) {
    EXPECT_EQ("", importer::findImportOptions(getSample("pil-cmyk.tif")));
    EXPECT_EQ(" --lossy", importer::findImportOptions(getSample("tf-float64-be.tif")));
    EXPECT_EQ(" --series 0", importer::findImportOptions(getSample("tf-two-series.tif")));
    EXPECT_EQ(std::nullopt, importer::findImportOptions(getSample("tf-complex64.tif")));
    EXPECT_EQ(std::nullopt, importer::findImportOptions(getSample("no such file")));
    EXPECT_TRUE(importer::needsImport(getSample("pil-cmyk.tif")));
    EXPECT_TRUE(importer::needsImport(getSample("tf-tiled-u1-le.tif")));
    EXPECT_FALSE(importer::needsImport(getSample("pil-u2.tif")));
    EXPECT_EQ("\n  series 0: 5 x 4, uint8, grey; 3 pages: directories 0-1, 3\n  series 1: Z 2",
              importer::describeSeries({{0, {0, 1, 3}, "5 x 4, uint8, grey"}, {1, {}, "Z 2"}}));
    EXPECT_EQ("Z 3, C 2, T 2", importer::findFlattenedAxes(getSample("tf-ome-be.ome.tif")));
    EXPECT_EQ(std::nullopt, importer::findFlattenedAxes(getSample("tf-tiled-stack.tif")));
}

} // namespace velmo::test
