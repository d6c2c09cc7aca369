// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CapturedLog.h"
#include "planes/TiffPlaneFixture.h"

#include <VELMOImageFile/VELMOImageFileLog.h>
#include <VELMOUtil/BaseException.h>
#include <boost/filesystem/operations.hpp>
#include <stdexcept>

namespace velmo::image::file {

namespace {

using TiffCreationFailureTest = TiffTest;

/// A calibration that does not let itself be written.
template <class Thrown>
class UnwritableCalibration : public GeometricCalibration {
  public:
    explicit UnwritableCalibration(Thrown const& thrown) : _thrown(thrown) {}
    BoolResult write(BaseOArchive& /*archive*/) const override { throw _thrown; }

  private:
    Thrown _thrown;
};

template <class Thrown>
BoolResult createWithUnwritable(path const& path, Thrown const& thrown) {
    TIFF* pTiff = nullptr;
    boost::shared_ptr<GeometricCalibration const> const pCalibration =
        boost::make_shared<UnwritableCalibration<Thrown>>(thrown);
    BoolResult const result =
        createTiffFile(path, *makeGeometry(eIBT_UInt8, {4, 3}), pCalibration, eTC_None, pTiff);
    EXPECT_EQ(pTiff, nullptr);
    return result;
}

std::string createLimited(path const& path, ImageGeometryPtr const& pGeometry, vlUInt64 limit,
                          eTiffCompression compression = eTC_None) {
    return withLimit(RLIMIT_FSIZE, limit, [&] {
        TIFF* pTiff = nullptr;
        std::string const text = toText(createTiffFile(path, *pGeometry, nullptr, compression, pTiff));
        return pTiff == nullptr && countDescriptors(path) == 0 ? text : text + " (still open)";
    });
}

std::string initFailed(vlUInt64 directory, path const& path) {
    return "Failed to initialize strip data of directory " + std::to_string(directory) + " for file " +
           path.string() + "\n";
}

} // namespace

TEST_F(TiffCreationFailureTest, AFolderThatIsNotThereIsACreationFailure) {
    path const nowhere = _folder / "nowhere" / "planes.tif";
    TIFF* pTiff = nullptr;
    BoolResult const result =
        createTiffFile(nowhere, *makeGeometry(eIBT_UInt8, {4, 3}), nullptr, eTC_None, pTiff);
    EXPECT_THAT(result, FailsInWords("Failed to create tiff image file " + nowhere.string() + "\n"));
    EXPECT_THAT(result, FailsLike("No such file or directory"));
    EXPECT_EQ(pTiff, nullptr);
}

TEST_F(TiffCreationFailureTest, AHeaderThatCannotBeWrittenIsACreationFailure) {
    EXPECT_THAT(
        createLimited(_path, makeGeometry(eIBT_UInt8, {4, 3}), 0),
        testing::StartsWith("Failed to create tiff image file " + _path.string() + "\nTiff Error : "));
}

TEST_F(TiffCreationFailureTest, AStripThatDoesNotFitNamesItsDirectory) {
    ImageGeometryPtr const pGeometry = makeGeometry(eIBT_UInt8, {100, 200, 4});
    EXPECT_THAT(createLimited(_path, pGeometry, 10000), testing::StartsWith(initFailed(0, _path)));
    EXPECT_THAT(createLimited(_path, pGeometry, 60000), testing::StartsWith(initFailed(2, _path)));
    EXPECT_TRUE(boost::filesystem::exists(_path));
    EXPECT_THAT(createLimited(_path, pGeometry, 60000),
                testing::EndsWith("Write error at scanline 81: File too large"));
}

TEST_F(TiffCreationFailureTest, ACompressedStripThatDoesNotFitNamesItsDirectory) {
    ImageGeometryPtr const pGeometry = makeColorGeometry(eCGT_Rgb, eIBT_UInt8, {100, 2000, 40});
    for (eTiffCompression const compression : {eTC_Lzw, eTC_Deflate}) {
        EXPECT_THAT(createLimited(_path, pGeometry, 100, compression),
                    testing::StartsWith(initFailed(0, _path)));
    }
}

TEST_F(TiffCreationFailureTest, ADirectoryThatDoesNotFitIsNamedByItsPage) {
    EXPECT_THAT(
        createLimited(_path, makeGeometry(eIBT_UInt8, {100, 10}), 1008),
        testing::StartsWith("Error while writing directory T=0 C=0 Z=0 for file " + _path.string() + "\n"));
    EXPECT_THAT(
        createLimited(_path, makeColorGeometry(eCGT_Rgb, eIBT_UInt8, {100, 10}), 3008),
        testing::StartsWith("Error while writing directory T=0 Z=0 for file " + _path.string() + "\n"));
}

TEST_F(TiffCreationFailureTest, AnExceptionIsAFailureWithItsTextIfItHasOne) {
    writeFile(_path, "an old file");
    std::string const text = "An exception has been thrown while creating file " + _path.string() + "\n";
    EXPECT_THAT(createWithUnwritable(_path, std::runtime_error("no pen")), FailsWith(text + "no pen"));
    EXPECT_THAT(createWithUnwritable(_path, 42), FailsWith(text + "Unknown exception"));
    EXPECT_EQ(countDescriptors(_path), 0U);
    EXPECT_EQ(readFile(_path), "an old file");
}

TEST_F(TiffCreationFailureTest, NothingIsLogged) {
    velmo::test::CapturedLog const log(getVELMOImageFileLogger());
    TIFF* pTiff = nullptr;
    EXPECT_FALSE(
        createTiffFile(_folder.getPath(), *makeGeometry(eIBT_UInt8, {4, 3}), nullptr, eTC_None, pTiff));
    EXPECT_FALSE(createTiffFile(_path, *makeGeometry(eIBT_UInt8, {1, 1, 32768}), nullptr, eTC_None, pTiff));
    EXPECT_FALSE(createWithUnwritable(_path, 42));
    EXPECT_TRUE(log.getRecords().empty());
}

TEST_F(TiffCreationFailureTest, ATagThatLibtiffRefusesIsNamed) {
    TIFF* pTiff = nullptr;
    EXPECT_THAT(
        createTiffFile(_path, *makeGeometry(eIBT_UInt8, {4, 0}), nullptr, eTC_None, pTiff),
        FailsInWords("Error while setting tiff tag TIFFTAG_ROWSPERSTRIP for file " + _path.string() + "\n"));
    EXPECT_EQ(countDescriptors(_path), 0U);
}

namespace {

/// The tag that libtiff is to refuse, and how many values of it are accepted before.
struct TagRefusal {
    std::uint32_t tag = 0;
    int nbAccepted = 0;
    TIFFVSetMethod accept = nullptr;
    TIFFExtendProc parentExtender = nullptr;
};
TagRefusal g_tagRefusal;

int setUnlessRefused(TIFF* pTiff, std::uint32_t tag, va_list values) {
    if (tag == g_tagRefusal.tag && g_tagRefusal.nbAccepted-- <= 0) {
        TIFFErrorExt(nullptr, "TIFFSetField", "tag %u is refused", static_cast<unsigned int>(tag));
        return 0;
    }
    return g_tagRefusal.accept(pTiff, tag, values);
}

/// Stands between the tags of every new directory and libtiff.
void extendByRefusal(TIFF* pTiff) {
    if (g_tagRefusal.parentExtender != nullptr) {
        g_tagRefusal.parentExtender(pTiff);
    }
    TIFFTagMethods* const pMethods = TIFFAccessTagMethods(pTiff);
    g_tagRefusal.accept = pMethods->vsetfield;
    pMethods->vsetfield = setUnlessRefused;
}

/// A tag of a created file: whether further directories have it as well, and how often libtiff sets it by
/// itself in each of them.
struct CreatedTag {
    std::uint32_t tag;
    char const* name;
    bool bEach = true;
    int nbOfLibtiff = 0;
    friend void PrintTo(CreatedTag const& created, std::ostream* pStream) { *pStream << created.name; }
};

constexpr CreatedTag g_createdTags[] = {{TIFFTAG_SOFTWARE, "SOFTWARE", false},
                                        {TIFFTAG_DATETIME, "DATETIME", false},
                                        {TIFFTAG_PHOTOSHOP, "PHOTOSHOP", false},
                                        {65000, "USERPROPERTIES", false},
                                        {TIFFTAG_SUBFILETYPE, "SUBFILETYPE"},
                                        {TIFFTAG_IMAGEWIDTH, "IMAGEWIDTH"},
                                        {TIFFTAG_IMAGELENGTH, "IMAGELENGTH"},
                                        {TIFFTAG_BITSPERSAMPLE, "BITSPERSAMPLE"},
                                        {TIFFTAG_SAMPLESPERPIXEL, "SAMPLESPERPIXEL"},
                                        {TIFFTAG_PHOTOMETRIC, "PHOTOMETRIC"},
                                        {TIFFTAG_PLANARCONFIG, "PLANARCONFIG"},
                                        {TIFFTAG_COMPRESSION, "COMPRESSION", true, 1},
                                        {TIFFTAG_ORIENTATION, "ORIENTATION"},
                                        {TIFFTAG_PAGENUMBER, "PAGENUMBER"},
                                        {TIFFTAG_PAGENAME, "PAGENAME"},
                                        {TIFFTAG_SAMPLEFORMAT, "SAMPLEFORMAT"},
                                        {TIFFTAG_ROWSPERSTRIP, "ROWSPERSTRIP"}};

/// Creates files of two RGB directories while libtiff refuses a tag.
class TiffCreationTagFailureTest : public TiffTest, public testing::WithParamInterface<CreatedTag> {
  protected:
    TiffCreationTagFailureTest() {
        OpenedTiff const installs(_path); // the module's extender, above which the refusing one stands
        g_tagRefusal = {};
        g_tagRefusal.parentExtender = TIFFSetTagExtender(extendByRefusal);
    }
    ~TiffCreationTagFailureTest() override { TIFFSetTagExtender(g_tagRefusal.parentExtender); }

