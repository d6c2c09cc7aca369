// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CheckedFixture.h"

#include <VELMOImage/ImageFactory.h>
#include <VELMOImageFile/VELMOImageFileLog.h>
#include <boost/filesystem/operations.hpp>
#include <boost/make_shared.hpp>

namespace velmo::image::file {

namespace {

using testing::EndsWith;
using testing::HasSubstr;

ImagePtr makeImage(ImageGeometryPtr const& pGeometry) {
    ImagePtr pImage;
    EXPECT_THAT(ImageFactory::getInstance().createDefaultImage(*pGeometry, pImage), Succeeds());
    return pImage;
}

class CheckedSave : public TiffTest {
  protected:
    CheckedSave() : _pImage(makeImage(makeGeometry(eIBT_UInt8, {100, 200, 3}))) {
        for (vlUInt64 z = 0; z < 3; ++z) {
            std::string const plane = noise(20000, static_cast<unsigned int>(z));
            EXPECT_THAT(_pImage->writePixels(z, 0, 0, 0, 20000, plane.data()), Succeeds());
            _pixels += plane;
        }
    }

    /// "saved", or the text of what is thrown.
    std::string trySave(ImagePtr const& pImage, TiffWriteOptions const& options = {}) const {
        try {
            saveTiffImageFile(_path, pImage, options);
            return "saved";
        } catch (std::exception const& exception) {
            return exception.what();
        }
    }

    std::vector<std::string> listFolder() const {
        std::vector<std::string> names;
        for (auto const& entry : boost::filesystem::directory_iterator(_folder.getPath())) {
            names.push_back(entry.path().filename().string());
        }
        return names;
    }

