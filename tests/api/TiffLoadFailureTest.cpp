// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "PrivateDisk.h"
#include "TiffFunctions.h"

#include <VELMOImageFile/VELMOImageFileException.h>
#include <boost/filesystem/operations.hpp>
#include <sys/resource.h>

namespace velmo::test {

namespace fs = boost::filesystem;
using namespace image;
using namespace image::file;

namespace {

class TiffLoadFailure : public TiffFunctions {
  protected:
    static bool isOpen(Load const& load) { return load.name == std::string("open"); }
};

std::string stripFailed(int z, int c, int t, fs::path const& path) {
    return "Failed to read data of strip 0 for directory z=" + std::to_string(z) +
           ", c=" + std::to_string(c) + ", t=" + std::to_string(t) + " of file " + path.string() +
           "\nTiff Error : ";
}

} // namespace

TEST_F(TiffLoadFailure, AMissingFileOrAFolderIsTheLoadErrorWithTheSystemsWords) {
    fs::path const missing = _folder / "missing.tif";
    fs::path const& folder = _folder.getPath();
    for (Load const& load : getLoads()) {
        SCOPED_TRACE(load.name);
        expectRaisedText([&] { load.call(missing); },
                         loadError(missing, openFailed(missing, "No such file or directory")));
        expectRaisedText([&] { load.call(folder); }, loadError(folder, openFailed(folder, "Is a directory")));
    }
}

TEST_F(TiffLoadFailure, AFileThatIsNoTiffIsTheLoadErrorAndStaysAsItIs) {
    for (std::string const& bytes : {std::string(), std::string("II*"), makeBytes(1000)}) {
        writeFile(_path, bytes);
        for (Load const& load : getLoads()) {
            SCOPED_TRACE(load.name);
            expectRaisedBeginning(
                [&] { load.call(_path); },
                loadError(_path, "Failed to open tiff image file " + _path.string() + "\nTiff Error : "));
            EXPECT_EQ(readFile(_path), bytes);
            EXPECT_EQ(countOpen(_path), 0);
        }
    }
}

TEST_F(TiffLoadFailure, QuotesAndAmpersandsAreMarkedInTheQuotedPathAndBareInTheNestedText) {
    std::string const folder = _folder.getPath().string() + '/';
    for (Load const& load : getLoads()) {
        SCOPED_TRACE(load.name);
        fs::path const path = folder + "a\"b&.tif";
        expectRaisedText([&] { load.call(path); }, "Error while loading tiff image file \"" + folder +
                                                       "a&\"b&&.tif\"\n" +
                                                       openFailed(path, "No such file or directory"));
    }
}

#if !defined(__clang__)
TEST_F(TiffLoadFailure, ARaiseNamesThePublicFunctionInFull) {
    std::string const main =
        "void velmo::image::file::loadTiffImageFile(const boost::filesystem::path&, velmo::image::ImagePtr&, "
        "const eTiffDirectoryMode&, const eTiffBufferMode&)";
    std::string const open =
        "velmo::image::DiskImagePtr velmo::image::file::openTiffImageFile(const boost::filesystem::path&, "
        "const eTiffDirectoryMode&, const eTiffBufferMode&)";
    for (Load const& load : getLoads()) {
        auto const raised = expectRaised([&] { load.call("/missing"); });
        EXPECT_EQ(raised ? raised->function : std::string(), isOpen(load) ? open : main);
    }
}
#endif

TEST_F(TiffLoadFailure, ARaiseCarriesTheLineOfTheStepThatFailed) {
    auto const lineOf = [&](boost::filesystem::path const& path) {
        try {
            loadTiffImageFile(path, eTBM_Default);
        } catch (VELMOImageFileException const& exception) {
            return exception.getLine();
        }
        return 0U;
    };
    RawDirectory cut = greyDirectory(4, 3, 8);
    cut.pixels.resize(5);
    writeRawTiff(_folder / "cut.tif", {cut});
    EXPECT_NE(lineOf(_folder / "missing"), 0U);
    EXPECT_NE(lineOf(_folder / "cut.tif"), 0U);
    EXPECT_NE(lineOf(_folder / "missing"), lineOf(_folder / "cut.tif"));
}

// What stays in the pointer

TEST_F(TiffLoadFailure, AFileThatDoesNotOpenLeavesThePointerAsItWas) {
    ImagePtr const pFormer = makeMemoryImage(*_pGeometry, _pixels);
    for (ImagePtr const& pKept : {pFormer, ImagePtr()}) {
        ImagePtr pImage = pKept;
        expectRaised([&] { loadTiffImageFile(_folder / "missing", pImage, eTDM_Volume, eTBM_Default); });
        EXPECT_EQ(pImage, pKept);
        expectRaised([&] { loadTiffImageFile(_folder / "missing", eTBM_Default, pImage); });
        EXPECT_EQ(pImage, pKept);
    }
    EXPECT_EQ(readPixels(*pFormer), _pixels);
}

// T is outermost, then C, then Z: the first plane that fails ends the load, and those before it are loaded.
TEST_F(TiffLoadFailure, AfterAFailureThePointerHoldsTheNewImageWithThePlanesBeforeIt) {
    saveExample(eTC_Lzw);
    for (std::uint16_t plane = 8; plane-- > 0;) {
        SCOPED_TRACE(plane);
        spoilStrip(_path, plane);
        PlanIndexes const at = _pGeometry->getPlanIndexes(plane);
        std::string const text =
            stripFailed(static_cast<int>(at.z), static_cast<int>(at.c), static_cast<int>(at.t), _path);
        ImagePtr const pFormer = makeMemoryImage(*makeSequence(eIBT_UInt8), std::string(48, 'x'));
        for (bool const bWithDirectoryMode : {false, true}) {
            ImagePtr pImage = pFormer;
            expectRaisedBeginning(
                [&] {
                    bWithDirectoryMode ? loadTiffImageFile(_path, pImage, eTDM_Volume, eTBM_Default)
                                       : loadTiffImageFile(_path, eTBM_Default, pImage);
                },
                loadError(_path, text));
            ASSERT_NE(pImage, pFormer);
            std::string const loaded = _pixels.substr(0, 30U * plane);
            EXPECT_EQ(readPixels(*pImage).substr(0, loaded.size()), loaded);
            EXPECT_EQ(readPixels(*pImage).substr(30U * (plane + 1)), std::string(30U * (7U - plane), '\0'));
            EXPECT_EQ(countOpen(_path), 0);
        }
        expectRaisedBeginning([&] { loadTiffImageFile(_path, eTBM_Default); }, loadError(_path, text));
        EXPECT_EQ(countOpen(_path), 0);
    }
}

TEST_F(TiffLoadFailure, OfInterleavedPagesThoseBeforeAFailureAreLoadedWithAllTheirChannels) {
    auto const pGeometry = makeColorGeometry(eCGT_Rgb, 2, 2);
    ImagePtr const pSaved = makeMemoryImage(*pGeometry, makePixels(*pGeometry));
    saveTiffImageFile(_path, pSaved, eTC_Lzw);
    spoilStrip(_path, 3);
    spoilStrip(_path, 2);
    ImagePtr pImage;
    expectRaisedBeginning([&] { loadTiffImageFile(_path, eTBM_Default, pImage); },
                          loadError(_path, stripFailed(0, 0, 1, _path)));
    ASSERT_TRUE(pImage);
    EXPECT_EQ(readPixels(*pImage).substr(0, 6 * 30), makePixels(*pGeometry).substr(0, 6 * 30));
    EXPECT_EQ(countOpen(_path), 0);
}

// Files that cannot be loaded, or opened

TEST_F(TiffLoadFailure, PackedBitsLoadAndDoNotOpen) {
    std::vector<Directory> pages = makePages(1);
    pages[0].bits = 1;
    pages[0].pixels = "\x50\xA0\xF0";
    writeTiff(_path, pages);
    for (Load const& load : getLoads()) {
        SCOPED_TRACE(load.name);
        if (isOpen(load)) {
            expectRaisedText(
                [&] { load.call(_path); },
                loadError(_path, "Un supported packed image with write access for file " + _path.string()));
        } else {
            EXPECT_EQ(readPixels(*load.call(_path)), std::string("\0\1\0\1\1\0\1\0\1\1\1\1", 12));
        }
    }
    EXPECT_EQ(countOpen(_path), 0);
}

TEST_F(TiffLoadFailure, AReadOnlyFileLoadsAndDoesNotOpen) {
    saveExample(eTC_None);
    fs::permissions(_folder.getPath(), fs::perms(0755));
    fs::permissions(_path, fs::perms(0444));
    std::string const opened = asOrdinaryUser(
        [&] { return textThrownBy([&] { openTiffImageFile(_path, eTDM_Volume, eTBM_Default); }); });
    if (opened == g_noSuchUser) {
        GTEST_SKIP() << "this process cannot become another user";
    }
    EXPECT_EQ(opened, loadError(_path, openFailed(_path, "Permission denied")));
    EXPECT_EQ(asOrdinaryUser([&] { return readPixels(*loadTiffImageFile(_path, eTBM_Default)); }), _pixels);
}

TEST_F(TiffLoadFailure, OneSampleThatCallsItselfRgbIsRefused) {
    RawDirectory directory = greyDirectory();
    directory.set(TIFFTAG_PHOTOMETRIC, shorts({PHOTOMETRIC_RGB}))
        .set(TIFFTAG_PLANARCONFIG, shorts({PLANARCONFIG_CONTIG}));
    writeRawTiff(_path, {directory});
    for (Load const& load : getLoads()) {
        SCOPED_TRACE(load.name);
        if (!isOpen(load)) {
            expectRaisedText([&] { load.call(_path); },
                             loadError(_path, "Un supported photometric interpretation value 2  with 1 "
                                              "samples per pixels for file " +
                                                  _path.string()));
        }
    }
    EXPECT_EQ(countOpen(_path), 0);
}

TEST_F(TiffLoadFailure, AnImageJStackOfColoursSideBySideFailsAtItsSecondPlane) {
    Directory directory;
    directory.samples = 3;
    directory.photometric = PHOTOMETRIC_RGB;
    directory.tags[TIFFTAG_IMAGEDESCRIPTION] = std::string("ImageJ=1.53\nimages=2\n");
    directory.pixels = countingBytes(36);
    writeTiff(_path, {directory});
    ImagePtr pImage;
    expectRaisedBeginning(
        [&] { loadTiffImageFile(_path, eTBM_Default, pImage); },
        loadError(_path, "Error while setting directory 1 for file " + _path.string() + "\n"));
    ASSERT_TRUE(pImage);
    std::string plane(12, '\0');
    EXPECT_TRUE(pImage->readPixels(0, 1, 0, 0, 12, plane.data()));
    EXPECT_EQ(plane.substr(0, 2), std::string("\2\5"));
    EXPECT_EQ(countOpen(_path), 0);
}

namespace {

/// Files that announce more than they hold.
class TiffAnnouncement : public TiffFunctions {
  protected:
    /// One directory whose description announces so many planes.
    void writeAnnouncing(std::string const& images) const {
        writeRawTiff(_path, {imageJStack(images, countingBytes(12))});
    }
};

std::string openThrew(fs::path const& path) {
    return "An exception has been thrown while opening file " + path.string() + "\n";
}

} // namespace

TEST_F(TiffAnnouncement, FarMorePlanesThanTheFileCanHoldAreRefusedBeforeAnyMemoryIsTaken) {
    writeAnnouncing("2000000000");
    std::size_t const nbBytes = readFile(_path).size();
    for (Load const& load : getLoads()) {
        SCOPED_TRACE(load.name);
        if (load.name == std::string("open")) {
            EXPECT_EQ(load.call(_path)->getGeometry().getSizeZ(), 2000000000U);
            continue;
        }
        std::size_t const peak = measurePeak([&] {
            expectRaisedText([&] { load.call(_path); },
                             loadError(_path, "The file announces 24000000000 bytes of pixels and has " +
                                                  std::to_string(nbBytes) + " bytes"));
        });
        EXPECT_LT(peak, 20000U);
        EXPECT_EQ(countOpen(_path), 0);
    }
}

#ifdef VELMO_TEST_LIMITS_MEMORY
TEST_F(TiffAnnouncement, ARefusedAnnouncementNeedsNoAddressSpace) {
    writeAnnouncing("2000000000");
    std::string const text = withLimit(RLIMIT_AS, std::size_t{4} << 30U, [&] {
        return textThrownBy([&] { loadTiffImageFile(_path, eTBM_Default); });
    });
    EXPECT_EQ(text.find(loadError(_path, "The file announces 24000000000 bytes of pixels")), 0U) << text;
}
#endif

TEST_F(TiffAnnouncement, SomewhatMorePlanesThanTheFileHoldsAreBlack) {
    writeAnnouncing("50");
    std::string const pixels = readPixels(*loadTiffImageFile(_path, eTBM_Default));
    EXPECT_EQ(pixels.size(), 600U);
    EXPECT_EQ(pixels.substr(12), std::string(588, '\0'));
}

TEST_F(TiffAnnouncement, ACountThatIsNoNumberIsTheLoadErrorWithTheOpensException) {
    for (std::string const& images : {std::string("many"), std::string("99999999999")}) {
        writeAnnouncing(images);
        for (Load const& load : getLoads()) {
            SCOPED_TRACE(load.name);
            expectRaisedText([&] { load.call(_path); }, loadError(_path, openThrew(_path) + "stoi"));
            EXPECT_EQ(countOpen(_path), 0);
        }
    }
}

// What the image library refuses it has in the log as well.
TEST_F(TiffAnnouncement, ACountThatNoImageCanHaveIsTheLoadErrorWithTheImageLibrarysRefusal) {
    writeAnnouncing("-2");
    for (Load const& load : getLoads()) {
        SCOPED_TRACE(load.name);
        std::string const beginning = loadError(_path, openThrew(_path));
        EXPECT_EQ(textThrownBy([&] { load.call(_path); }).substr(0, beginning.size()), beginning);
        EXPECT_EQ(countOpen(_path), 0);
    }
}

TEST_F(TiffAnnouncement, AnImageThatIsTooLargeForTheMemoryIsTheLoadError) {
    RawDirectory directory = greyDirectory();
    directory.set(TIFFTAG_COMPRESSION, shorts({COMPRESSION_LZW}));
    RawField const size = longs({1U << 24U});
    directory.set(TIFFTAG_IMAGEWIDTH, size).set(TIFFTAG_IMAGELENGTH, size).set(TIFFTAG_ROWSPERSTRIP, size);
    writeRawTiff(_path, {directory});
    ImagePtr pImage;
    expectRaisedBeginning([&] { loadTiffImageFile(_path, eTBM_Default, pImage); },
                          loadError(_path, "The image needs 281474976710656 bytes of memory, and "));
    EXPECT_FALSE(pImage);
    EXPECT_EQ(countOpen(_path), 0);
}

} // namespace velmo::test
