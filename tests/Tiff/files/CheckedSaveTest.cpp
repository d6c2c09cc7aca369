// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CheckedFixture.h"

#include <VELMOImage/ImageFactory.h>
#include <boost/filesystem/operations.hpp>
#include <boost/make_shared.hpp>

namespace velmo::image::file {

namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;

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
    std::string const text = withFileSizeLimit(30000, [&] { return trySave(_pImage); });
    EXPECT_THAT(text, testing::StartsWith("Error while saving tiff image file \"" + _path.string() +
                                          "\"\nFailed to initialize strip data of directory 1 for file " +
                                          _path.string() + "\n"));
    EXPECT_THAT(text, EndsWith("File too large"));
    EXPECT_EQ(readFile(_path), "an old file");
    EXPECT_THAT(listFolder(), testing::ElementsAre("image.tif"));

    EXPECT_THAT(withFileSizeLimit(30000, [&] { return trySave(_pImage, inPlace()); }),
                EndsWith("File too large"));
    EXPECT_NE(readFile(_path), "an old file");
}

TEST_F(CheckedSave, ASourceThatFailsLeavesTheOldFile) {
    Directory directory;
    directory.compression = COMPRESSION_LZW;
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
    for (TiffWriteOptions const& options : {TiffWriteOptions{}, inPlace()}) {
        for (eColorGeometryType const color : {eCGT_Rgb, eCGT_Rgba}) {
            EXPECT_THAT(trySave(makeImage(makeColorGeometry(color, eIBT_UInt8, {1, 1, 65537})), options),
                        EndsWith("The image has 65537 pages, a file that can be loaded again holds at most "
                                 "65536 of them"));
        }
        EXPECT_THAT(trySave(makeImage(makeGeometry(eIBT_UInt8, {4, 3, 0})), options),
                    EndsWith("The image has no pixels, its file could not be loaded again"));
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

TEST_F(CheckedSave, UserPropertiesWithAZeroByteLeaveTheOldFile) {
    writeFile(_path, "an old file");
    _pImage->setUserPropertiesStr(std::string("a\0b", 3));
    for (TiffWriteOptions const& options : {TiffWriteOptions{}, inPlace()}) {
        EXPECT_THAT(trySave(_pImage, options),
                    EndsWith("The text holds a zero byte, which would end it in the "
                             "file"));
        EXPECT_EQ(readFile(_path), "an old file");
    }
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
    RawDirectory directory = greyDirectory();
    directory.set(TIFFTAG_IMAGEDESCRIPTION, ascii("ImageJ=1.53t\nimages=5\n"));
    directory.pixels = noise(60);
    writeRawTiff(_path, {directory});
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
        OpenRequest request;
        request.access = access;
        PolicyFile file(_path, eTiffPolicy::Strict, request);
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
    OpenRequest request;
    request.access = eIAM_ReadWrite;
    PolicyFile file(_path, eTiffPolicy::Plain, request);
    std::string const record = writeRecord(g_binary, file.getFile());
    boost::filesystem::remove(_path);
    TiffImageFile restored;
    EXPECT_THAT(readRecord(g_binary, record, restored), Succeeds());
    EXPECT_THAT(file.getWarnings(),
                testing::ElementsAre("File " + _path.string() +
                                     " of an archive record is missing and is created with zeros"));
}

} // namespace velmo::image::file