    ImagePtr const _pImage;
    std::string _pixels;
};

TiffWriteOptions inPlace() {
    TiffWriteOptions options;
    options.bReplaceWhenWhole = false;
    return options;
}

} // namespace

TEST_F(CheckedSave, EachCompressionComesBackAndNothingElseStaysInTheFolder) {
    for (eTiffCompression const compression : {eTC_None, eTC_Lzw, eTC_Deflate}) {
        for (bool const bReplaceWhenWhole : {true, false}) {
            TiffWriteOptions options;
            options.compression = compression;
            options.bReplaceWhenWhole = bReplaceWhenWhole;
            EXPECT_EQ(trySave(_pImage, options), "saved");
            EXPECT_TRUE(loadChecked(_path).pixels == _pixels);
            std::uint16_t const expected = compression == eTC_None  ? COMPRESSION_NONE
                                           : compression == eTC_Lzw ? COMPRESSION_LZW
                                                                    : COMPRESSION_DEFLATE;
            EXPECT_EQ(findTag<std::uint16_t>(openPlain(_path), TIFFTAG_COMPRESSION), expected);
        }
    }
    EXPECT_THAT(listFolder(), testing::ElementsAre("image.tif"));
}

TEST_F(CheckedSave, AFailedSaveLeavesTheOldFileAndNamesTheReasonOfTheSystem) {
    writeFile(_path, "an old file");
    std::string const text = withLimit(RLIMIT_FSIZE, 30000, [&] { return trySave(_pImage); });
    EXPECT_THAT(text, testing::StartsWith("Error while saving tiff image file \"" + _path.string() +
                                          "\"\nFailed to initialize strip data of directory 1 for file " +
                                          _path.string() + "\n"));
    EXPECT_THAT(text, EndsWith("File too large"));
    EXPECT_EQ(readFile(_path), "an old file");
    EXPECT_THAT(listFolder(), testing::ElementsAre("image.tif"));

    EXPECT_THAT(withLimit(RLIMIT_FSIZE, 30000, [&] { return trySave(_pImage, inPlace()); }),
                EndsWith("File too large"));
    EXPECT_NE(readFile(_path), "an old file");
}

TEST_F(CheckedSave, ASourceThatFailsLeavesTheOldFile) {
    Directory directory = stripDirectory(4, 3, 0, COMPRESSION_LZW);
    directory.pixels = noise(12);
    path const source = _folder / "source.tif";
    writeTiff(source, {directory, directory});
    DiskImagePtr const pSource = openTiffImageFile(source);
    std::string bytes = readFile(source);
    std::uint64_t const offset = TIFFGetStrileOffset(openPlain(source, "r", 1).get(), 0);
    writeFile(source, bytes.replace(offset, 8, 8, '\xff'));
    writeFile(_path, "an old file");
    EXPECT_THAT(trySave(pSource), HasSubstr("Failed to read data of strip 0 for directory z=1"));
    EXPECT_EQ(readFile(_path), "an old file");
}

TEST_F(CheckedSave, AnImageThatCouldNotBeLoadedAgainIsRefusedBeforeTheFileIsTouched) {
    writeFile(_path, "an old file");
    _pImage->setUserPropertiesStr(std::string("a\0b", 3));
    ImagePtr const pEmpty = makeImage(makeGeometry(eIBT_UInt8, {4, 3, 0}));
    for (TiffWriteOptions const& options : {TiffWriteOptions{}, inPlace()}) {
        for (eColorGeometryType const color : {eCGT_Rgb, eCGT_Rgba}) {
            EXPECT_THAT(trySave(makeImage(makeColorGeometry(color, eIBT_UInt8, {1, 1, 65537})), options),
                        HasSubstr("65537 pages, a file that can be loaded again holds at most 65536"));
        }
        EXPECT_THAT(trySave(pEmpty, options), HasSubstr("no pixels, its file could not be loaded again"));
        EXPECT_THAT(trySave(_pImage, options), HasSubstr("The text holds a zero byte"));
        EXPECT_EQ(readFile(_path), "an old file");
    }
}

TEST_F(CheckedSave, AsManyPagesAsCanBeAddressedComeBack) {
    ImagePtr const pImage = makeImage(makeColorGeometry(eCGT_Rgb, eIBT_UInt8, {1, 1, 65536}));
    std::string const first = "a";
    std::string const last = "z";
    EXPECT_THAT(pImage->writePixels(0, 2, 0, 0, 1, first.data()), Succeeds());
    EXPECT_THAT(pImage->writePixels(65535, 2, 0, 0, 1, last.data()), Succeeds());
    ASSERT_EQ(trySave(pImage), "saved");
    std::string expected(3 * 65536, '\0');
    expected[2] = 'a';
    expected[expected.size() - 1] = 'z';
    EXPECT_TRUE(loadChecked(_path).pixels == expected);
}

TEST_F(CheckedSave, AReasonIsNeverTheTextOfAnEarlierFile) {
    path const noTiff = _folder / "no.tif";
    writeFile(noTiff, "no TIFF file at all");
    EXPECT_THAT(loadChecked(noTiff).failure, HasSubstr("Not a TIFF"));
    writeTiff(_path, {Directory()});
    PolicyFile const file(_path, eTiffPolicy::Strict);
    EXPECT_EQ(lastTiffMessage(), "");
    EXPECT_THAT(file.read({0, 0, 0, 7, 6}).failure,
                EndsWith("\nPixels 7 to 12 are not all inside the plane of 12 pixels"));
}

TEST_F(CheckedSave, AnImageOpenedWithOptionsIsReadOnlyUnlessAskedOtherwise) {
    ASSERT_EQ(trySave(_pImage), "saved");
    std::string const pixels = noise(20000, 9);
    EXPECT_FALSE(openTiffImageFile(_path)->writePixels(1, 0, 0, 0, 20000, pixels.data()));
    EXPECT_TRUE(loadChecked(_path).pixels == _pixels);
    EXPECT_THAT(openTiffImageFile(_path, {}, eIAM_ReadWrite)->writePixels(1, 0, 0, 0, 20000, pixels.data()),
                Succeeds());
    EXPECT_TRUE(loadChecked(_path).pixels == _pixels.replace(20000, 20000, pixels));
}

TEST_F(CheckedSave, AnAccessorTravelsWithItsPolicy) {
    RawDirectory const directory = imageJStack("5", noise(60));
    for (ArchiveKind const& kind : {g_binary, g_xml}) {
        for (eTiffPolicy const policy : {eTiffPolicy::Strict, eTiffPolicy::Tolerant}) {
            writeRawTiff(_path, {directory});
            PolicyFile file(_path, policy);
            std::string const record = writeRecord(kind, file.getFile());
            EXPECT_EQ(file.getFile().getClassName(), "velmo::image::file::CheckedTiffImageFile");

            CheckedTiffImageFile restored;
            EXPECT_THAT(readRecord(kind, record, restored), Succeeds());
            EXPECT_EQ(readPixels(restored, {3, 0, 0, 2, 6}), directory.pixels.substr(38, 6)) << kind.name;
            boost::filesystem::resize_file(_path, boost::filesystem::file_size(_path) - 12);
            EXPECT_EQ(static_cast<bool>(tryRead(restored, {4, 0, 0, 0, 12})),
                      policy == eTiffPolicy::Tolerant);
            EXPECT_EQ(static_cast<bool>(readRecord(kind, record, restored)), policy == eTiffPolicy::Tolerant);
        }
    }
}

TEST_F(CheckedSave, ARecordOfAMissingFileIsAFailureUnderEveryAccess) {
    ASSERT_EQ(trySave(_pImage), "saved");
    for (eImageAccessMode const access : {eIAM_ReadOnly, eIAM_ReadWrite}) {
        ASSERT_EQ(trySave(_pImage), "saved");
        PolicyFile file(_path, eTiffPolicy::Strict, {access});
        std::string const record = writeRecord(g_binary, file.getFile());
        boost::filesystem::remove(_path);
        CheckedTiffImageFile restored;
        EXPECT_THAT(readRecord(g_binary, record, restored).getMessage(),
                    testing::StartsWith("Failed to open tiff image file " + _path.string()));
        EXPECT_FALSE(boost::filesystem::exists(_path));
    }
}

TEST_F(CheckedSave, APlainRecordOfAMissingFileMakesItAnewWithAWarning) {
    ASSERT_EQ(trySave(_pImage), "saved");
    PolicyFile file(_path, eTiffPolicy::Plain, {eIAM_ReadWrite});
    std::string const record = writeRecord(g_binary, file.getFile());
    boost::filesystem::remove(_path);
    TiffImageFile restored;
    EXPECT_THAT(readRecord(g_binary, record, restored), Succeeds());
    EXPECT_THAT(file.getWarnings(),
                testing::ElementsAre("File " + _path.string() +
                                     " of an archive record is missing and is created with zeros"));
}

namespace {

class CheckedWrites : public TiffTest {
  protected:
    /// Under each policy the second page must keep its pixels and the write say why.
    void expectSecondPageKept(OpenRequest const& request) const {
        std::string const before = readFile(_path);
        std::string const pixels(40, '\1');
        for (eTiffPolicy const policy : g_allPolicies) {
            PolicyFile file(_path, policy, request);
            ASSERT_THAT(file.getOpening(), Succeeds());
            bool const bTemporal = request.directoryMode == eTDM_Temporal;
            BoolResult const written =
                file.getFile().writeRawData(bTemporal ? 0 : 1, 0, bTemporal ? 1 : 0, 0, 40, pixels.data());
            EXPECT_THAT(written.getMessage(), testing::StartsWith("Failed to write data of strip 0"));
            EXPECT_THAT(written.getMessage(),
                        testing::EndsWith("\nThe directory has planes of 8 x 5 pixels of 1 bits, the image "
                                          "has planes of 8 x 5 pixels of 8 bits"));
        }
        EXPECT_EQ(readFile(_path), before);
    }

