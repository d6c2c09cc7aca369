// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "planes/TiffPlaneFixture.h"

#include <ctime>
#include <sstream>

namespace velmo::image::file {

namespace {

using TiffCreationTagsTest = TiffTest;

int findShort(TiffPtr const& pTiff, std::uint32_t tag) {
    return findTag<std::uint16_t>(pTiff, tag).value_or(0);
}

/// The tags of a directory as libtiff alone gives them: "2, 7 x 5, 16 bits of format 1, 1 samples,
/// photometric 1, compression 1, turned 1, page 0 of 8: T=0 C=0 Z=0, 5 rows".
std::string readTags(path const& path, std::uint16_t directory) {
    TiffPtr const pTiff = openPlain(path, "r", directory);
    auto const findLong = [&](std::uint32_t tag) { return findTag<std::uint32_t>(pTiff, tag).value_or(0); };
    std::uint16_t page = 0;
    std::uint16_t nbPages = 0;
    TIFFGetField(pTiff.get(), TIFFTAG_PAGENUMBER, &page, &nbPages);
    std::ostringstream text;
    text << findLong(TIFFTAG_SUBFILETYPE) << ", " << findLong(TIFFTAG_IMAGEWIDTH) << " x "
         << findLong(TIFFTAG_IMAGELENGTH) << ", " << findShort(pTiff, TIFFTAG_BITSPERSAMPLE)
         << " bits of format " << findShort(pTiff, TIFFTAG_SAMPLEFORMAT) << ", "
         << findShort(pTiff, TIFFTAG_SAMPLESPERPIXEL) << " samples, photometric "
         << findShort(pTiff, TIFFTAG_PHOTOMETRIC) << ", compression " << findShort(pTiff, TIFFTAG_COMPRESSION)
         << ", turned " << findShort(pTiff, TIFFTAG_ORIENTATION) << ", page " << page << " of " << nbPages
         << ": " << findText(pTiff, TIFFTAG_PAGENAME).value_or("") << ", " << findLong(TIFFTAG_ROWSPERSTRIP)
         << " rows";
    return text.str();
}

int readBits(path const& path, std::uint16_t directory) {
    return findShort(openPlain(path, "r", directory), TIFFTAG_BITSPERSAMPLE);
}

int readSampleFormat(path const& path, std::uint16_t directory) {
    return findShort(openPlain(path, "r", directory), TIFFTAG_SAMPLEFORMAT);
}

/// The numbers of the tags of the first directory, which begins where the header of a classic file says.
std::vector<unsigned int> listFirstTags(path const& path) {
    std::string const bytes = readFile(path);
    auto const number = [&](std::size_t at, std::size_t width) {
        unsigned int value = 0;
        for (std::size_t index = width; index-- > 0;) {
            value = value << 8U | static_cast<unsigned char>(bytes.at(at + index));
        }
        return value;
    };
    std::size_t const begin = number(4, 4);
    std::vector<unsigned int> tags;
    for (std::size_t index = 0; index < number(begin, 2); ++index) {
        tags.push_back(number(begin + 2 + 12 * index, 2));
    }
    return tags;
}

} // namespace

TEST_F(TiffCreationTagsTest, DirectoriesCarryTheirTags) {
    struct {
        ImageGeometryPtr pGeometry;
        eTiffCompression compression;
        char const* beforePage;
        std::vector<std::string> pages;
    } const cases[] = {
        {makeGeometry(eIBT_UInt16, {7, 5, 2, 2, 2}),
         eTC_None,
         "2, 7 x 5, 16 bits of format 1, 1 samples, photometric 1, compression 1, turned 1, page ",
         {"T=0 C=0 Z=0", "T=0 C=0 Z=1", "T=0 C=1 Z=0", "T=0 C=1 Z=1", "T=1 C=0 Z=0", "T=1 C=0 Z=1",
          "T=1 C=1 Z=0", "T=1 C=1 Z=1"}},
        {makeColorGeometry(eCGT_Rgb, eIBT_Real32, {7, 5, 2, 1, 2}),
         eTC_Lzw,
         "2, 7 x 5, 32 bits of format 3, 3 samples, photometric 2, compression 5, turned 1, page ",
         {"T=0 Z=0", "T=0 Z=1", "T=1 Z=0", "T=1 Z=1"}},
        {makeColorGeometry(eCGT_Rgba, eIBT_Int8, {7, 5}),
         eTC_Deflate,
         "2, 7 x 5, 8 bits of format 2, 4 samples, photometric 2, compression 32946, turned 1, page ",
         {"T=0 Z=0"}},
        {makeColorGeometry(eCGT_HSV, eIBT_UInt8, {7, 5}),
         eTC_None,
         "2, 7 x 5, 8 bits of format 1, 1 samples, photometric 1, compression 1, turned 1, page ",
         {"T=0 C=0 Z=0", "T=0 C=1 Z=0", "T=0 C=2 Z=0"}}};
    for (auto const& entry : cases) {
        createPlanes(_path, entry.pGeometry, entry.compression);
        EXPECT_EQ(countDirectories(_path), entry.pages.size());
        for (std::uint16_t page = 0; page < entry.pages.size(); ++page) {
            EXPECT_EQ(readTags(_path, page), entry.beforePage + std::to_string(page) + " of " +
                                                 std::to_string(entry.pages.size()) + ": " +
                                                 entry.pages[page] + ", 5 rows");
            bool const bInterleaved = entry.pages[page].find("C=") == std::string::npos;
            EXPECT_EQ(isInterleavedRgb(openPlain(_path, "r", page).get(), _path), bInterleaved);
        }
    }
}

TEST_F(TiffCreationTagsTest, AColourTypeOutOfTheEnumerationOpensAsGreyWithItsNameAndItsBlack) {
    ImageGeometryPtr const pGeometry = makeGeometry(eIBT_UInt8, {4, 3, 2});
    ColorGeometry& color = pGeometry->getColorGeometry();
    color.init(static_cast<eColorGeometryType>(11));
    color.setMinIsBlack(false);
    color.setChannelName("only", 0);
    createPlanes(_path, pGeometry);
    EXPECT_EQ(findText(openPlain(_path, "r", 1), TIFFTAG_PAGENAME), "T=0 C=0 Z=1");
    ColorGeometry const opened = openPlanes(_path).pGeometry->getColorGeometry();
    EXPECT_EQ(opened.getColorGeometryType(), eCGT_Grey);
    EXPECT_FALSE(opened.minIsBlack());
    EXPECT_EQ(opened.getChannelName(0), "only");
}

TEST_F(TiffCreationTagsTest, AGreyGeometryWithWhiteAsZeroIsWrittenMinIsBlackAndInvertsNothing) {
    ImageGeometryPtr const pGeometry = makeGeometry(eIBT_UInt8, {3, 2});
    pGeometry->getColorGeometry().setMinIsBlack(false);
    createPlanes(_path, pGeometry).writePlane("abcdef");
    EXPECT_EQ(findShort(openPlain(_path), TIFFTAG_PHOTOMETRIC), PHOTOMETRIC_MINISBLACK);
    EXPECT_FALSE(openPlanes(_path).pGeometry->getColorGeometry().minIsBlack());
    EXPECT_EQ(openPlanes(_path).readPlane(), "abcdef");
    EXPECT_EQ(readDirectoryPixels(_path, 0), "abcdef");
}

TEST_F(TiffCreationTagsTest, OnlyTheTagsThatArePromisedAreSet) {
    createPlanes(_path, makeGeometry(eIBT_UInt8, {4, 3}));
    EXPECT_THAT(listFirstTags(_path), testing::ElementsAre(254, 256, 257, 258, 259, 262, 273, 274, 277, 278,
                                                           279, 285, 297, 305, 306, 339, 34377));
    createPlanes(_path, makeColorGeometry(eCGT_Rgb, eIBT_UInt8, {4, 3}));
    EXPECT_THAT(listFirstTags(_path), testing::ElementsAre(254, 256, 257, 258, 259, 262, 273, 274, 277, 278,
                                                           279, 284, 285, 297, 305, 306, 339, 34377));
}

TEST_F(TiffCreationTagsTest, TheFirstDirectoryAloneHasSoftwareDateBlobAndUserProperties) {
    ImageGeometryPtr const pGeometry = makeGeometry(eIBT_UInt8, {4, 3, 3});
    TIFF* pCreated = nullptr;
    ASSERT_THAT(createTiffFile(_path, *pGeometry, nullptr, "free text", eTC_None, pCreated), Succeeds());
    TiffPtr(pCreated).reset();
    TiffPtr const pTiff = openPlain(_path);
    EXPECT_EQ(findText(pTiff, TIFFTAG_SOFTWARE), "VELMO_Library");
    EXPECT_TRUE(findText(pTiff, TIFFTAG_DATETIME));
    EXPECT_TRUE(findBlob(pTiff));
    EXPECT_EQ(findText(pTiff, 65000), "free text");
    while (TIFFReadDirectory(pTiff.get()) == 1) {
        EXPECT_FALSE(findText(pTiff, TIFFTAG_SOFTWARE));
        EXPECT_FALSE(findText(pTiff, TIFFTAG_DATETIME));
        EXPECT_FALSE(findBlob(pTiff));
        EXPECT_FALSE(findText(pTiff, 65000));
    }
    EXPECT_EQ(TIFFCurrentDirectory(pTiff.get()), 2U);
}

TEST_F(TiffCreationTagsTest, EmptyUserPropertiesAreWrittenAndTheFormWithoutThemHasNoSuchTag) {
    TIFF* pCreated = nullptr;
    ASSERT_THAT(createTiffFile(_path, *makeGeometry(eIBT_UInt8, {4, 3}), nullptr, "", eTC_None, pCreated),
                Succeeds());
    TiffPtr(pCreated).reset();
    EXPECT_EQ(findText(openPlain(_path), 65000), "");
    EXPECT_EQ(OpenedTiff(_path).userProperties, "");
    createPlanes(_path, makeGeometry(eIBT_UInt8, {4, 3}));
    EXPECT_FALSE(findText(openPlain(_path), 65000));
}

TEST_F(TiffCreationTagsTest, TheDateIsNowInTheFormatOfTiff) {
    std::time_t const before = std::time(nullptr);
    createPlanes(_path, makeGeometry(eIBT_UInt8, {4, 3}));
    std::time_t const after = std::time(nullptr);
    std::string const date = findText(openPlain(_path), TIFFTAG_DATETIME).value_or("");
    std::string const two = "[0-9][0-9]";
    ASSERT_THAT(date,
                testing::MatchesRegex(two + two + ":" + two + ":" + two + " " + two + ":" + two + ":" + two));
    std::tm parts{};
    ASSERT_NE(strptime(date.c_str(), "%Y:%m:%d %H:%M:%S", &parts), nullptr);
    parts.tm_isdst = -1;
    std::time_t const written = std::mktime(&parts);
    EXPECT_GE(written, before);
    EXPECT_LE(written, after);
}

struct SampleCase {
    eImageBufferType bufferType;
    int bits;
    int sampleFormat;
    friend void PrintTo(SampleCase const& sample, std::ostream* pStream) { *pStream << sample.bufferType; }
};

class TiffCreationSamplesTest : public TiffTest, public testing::WithParamInterface<SampleCase> {};

TEST_P(TiffCreationSamplesTest, BitsAndFormatFollowTheBufferType) {
    SampleCase const& sample = GetParam();
    for (eColorGeometryType const colorType : {eCGT_Grey, eCGT_Rgb}) {
        createPlanes(_path, makeColorGeometry(colorType, sample.bufferType, {9, 3, 2}));
        for (std::uint16_t const page : {std::uint16_t(0), std::uint16_t(1)}) {
            EXPECT_EQ(readBits(_path, page), sample.bits);
            EXPECT_EQ(readSampleFormat(_path, page), sample.sampleFormat);
        }
        EXPECT_EQ(openPlanes(_path).pGeometry->getBufferType(), sample.bufferType);
    }
}

INSTANTIATE_TEST_SUITE_P(BufferTypes, TiffCreationSamplesTest,
                         testing::Values(SampleCase{eIBT_Int8, 8, 2}, SampleCase{eIBT_UInt8, 8, 1},
                                         SampleCase{eIBT_Int16, 16, 2}, SampleCase{eIBT_UInt16, 16, 1},
                                         SampleCase{eIBT_Int32, 32, 2}, SampleCase{eIBT_UInt32, 32, 1},
                                         SampleCase{eIBT_Real32, 32, 3}, SampleCase{eIBT_Binary, 8, 1},
                                         SampleCase{eIBT_Label8, 8, 1}, SampleCase{eIBT_Label16, 16, 1},
                                         SampleCase{eIBT_Label32, 32, 1}));

TEST_F(TiffCreationTagsTest, ABinaryImageIsBinaryToThisModuleAndGreyOf8BitsToOthers) {
    createPlanes(_path, makeGeometry(eIBT_Binary, {9, 3}));
    EXPECT_EQ(openPlanes(_path).pGeometry->getBufferType(), eIBT_Binary);
    EXPECT_EQ(readDirectoryPixels(_path, 0), std::string(27, '\0')); // a byte for each pixel
    TiffPtr pTiff = openPlain(_path, "r+");
    TIFFSetField(pTiff.get(), TIFFTAG_SOFTWARE, "another one");
    EXPECT_EQ(TIFFRewriteDirectory(pTiff.get()), 1);
    pTiff.reset();
    EXPECT_EQ(openPlanes(_path).pGeometry->getBufferType(), eIBT_UInt8);
}

TEST_F(TiffCreationTagsTest, TheTimeStepsOfAHeterogeneousSequenceHaveTheirOwnBits) {
    ImageGeometryPtr const pModel = makeGeometry(eIBT_UInt8, {9, 3, 2, 1, 3});
    auto const pGeometry = boost::make_shared<HeterogeneousImageGeometry>();
    pGeometry->init(pModel->getVolumeGeometry(), pModel->getColorGeometry(), pModel->getTemporalGeometry(), 9,
                    3, {eIBT_UInt8, eIBT_Real32, eIBT_Int16});
    for (eTiffCompression const compression : {eTC_None, eTC_Lzw}) {
        createPlanes(_path, pGeometry, compression);
        int const bits[] = {8, 8, 32, 32, 16, 16};
        int const formats[] = {1, 1, 3, 3, 2, 2};
        for (std::uint16_t page = 0; page < 6; ++page) {
            EXPECT_EQ(readBits(_path, page), bits[page]);
            EXPECT_EQ(readSampleFormat(_path, page), formats[page]);
            EXPECT_EQ(readDirectoryPixels(_path, page).size(),
                      27U * static_cast<unsigned int>(bits[page]) / 8);
        }
    }
}

TEST_F(TiffCreationTagsTest, ACompressionOutOfTheEnumerationIsNotReported) {
    createPlanes(_path, makeGeometry(eIBT_UInt8, {4, 3, 2}), static_cast<eTiffCompression>(3));
    expectDirectories(_path, {std::string(12, '\0'), std::string(12, '\0')});
}

} // namespace velmo::image::file
