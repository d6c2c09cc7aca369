// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "planes/TiffPlaneFixture.h"

#include <boost/filesystem/operations.hpp>

namespace velmo::image::file {

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
