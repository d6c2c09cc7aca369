// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CheckedFixture.h"
#include "ForeignFile.h"
#include "ImageBytes.h"

#include <VELMOImage/DiskImage.h>
#include <VELMOImage/ImageAccessor.h>
#include <atomic>
#include <boost/filesystem/operations.hpp>
#include <random>
#include <set>

namespace velmo::image::file {

namespace {

namespace fs = boost::filesystem;
using testing::HasSubstr;
using velmo::test::makeMemoryImage;
using velmo::test::makePixels;

constexpr vlUInt64 g_threads[] = {2, 8};

TiffReadOptions readWith(vlUInt64 nbThreads, bool bTolerant = false) {
    TiffReadOptions options;
    options.threads = useThreads(nbThreads);
    options.bTolerant = bTolerant;
    return options;
}

TiffWriteOptions writeWith(vlUInt64 nbThreads, eTiffCompression compression) {
    TiffWriteOptions options;
    options.threads = useThreads(nbThreads);
    options.compression = compression;
    return options;
}

/// Loads with several threads give what one thread gives. A tolerant load logs a warning for each run of
/// rows; their number may differ.
void compareLoads(path const& path) {
    for (bool const bTolerant : {false, true}) {
        Loaded const one = loadChecked(path, readWith(1, bTolerant));
        for (vlUInt64 const nbThreads : g_threads) {
            Loaded const several = loadChecked(path, readWith(nbThreads, bTolerant));
            EXPECT_TRUE(several.pixels == one.pixels) << nbThreads << " threads: " << several.failure;
            EXPECT_EQ(several.failure, one.failure) << nbThreads;
            EXPECT_EQ(several.warnings.empty(), one.warnings.empty()) << nbThreads;
        }
    }
}

/// All planes of an open file, or the texts of failures, read by `nbThreads` threads at once.
std::vector<PlaneRead> readPlanes(PolicyFile& file, unsigned int nbThreads) {
    BaseImageGeometry const& geometry = file.getGeometry();
    std::vector<PlaneRead> planes(geometry.getNbPlans());
    std::atomic<vlUInt64> next{0};
    auto const work = [&](unsigned int /*thread*/) {
        for (vlUInt64 number = next++; number < planes.size(); number = next++) {
            PlanIndexes const plane = geometry.getPlanIndexes(number);
            planes[number] = file.readPlane(plane.z, plane.c, plane.t);
        }
    };
    nbThreads == 1 ? work(0) : onThreads(nbThreads, work);
    return planes;
}

void compareAccessors(path const& path) {
    PolicyFile one(path, eTiffPolicy::Strict);
    if (!one.getOpening() || one.getGeometry().getFullMemorySize() > 1000000) {
        return;
    }
    std::vector<PlaneRead> const expected = readPlanes(one, 1);
    PolicyFile several(path, eTiffPolicy::Strict);
    std::vector<PlaneRead> const read = readPlanes(several, 8);
    for (std::size_t plane = 0; plane < expected.size(); ++plane) {
        EXPECT_TRUE(read[plane].pixels == expected[plane].pixels) << "plane " << plane;
        EXPECT_EQ(read[plane].failure, expected[plane].failure) << "plane " << plane;
    }
}

/// The bytes of a file without its time.
std::string readTimeless(path const& path) {
    std::string bytes = readFile(path);
    std::string const time = findText(openPlain(path), TIFFTAG_DATETIME).value();
    return bytes.replace(bytes.find(time), time.size(), "");
}

/// An image whose pixels are zero, except for planes that cannot be read.
class UnreadablePlanes : public BaseImage {
  public:
    UnreadablePlanes(BaseImageGeometry const& geometry, std::set<vlUInt64> planes)
        : _planes(std::move(planes)) {
        setGeometry(geometry);
    }

  private:
    BoolResult readPixelsDerived(vlUInt64 z, vlUInt64 /*c*/, vlUInt64 /*t*/, vlUInt64 /*pixelStart*/,
                                 vlUInt64 /*nbPixels*/, void* /*buffer*/) const override {
        return _planes.count(z) == 0 ? success() : failure("no pixels in plane " + std::to_string(z));
    }
    BoolResult writePixelsDerived(vlUInt64, vlUInt64, vlUInt64, vlUInt64, vlUInt64, void const*) override {
        return failure("read-only");
    }

