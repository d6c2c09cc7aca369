// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "planes/TiffPlaneFixture.h"

#include <boost/filesystem/operations.hpp>
#include <fstream>

namespace velmo::image::file {

namespace {

namespace fs = boost::filesystem;

constexpr vlUInt64 g_gibibyte = 1073741824;

class TiffCreationLimitsTest : public TiffTest {
  protected:
    BoolResult create(ImageGeometryPtr const& pGeometry) {
        TIFF* pTiff = reinterpret_cast<TIFF*>(this); // is to be made null first
        BoolResult const result = createTiffFile(_path, *pGeometry, nullptr, eTC_None, pTiff);
        EXPECT_EQ(pTiff != nullptr, static_cast<bool>(result));
        _pTiff.reset(pTiff);
        return result;
    }

    std::string tooManyPlanes(vlUInt64 nbPlanes) const {
        return "Un supported number of image image plans " + std::to_string(nbPlanes) +
               ", greater than allowed tiff file number of pages 32767 for file " + _path.string();
    }

    bool isBigTiff() const {
        std::ifstream stream(_path.string(), std::ios::binary);
        char header[4] = {};
        stream.read(header, sizeof(header));
        EXPECT_TRUE(header[2] == 42 || header[2] == 43);
        return header[2] == 43;
    }

    /// A clean outcome of sizes that a TIFF file cannot have, whichever it is.
    void expectCleanOutcome(ImageGeometryPtr const& pGeometry) {
        BoolResult const result = create(pGeometry);
        EXPECT_EQ(result.getMessage().empty(), static_cast<bool>(result)) << result.getMessage();
        if (!result) {
            EXPECT_THAT(result.getMessage(), testing::HasSubstr(_path.string()));
            EXPECT_EQ(countDescriptors(_path), 0U);
        }
    }

    TiffPtr _pTiff;
};

std::vector<std::uint16_t> readPageNumbers(path const& path, std::uint16_t directory) {
    std::uint16_t page = 0;
    std::uint16_t nbPages = 0;
    TIFFGetField(openPlain(path, "r", directory).get(), TIFFTAG_PAGENUMBER, &page, &nbPages);
    return {page, nbPages};
}

} // namespace

TEST_F(TiffCreationLimitsTest, As32767SeparatePlanesArePossible) {
    ASSERT_THAT(create(makeGeometry(eIBT_UInt8, {1, 1, 32767})), Succeeds());
    EXPECT_EQ(countDirectories(_path), 32767U);
    EXPECT_EQ(readPageNumbers(_path, 32766), (std::vector<std::uint16_t>{32766, 32767}));
    EXPECT_EQ(findText(openPlain(_path, "r", 32766), TIFFTAG_PAGENAME), "T=0 C=0 Z=32766");
}

TEST_F(TiffCreationLimitsTest, MoreSeparatePlanesAreRefusedBeforeTheFileIsTouched) {
    writeFile(_path, "another one's");
    EXPECT_THAT(create(makeGeometry(eIBT_UInt8, {1, 1, 32768})), FailsWith(tooManyPlanes(32768)));
    EXPECT_THAT(create(makeGeometry(eIBT_UInt8, {1, 1, 2, 4096, 4})), FailsWith(tooManyPlanes(32768)));
    EXPECT_THAT(create(makeGeometry(eIBT_UInt8, {1, 1, 4294967296})), FailsWith(tooManyPlanes(4294967296)));
    EXPECT_EQ(readFile(_path), "another one's");
}

TEST_F(TiffCreationLimitsTest, InterleavedPlanesHaveNoLimitAndTheirCountWrapsAt65536) {
    ASSERT_THAT(create(makeColorGeometry(eCGT_Rgb, eIBT_UInt8, {1, 1, 65539})), Succeeds());
    EXPECT_EQ(readPageNumbers(_path, 0), (std::vector<std::uint16_t>{0, 3}));
    EXPECT_EQ(readPageNumbers(_path, 32767), (std::vector<std::uint16_t>{32767, 3}));
    EXPECT_EQ(countDirectories(_path), 65539U);
}

TEST_F(TiffCreationLimitsTest, AFileOf2147483648BytesOfPixelsIsAClassicOneAndOneMoreByteMakesABigTiff) {
    if (fs::space(_folder.getPath()).available < 6 * g_gibibyte) {
        GTEST_SKIP() << "too little space for 2 GiB of pixels";
    }
    ASSERT_THAT(create(makeGeometry(eIBT_UInt16, {32768, 16384, 2})), Succeeds());
    EXPECT_FALSE(isBigTiff());
    EXPECT_GT(fs::file_size(_path), 2 * g_gibibyte);
    constexpr vlUInt64 sizeY = 715827883; // a third of 2147483649
    ASSERT_THAT(create(makeGeometry(eIBT_UInt8, {3, sizeY})), Succeeds());
    EXPECT_TRUE(isBigTiff());
    EXPECT_GT(fs::file_size(_path), 2 * g_gibibyte);
}

TEST_F(TiffCreationLimitsTest, WidthsAndLengthsBeyond32BitsAreRefused) {
    struct {
        PlaneSizes sizes;
        char const* tag;
    } const cases[] = {{{4294967296, 1}, "TIFFTAG_IMAGEWIDTH"},
                       {{4294967301, 1}, "TIFFTAG_IMAGEWIDTH"},
                       {{1, 4294967296}, "TIFFTAG_IMAGELENGTH"},
                       {{1, 4294967301}, "TIFFTAG_IMAGELENGTH"}};
    for (auto const& entry : cases) {
        EXPECT_THAT(create(makeGeometry(eIBT_UInt8, entry.sizes)),
                    FailsLike(std::string("Error while setting tiff tag ") + entry.tag + " for file " +
                              _path.string() + "\n"));
        EXPECT_EQ(countDescriptors(_path), 0U);
    }
}

TEST_F(TiffCreationLimitsTest, SizesOfZeroAndTypesWithoutPixelsHaveACleanOutcome) {
    for (PlaneSizes const& sizes : {PlaneSizes{0, 3}, PlaneSizes{4, 0}, PlaneSizes{0, 0}, PlaneSizes{4, 3, 0},
                                    PlaneSizes{4, 3, 1, 0}, PlaneSizes{4, 3, 1, 1, 0}}) {
        expectCleanOutcome(makeGeometry(eIBT_UInt8, sizes));
        expectCleanOutcome(makeColorGeometry(eCGT_Rgb, eIBT_UInt16, sizes));
    }
    expectCleanOutcome(makeGeometry(eIBT_None, {4, 3}));
    expectCleanOutcome(makeGeometry(static_cast<eImageBufferType>(12), {4, 3}));
}

namespace {

using TiffCreationStripsTest = TiffTest;

struct Compression {
    eTiffCompression value;
    int number;
};

constexpr Compression g_compressions[] = {
    {eTC_None, COMPRESSION_NONE}, {eTC_Lzw, COMPRESSION_LZW}, {eTC_Deflate, COMPRESSION_DEFLATE}};

/// Samples of a pixel in one directory.
int countSamples(BaseImageGeometry const& geometry) {
    eColorGeometryType const type = geometry.getColorGeometryType();
    return type == eCGT_Rgb || type == eCGT_Rgba ? static_cast<int>(geometry.getSizeC()) : 1;
}

/// Creates by plain calls of libtiff what `createTiffFile` is to create.
class PlainCreation {
  public:
    PlainCreation(path const& path, BaseImageGeometry const& geometry, Compression const& compression)
        : _geometry(geometry), _compression(compression), _pTiff(openPlain(path, "w")) {}