    /// Writes pixels over a page in files of several largest sizes; the number of strips that were warned of.
    /// Each strip must have its new or its old pixels.
    vlUInt64 writeWithoutSpace(Directory const& page, std::string const& pixels) const {
        vlUInt64 nbWarnings = 0;
        for (vlUInt64 const nbMore : {0U, 10U, 100U, 1000U, 5000U, 9000U, 14000U}) {
            writeTiff(_path, {page, page});
            std::uint64_t const limit = readFile(_path).size() + nbMore;
            std::string const outcome = withLimit(RLIMIT_FSIZE, limit, [&] { return writePage(pixels); });
            EXPECT_THAT(outcome, testing::AnyOf(testing::MatchesRegex("success(.not written)*"),
                                                testing::StartsWith("Error while flushing")));
            nbWarnings += static_cast<vlUInt64>(std::count(outcome.begin(), outcome.end(), '|'));
            expectNoLoss(page, pixels);
        }
        return nbWarnings;
    }

    std::string writePage(std::string const& pixels) const {
        velmo::test::CapturedLog const log(getVELMOImageFileLogger());
        std::string text;
        {
            Planes const planes = openPlanesForWriting(_path);
            text = toText(planes.tryWriteRgb(planes.wholePlane(), pickChannels(pixels, 3, 1)));
        }
        for (std::string const& warning : findWarnings(log.getRecords())) {
            bool const bExpected =
                warning.find(" was not written, it keeps its former pixels\n") != std::string::npos;
            text += bExpected ? "|not written" : "|" + warning;
        }
        return text;
    }