    BoolResult create(int nbAccepted) {
        g_tagRefusal.tag = GetParam().tag;
        g_tagRefusal.nbAccepted = nbAccepted;
        TIFF* pTiff = nullptr;
        BoolResult result = createTiffFile(_path, *makeColorGeometry(eCGT_Rgb, eIBT_UInt8, {4, 3, 2}),
                                           nullptr, "text", eTC_Lzw, pTiff);
        g_tagRefusal.tag = 0;
        EXPECT_EQ(pTiff != nullptr, static_cast<bool>(result));
        TiffPtr const closes(pTiff);
        return result;
    }

    std::string getExpected() const {
        return "Error while setting tiff tag TIFFTAG_" + std::string(GetParam().name) + " for file " +
               _path.string() + "\nTiff Error : tag " + std::to_string(GetParam().tag) + " is refused";
    }
};

} // namespace

TEST_P(TiffCreationTagFailureTest, ARefusedTagIsNamed) {
    EXPECT_THAT(create(GetParam().nbOfLibtiff), FailsWith(getExpected()));
    EXPECT_EQ(countDescriptors(_path), 0U);
    EXPECT_TRUE(boost::filesystem::exists(_path)); // as far as it came
}

TEST_P(TiffCreationTagFailureTest, ATagThatTheSecondDirectoryRefusesIsNamedAndTheFirstOneIsThere) {
    if (!GetParam().bEach) {
        EXPECT_THAT(create(1), Succeeds()); // it is not set a second time
        return;
    }
    EXPECT_THAT(create(2 * GetParam().nbOfLibtiff + 1), FailsWith(getExpected()));
    EXPECT_EQ(countDescriptors(_path), 0U);
    EXPECT_EQ(readDirectoryPixels(_path, 0), std::string(36, '\0'));
}

INSTANTIATE_TEST_SUITE_P(Tags, TiffCreationTagFailureTest, testing::ValuesIn(g_createdTags),
                         testing::PrintToStringParamName());

namespace {

using TiffCreationFlushTest = TiffTest;

/// Without a time step no directory is written, and the tags of the file are left to the flush.
ImageGeometryPtr makeWithoutSteps() {
    return makeGeometry(eIBT_UInt8, {4, 3, 1, 1, 0});
}

std::string flushFailed(path const& path) {
    return "Error while flushing tiff data for file " + path.string() + "\nTiff Error : ";
}

} // namespace

TEST_F(TiffCreationFlushTest, ADirectoryThatOnlyTheFlushWritesIsInTheFileBeforeItsClose) {
    Planes const planes = createPlanes(_path, makeWithoutSteps());
    EXPECT_THAT(readFile(_path), testing::HasSubstr("VELMO_Library"));
}

TEST_F(TiffCreationFlushTest, AFlushThatFindsNoSpaceIsAFailureOfTheCreation) {
    for (bool const bText : {false, true}) {
        constexpr vlUInt64 nbHeaderBytes = 8;
        std::string const text = withLimit(RLIMIT_FSIZE, nbHeaderBytes, [&] {
            TIFF* pTiff = nullptr;
            BoolResult const result =
                bText ? createTiffFile(_path, *makeWithoutSteps(), nullptr, "text", eTC_None, pTiff)
                      : createTiffFile(_path, *makeWithoutSteps(), nullptr, eTC_None, pTiff);
            return toText(result) + (pTiff == nullptr && countDescriptors(_path) == 0 ? "" : " (open)");
        });
        EXPECT_THAT(text, testing::StartsWith(flushFailed(_path)));
        EXPECT_THAT(text, testing::Not(testing::HasSubstr("(open)")));
    }
}

} // namespace velmo::image::file