    void setText(std::uint32_t tag, std::string const& text) { set(tag, text.c_str()); }
    void setBlob(std::string const& blob) {
        set(TIFFTAG_PHOTOSHOP, static_cast<std::uint32_t>(blob.size()), blob.data());
    }

    void addDirectory(int page, int nbPages, std::string const& name) {
        int const samples = countSamples(_geometry);
        set(TIFFTAG_SUBFILETYPE, FILETYPE_PAGE);
        set(TIFFTAG_IMAGEWIDTH, static_cast<std::uint32_t>(_geometry.getSizeX()));
        set(TIFFTAG_IMAGELENGTH, static_cast<std::uint32_t>(_geometry.getSizeY()));
        set(TIFFTAG_BITSPERSAMPLE, static_cast<int>(getImageBufferBaseSize(_geometry.getBufferType()) * 8));
        set(TIFFTAG_SAMPLESPERPIXEL, samples);
        set(TIFFTAG_PHOTOMETRIC, samples == 1 ? PHOTOMETRIC_MINISBLACK : PHOTOMETRIC_RGB);
        if (samples != 1) {
            set(TIFFTAG_PLANARCONFIG, PLANARCONFIG_CONTIG);
        }
        set(TIFFTAG_COMPRESSION, _compression.number);
        set(TIFFTAG_ORIENTATION, ORIENTATION_TOPLEFT);
        set(TIFFTAG_PAGENUMBER, page, nbPages);
        setText(TIFFTAG_PAGENAME, name);
        set(TIFFTAG_SAMPLEFORMAT, SAMPLEFORMAT_UINT);
        writeZeros();
        EXPECT_EQ(TIFFWriteDirectory(_pTiff.get()), 1);
    }

  private:
    template <class... Values>
    void set(std::uint32_t tag, Values... values) {
        EXPECT_EQ(TIFFSetField(_pTiff.get(), tag, values...), 1) << tag;
    }