    std::set<vlUInt64> _planes;
};

class ParallelCalls : public TiffTest {
  protected:
    /// Saves with several threads; the file is that of one thread.
    void compareSaves(ImageConstPtr const& pImage, eTiffCompression compression) const {
        path const expected = _folder / "expected.tif";
        fs::remove(expected); // the file system may flush a file that replaces another one
        saveTiffImageFile(expected, pImage, writeWith(1, compression));
        for (vlUInt64 const nbThreads : g_threads) {
            fs::remove(_path);
            saveTiffImageFile(_path, pImage, writeWith(nbThreads, compression));
            EXPECT_TRUE(readTimeless(_path) == readTimeless(expected)) << nbThreads << " threads";
        }
    }

    /// 12 planes of 8 strips.
    void writeDeflate(vlUInt64 nbPlanes = 12) const {
        std::vector<Directory> pages(nbPlanes, stripDirectory(64, 64, 8, COMPRESSION_ADOBE_DEFLATE));
        for (std::size_t page = 0; page < pages.size(); ++page) {
            pages[page].pixels = countingBytes(64 * 64, static_cast<unsigned int>(page));
        }
        writeTiff(_path, pages);
    }

    /// Makes a strip undecodable.
    void spoil(std::uint16_t directory, std::uint32_t strip) const {
        std::uint64_t offset = 0;
        {
            TiffPtr const pTiff = openPlain(_path, "r", directory);
            offset = TIFFGetStrileOffset(pTiff.get(), strip);
        }
        std::string bytes = readFile(_path);
        writeFile(_path, bytes.replace(offset, 4, "\xFF\xFF\xFF\xFF"));
    }
};

} // namespace

TEST_F(ParallelCalls, LoadsOfEachForeignFileGiveTheSame) {
    for (path const& fixture : velmo::test::findForeignTiffs()) {
        SCOPED_TRACE(fixture.filename().string());
        compareLoads(fixture);
        compareAccessors(fixture);
    }
}

TEST_F(ParallelCalls, LoadsOfDamagedFilesGiveTheSame) {
    std::mt19937 random(20261122);
    velmo::test::forEachDamagedTiff(_folder.getPath(), 600, random,
                                    [](path const& damaged, unsigned int /*number*/) {
                                        compareLoads(damaged);
                                        compareAccessors(damaged);
                                    });
}

TEST_F(ParallelCalls, SavesOfEachKindGiveTheSameFile) {
    for (eTiffCompression const compression : {eTC_None, eTC_Lzw, eTC_Deflate}) {
        for (vlUInt64 type = eIBT_Int8; type <= eIBT_Label8; ++type) {
            auto const bufferType = static_cast<eImageBufferType>(type);
            SCOPED_TRACE(std::to_string(compression) + ", type " + std::to_string(type));
            auto const pGrey = makeGeometry(bufferType, {90, 95, 2, 2, 2});
            compareSaves(makeMemoryImage(*pGrey, makePixels(*pGrey)), compression);
            for (eColorGeometryType const color : {eCGT_Rgb, eCGT_Rgba}) {
                auto const pColor = makeColorGeometry(color, bufferType, {90, 95, 2, 1, 1});
                compareSaves(makeMemoryImage(*pColor, makePixels(*pColor)), compression);
            }
        }
    }
}

TEST_F(ParallelCalls, ATypeForEachTimeStepIsEncodedAsSuch) {
    auto const pGeometry = velmo::test::makeHeterogeneous();
    auto const pImage = makeMemoryImage(*pGeometry, makePixels(*pGeometry));
    compareSaves(pImage, eTC_Deflate);
    EXPECT_EQ(loadChecked(_path).pixels.has_value(), true);
}

/// Encoded strips are larger and smaller than those that libtiff has room for at first.
TEST_F(ParallelCalls, NoiseAndBlackPlanesGiveTheSameFile) {
    auto const pGeometry = makeGeometry(eIBT_UInt8, {1000, 200, 6});
    std::string pixels = makePixels(*pGeometry);
    std::mt19937 random(7);
    std::generate(pixels.begin(), pixels.begin() + 400000, [&] { return static_cast<char>(random()); });
    std::fill(pixels.begin() + 600000, pixels.begin() + 800000, '\0');
    for (eTiffCompression const compression : {eTC_Lzw, eTC_Deflate}) {
        compareSaves(makeMemoryImage(*pGeometry, pixels), compression);
    }
}

TEST_F(ParallelCalls, ImagesOnDiskAreSavedByThreadsThatReadThem) {
    auto const pGeometry = makeGeometry(eIBT_UInt16, {100, 90, 40});
    std::string const pixels = makePixels(*pGeometry);
    path const source = _folder / "source.tif";
    saveTiffImageFile(source, makeMemoryImage(*pGeometry, pixels), writeWith(1, eTC_Lzw));
    for (eTiffCompression const compression : {eTC_None, eTC_Deflate}) {
        compareSaves(openTiffImageFile(source), compression);
        EXPECT_EQ(velmo::test::readPixels(*loadTiffImageFile(_path)), pixels);
    }
}

TEST_F(ParallelCalls, ColourImagesOnDiskAreSavedPageByPage) {
    for (eColorGeometryType const color : {eCGT_Rgb, eCGT_Rgba}) {
        auto const pGeometry = makeColorGeometry(color, eIBT_UInt16, {70, 60, 5, 1, 2});
        std::string const pixels = makePixels(*pGeometry);
        path const source = _folder / "source.tif";
        saveTiffImageFile(source, makeMemoryImage(*pGeometry, pixels), writeWith(1, eTC_Deflate));
        for (eTiffCompression const compression : {eTC_None, eTC_Lzw}) {
            compareSaves(openTiffImageFile(source), compression);
            EXPECT_EQ(velmo::test::readPixels(*loadTiffImageFile(_path)), pixels);
        }
    }
}

// The failure is that of the first channel, as without the pages.
TEST_F(ParallelCalls, APageThatCannotBeDecodedIsReportedAsItsFirstChannel) {
    auto const pGeometry = makeColorGeometry(eCGT_Rgb, eIBT_UInt8, {64, 64, 6});
    saveTiffImageFile(_path, makeMemoryImage(*pGeometry, makePixels(*pGeometry)), writeWith(1, eTC_Deflate));
    spoil(4, 0);
    spoil(5, 0);
    DiskImagePtr const pImage = openTiffImageFile(_path);
    for (vlUInt64 const nbThreads : {1U, 4U}) {
        try {
            saveTiffImageFile(_folder / "saved.tif", pImage, writeWith(nbThreads, eTC_Lzw));
            ADD_FAILURE();
        } catch (VELMOImageFileException const& exception) {
            EXPECT_THAT(exception.what(), HasSubstr("strip 0 for directory z=4, c=0, t=0"));
        }
    }
}

TEST_F(ParallelCalls, AFolderIsLoadedWithTheSamePixelsAndFailures) {
    fs::path const folder = _folder / "planes";
    fs::create_directory(folder);
    std::string pixels;
    for (unsigned int z = 0; z < 9; ++z) {
        Directory page = stripDirectory(64, 64, 8, COMPRESSION_LZW);
        page.pixels = countingBytes(64 * 64, z);
        pixels += page.pixels;
        writeTiff(folder / ("z" + std::to_string(z) + ".tif"), {page});
    }
    for (vlUInt64 const nbThreads : {1U, 2U, 8U}) {
        EXPECT_EQ(velmo::test::readPixels(*loadTiffImageFiles(folder, "z<INDEX>.tif", readWith(nbThreads))),
                  pixels);
    }
    writeFile(folder / "z7.tif", readFile(folder / "z7.tif").substr(0, 8) + std::string(1000, '\xFF') +
                                     readFile(folder / "z7.tif").substr(1008));
    std::vector<std::string> failures;
    for (vlUInt64 const nbThreads : {1U, 2U, 8U}) {
        try {
            loadTiffImageFiles(folder, "z<INDEX>.tif", readWith(nbThreads));
        } catch (std::exception const& exception) {
            failures.emplace_back(exception.what());
        }
    }
    EXPECT_THAT(failures, testing::SizeIs(3));
    EXPECT_THAT(failures, testing::Each(testing::AllOf(HasSubstr("z7.tif"), failures.front())));
}

TEST_F(ParallelCalls, ALoadReportsTheFirstPlaneThatCannotBeDecoded) {
    writeDeflate();
    spoil(9, 1);
    spoil(5, 7);
    spoil(5, 3);
    spoil(11, 0);
    for (vlUInt64 const nbThreads : {1U, 2U, 3U, 8U}) {
        std::string const failure = loadChecked(_path, readWith(nbThreads)).failure;
        EXPECT_THAT(failure, HasSubstr("strip 3 for directory z=5, c=0, t=0")) << nbThreads;
    }
    EXPECT_EQ(countDescriptors(_path), 0U);
}

TEST_F(ParallelCalls, AFailedLoadIsOneRecordInTheLog) {
    writeDeflate();
    for (std::uint16_t directory = 0; directory < 12; ++directory) {
        spoil(directory, 0);
    }
    velmo::test::CapturedLog const log(getVELMOImageFileLogger());
    EXPECT_ANY_THROW(loadTiffImageFile(_path, readWith(8)));
    EXPECT_EQ(log.getRecords().size(), 1U);
}

TEST_F(ParallelCalls, APlaneThatIsDividedIsLoadedWhole) {
    for (std::uint16_t const samples : {std::uint16_t{1}, std::uint16_t{3}}) {
        Directory page = stripDirectory(501, 403, 10, COMPRESSION_LZW, samples);
        page.pixels = countingBytes(page.countBytes(), 3);
        writeTiff(_path, {page});
        compareLoads(_path);
        spoil(0, 30);
        spoil(0, 11);
        compareLoads(_path);
    }
}

TEST_F(ParallelCalls, ASaveReportsTheFirstPlaneThatTheImageCannotRead) {
    for (eTiffCompression const compression : {eTC_None, eTC_Deflate}) {
        for (vlUInt64 const nbThreads : {1U, 2U, 8U}) {
            auto const pGeometry = makeGeometry(eIBT_UInt16, {30, 20, 50});
            auto const pImage =
                boost::make_shared<UnreadablePlanes>(*pGeometry, std::set<vlUInt64>{31, 17, 49});
            velmo::test::CapturedLog const log(getVELMOImageFileLogger());
            try {
                saveTiffImageFile(_path, pImage, writeWith(nbThreads, compression));
                ADD_FAILURE();
            } catch (VELMOImageFileException const& exception) {
                EXPECT_THAT(exception.what(), HasSubstr("no pixels in plane 17"));
            }
            EXPECT_EQ(log.getRecords().size(), 1U);
            EXPECT_TRUE(fs::is_empty(_folder.getPath()));
        }
    }
}

TEST_F(ParallelCalls, ThreadsOfOneImageShareADescriptor) {
    writeDeflate();
    DiskImagePtr const pImage = openTiffImageFile(_path);
    onThreads(8, [&](unsigned int thread) {
        std::vector<std::uint8_t> plane(64 * 64);
        for (vlUInt64 round = 0; round < 30; ++round) {
            vlUInt64 const z = (thread + 5 * round) % 12;
            EXPECT_THAT(pImage->readPixels(z, 0, 0, thread, 1000, plane.data()), Succeeds());
            EXPECT_EQ(std::string(plane.begin(), plane.begin() + 1000),
                      countingBytes(64 * 64, static_cast<unsigned int>(z)).substr(thread, 1000));
        }
    });
    EXPECT_EQ(countDescriptors(_path), 1U);
}

TEST_F(ParallelCalls, AFileThatIsRenamedWhileItIsOpenIsReadByNewThreadsToo) {
    writeDeflate();
    DiskImagePtr const pImage = openTiffImageFile(_path);
    fs::rename(_path, _folder / "away.tif");
    writeTiff(_path, {stripDirectory(64, 64)});
    onThreads(4, [&](unsigned int thread) {
        std::string plane(64 * 64, '\0');
        EXPECT_THAT(pImage->readPixels(thread, 0, 0, 0, plane.size(), plane.data()), Succeeds());
        EXPECT_EQ(plane, countingBytes(64 * 64, thread));
    });
}

TEST_F(ParallelCalls, AnImageForWritingKeepsOneHandle) {
    auto const pGeometry = makeGeometry(eIBT_UInt8, {64, 64, 8});
    saveTiffImageFile(_path, makeMemoryImage(*pGeometry, makePixels(*pGeometry)), writeWith(1, eTC_Deflate));
    DiskImagePtr const pImage = openTiffImageFile(_path, TiffReadOptions(), eIAM_ReadWrite);
    onThreads(4, [&](unsigned int thread) {
        for (vlUInt64 round = 0; round < 20; ++round) {
            std::string const pixels = countingBytes(64 * 64, static_cast<unsigned int>(thread + 7 * round));
            std::string back(pixels.size(), '\0');
            EXPECT_THAT(pImage->writePixels(thread, 0, 0, 0, pixels.size(), pixels.data()), Succeeds());
            EXPECT_THAT(pImage->readPixels(thread, 0, 0, 0, back.size(), back.data()), Succeeds());
            EXPECT_EQ(back, pixels);
        }
    });
}

} // namespace velmo::image::file