    void expectNoLoss(Directory const& page, std::string const& pixels) const {
        std::string const found = readDirectoryPixels(_path, 0);
        EXPECT_TRUE(readDirectoryPixels(_path, 1) == page.pixels);
        std::size_t const stripBytes = std::size_t{300} * page.rowsPerStrip;
        for (std::size_t begin = 0; begin < pixels.size(); begin += stripBytes) {
            std::string const strip = found.substr(begin, stripBytes);
            EXPECT_TRUE(strip == pixels.substr(begin, stripBytes) ||
                        strip == page.pixels.substr(begin, stripBytes))
                << "strip " << begin / stripBytes;
        }
    }
};

} // namespace

TEST_F(CheckedWrites, ADirectoryOfOneBitIsNotWrittenWhateverTheFirstDirectoryIs) {
    Directory const bytes = stripDirectory(8, 5);
    Directory bits = bytes;
    bits.bits = 1;
    bits.pixels = "\x55\xaa\x33\xcc\x0f";
    writeTiff(_path, {bytes, bits});
    expectSecondPageKept({eIAM_ReadWrite});
    expectSecondPageKept({eIAM_ReadWrite, eTDM_Temporal});
}

TEST_F(CheckedWrites, ARgbWriteWithoutSpaceLosesNoStripAndWarnsOfThoseNotWritten) {
    std::string const pixels = noise(15000);
    for (std::uint16_t const compression :
         {std::uint16_t{COMPRESSION_LZW}, std::uint16_t{COMPRESSION_ADOBE_DEFLATE}}) {
        for (std::uint32_t const rowsPerStrip : {50U, 10U, 1U}) {
            Directory page = stripDirectory(100, 50, rowsPerStrip, compression, 3);
            page.pixels.assign(15000, 'b');
            EXPECT_GT(writeWithoutSpace(page, pixels), 0U) << compression << ", " << rowsPerStrip;
        }
    }
}

TEST_F(CheckedWrites, AShortLastStripOfSwappedPixelsStaysInItsPlace) {
    Directory page = stripDirectory(4, 5, 2, COMPRESSION_NONE, 1, 16);
    page.pixels = noise(40);
    writeTiff(_path, {page, page}, "wb");
    std::size_t const size = readFile(_path).size();
    std::string const pixels = noise(40, 7);
    {
        Planes const planes = openPlanesForWriting(_path);
        planes.writePlane(pixels);
    }
    EXPECT_EQ(readFile(_path).size(), size);
    EXPECT_EQ(readDirectoryPixels(_path, 0), pixels);
    EXPECT_EQ(readDirectoryPixels(_path, 1), page.pixels);
}

} // namespace velmo::image::file