    /// An uncompressed last strip is as long as the others; a compressed one holds its rows alone.
    void writeZeros() {
        auto const sizeY = static_cast<std::uint32_t>(_geometry.getSizeY());
        std::uint32_t const perStrip = std::min(TIFFDefaultStripSize(_pTiff.get(), 0), sizeY);
        set(TIFFTAG_ROWSPERSTRIP, perStrip);
        for (std::uint32_t row = 0; row < sizeY; row += perStrip) {
            bool const bFull = _compression.value == eTC_None;
            tmsize_t const size =
                TIFFVStripSize(_pTiff.get(), bFull ? perStrip : std::min(perStrip, sizeY - row));
            std::string zeros(static_cast<std::size_t>(size), '\0');
            EXPECT_EQ(TIFFWriteEncodedStrip(_pTiff.get(), row / perStrip, zeros.data(), size), size);
        }
    }

    BaseImageGeometry const& _geometry;
    Compression const _compression;
    TiffPtr const _pTiff;
};

struct StripCase {
    char const* name;
    friend void PrintTo(StripCase const& strips, std::ostream* pStream) { *pStream << strips.name; }
    eColorGeometryType colorType;
    eImageBufferType bufferType;
    vlUInt64 sizeX;
    vlUInt64 sizeY;
};

class TiffCreationLayoutTest : public TiffTest, public testing::WithParamInterface<StripCase> {};

} // namespace

TEST_P(TiffCreationLayoutTest, IsByteForByteWhatLibtiffMakesOfTheSameTags) {
    StripCase const& strips = GetParam();
    ImageGeometryPtr const pGeometry =
        makeColorGeometry(strips.colorType, strips.bufferType, {strips.sizeX, strips.sizeY, 2});
    path const expected = _folder / "expected.tif";
    for (Compression const& compression : g_compressions) {
        createPlanes(_path, pGeometry, compression.value);
        {
            TiffPtr const pCreated = openPlain(_path);
            PlainCreation plain(expected, *pGeometry, compression);
            plain.setText(TIFFTAG_SOFTWARE, "VELMO_Library");
            plain.setText(TIFFTAG_DATETIME, findText(pCreated, TIFFTAG_DATETIME).value_or(""));
            plain.setBlob(findBlob(pCreated).value_or(""));
            bool const bColor = countSamples(*pGeometry) != 1;
            plain.addDirectory(0, 2, bColor ? "T=0 Z=0" : "T=0 C=0 Z=0");
            plain.addDirectory(1, 2, bColor ? "T=0 Z=1" : "T=0 C=0 Z=1");
        }
        EXPECT_TRUE(readFile(_path) == readFile(expected)) << "compression " << compression.number;
    }
}

INSTANTIATE_TEST_SUITE_P(Strips, TiffCreationLayoutTest,
                         testing::Values(StripCase{"OneStrip", eCGT_Grey, eIBT_UInt8, 10, 7},
                                         StripCase{"ShortLastStrip", eCGT_Grey, eIBT_UInt8, 100, 200},
                                         StripCase{"FullLastStrip", eCGT_Grey, eIBT_UInt8, 128, 128},
                                         StripCase{"RowsOfMoreThanAStrip", eCGT_Grey, eIBT_UInt16, 5000, 3},
                                         StripCase{"Rgb", eCGT_Rgb, eIBT_UInt8, 100, 90},
                                         StripCase{"RgbaOf32Bits", eCGT_Rgba, eIBT_UInt32, 33, 41}),
                         testing::PrintToStringParamName());

TEST_F(TiffCreationStripsTest, TheFileIsCompleteBeforeItsHandleIsClosed) {
    for (Compression const& compression : g_compressions) {
        Planes planes = createPlanes(_path, makeGeometry(eIBT_UInt8, {100, 90, 3}), compression.value);
        expectDirectories(_path, std::vector<std::string>(3, std::string(9000, '\0')));
        std::uintmax_t const size = boost::filesystem::file_size(_path);
        planes.pTiff.reset();
        EXPECT_EQ(boost::filesystem::file_size(_path), size);
    }
}

TEST_F(TiffCreationStripsTest, TheHandleStandsOnAnEmptyDirectory) {
    Planes const planes = createPlanes(_path, makeGeometry(eIBT_UInt8, {10, 7}));
    EXPECT_FALSE(findTag<std::uint16_t>(planes.pTiff, TIFFTAG_BITSPERSAMPLE));
    EXPECT_FALSE(findTag<std::uint32_t>(planes.pTiff, TIFFTAG_ROWSPERSTRIP));
    EXPECT_EQ(TIFFSetDirectory(planes.pTiff.get(), 0), 1);
    EXPECT_EQ(findTag<std::uint16_t>(planes.pTiff, TIFFTAG_BITSPERSAMPLE), 8U);
}

TEST_F(TiffCreationStripsTest, AnExistingFileIsReplaced) {
    createPlanes(_path, makeGeometry(eIBT_UInt8, {300, 200, 3})).writePlane(noise(60000), 2);
    createPlanes(_path, makeGeometry(eIBT_UInt8, {10, 7}));
    expectDirectories(_path, {std::string(70, '\0')});
    EXPECT_LT(boost::filesystem::file_size(_path), 2000U);
}

} // namespace velmo::image::file
