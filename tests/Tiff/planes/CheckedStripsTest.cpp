// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CheckedFixture.h"

#include <zlib.h>

namespace velmo::image::file {

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

std::string deflate(std::string const& bytes, int level = Z_DEFAULT_COMPRESSION) {
    uLongf size = compressBound(bytes.size());
    std::string packed(size, '\0');
    EXPECT_EQ(compress2(reinterpret_cast<Bytef*>(packed.data()), &size,
                        reinterpret_cast<Bytef const*>(bytes.data()), bytes.size(), level),
              Z_OK);
    packed.resize(size);
    return packed;
}

/// Writes strips as they are to a directory of Deflate pixels.
void writeStrips(path const& path, Directory const& directory, std::vector<std::string> const& strips) {
    TiffPtr const pTiff = openPlain(path, "w");
    TIFFSetField(pTiff.get(), TIFFTAG_IMAGEWIDTH, directory.sizeX);
    TIFFSetField(pTiff.get(), TIFFTAG_IMAGELENGTH, directory.sizeY);
    TIFFSetField(pTiff.get(), TIFFTAG_BITSPERSAMPLE, directory.bits);
    TIFFSetField(pTiff.get(), TIFFTAG_SAMPLESPERPIXEL, directory.samples);
    TIFFSetField(pTiff.get(), TIFFTAG_PHOTOMETRIC, directory.photometric);
    TIFFSetField(pTiff.get(), TIFFTAG_PLANARCONFIG, directory.planarConfig);
    TIFFSetField(pTiff.get(), TIFFTAG_COMPRESSION, COMPRESSION_ADOBE_DEFLATE);
    TIFFSetField(pTiff.get(), TIFFTAG_ROWSPERSTRIP, directory.rowsPerStrip);
    for (std::uint32_t strip = 0; strip < strips.size(); ++strip) {
        std::string bytes = strips[strip];
        auto const size = static_cast<tmsize_t>(bytes.size());
        EXPECT_EQ(TIFFWriteRawStrip(pTiff.get(), strip, bytes.data(), size), size);
    }
}

/// RGB pixels of noise under a compression that damage breaks.
Directory makeRgb(std::uint32_t sizeX, std::uint32_t sizeY, std::uint32_t rowsPerStrip) {
    Directory directory = stripDirectory(sizeX, sizeY, rowsPerStrip, COMPRESSION_ADOBE_DEFLATE, 3);
    directory.pixels = noise(directory.countBytes());
    return directory;
}

class CheckedStrips : public TiffTest {
  protected:
    /// The strip of `index` no longer decodes.
    void spoil(std::uint32_t index, std::uint16_t directory = 0) const {
        std::uint64_t offset = 0;
        std::uint64_t size = 0;
        {
            TiffPtr const pTiff = openPlain(_path, "r", directory);
            offset = TIFFGetStrileOffset(pTiff.get(), index);
            size = TIFFGetStrileByteCount(pTiff.get(), index);
        }
        std::string bytes = readFile(_path);
        bytes.replace(offset, size, size, '\xff');
        writeFile(_path, bytes);
    }

    void expectInAllCalls(std::string const& pixels) const {
        EXPECT_EQ(loadPlainly(_path).pixels, pixels);
        EXPECT_EQ(loadChecked(_path).pixels, pixels);
        for (eTiffPolicy const policy : g_allPolicies) {
            PolicyFile const file(_path, policy);
            ASSERT_THAT(file.getOpening(), Succeeds());
            std::string all;
            for (vlUInt64 c = 0; c < file.getGeometry().getSizeC(); ++c) {
                all += file.readPlane(0, c).pixels.value_or("not read");
            }
            EXPECT_EQ(all, pixels);
            EXPECT_THAT(file.getWarnings(), IsEmpty());
        }
    }
};

} // namespace

TEST_F(CheckedStrips, ADeflateStripPaddedToRowsBehindTheImageIsReadInAllCalls) {
    for (std::uint16_t const bits : {std::uint16_t{8}, std::uint16_t{16}}) {
        std::uint64_t const rowBytes = 31U * bits / 8;
        std::string const pixels = noise(rowBytes * 30) + std::string(rowBytes * 7, '\xff');
        writeStrips(_path, stripDirectory(31, 37, 64, COMPRESSION_NONE, 1, bits),
                    {deflate(pixels + std::string(rowBytes * 27, '\xff'))});
        expectInAllCalls(pixels);
    }
    std::string const rgb = noise(31 * 30 * 3) + std::string(31 * 7 * 3, '\xff');
    writeStrips(_path, makeRgb(31, 37, 64), {deflate(rgb + std::string(31 * 27 * 3, '\xff'))});
    Channels const channels = pickChannels(rgb, 3, 1);
    expectInAllCalls(channels[0] + channels[1] + channels[2]);
}

TEST_F(CheckedStrips, ADeflateStripThatInflatesPastItsSizeIsReadInAllCalls) {
    std::string const pixels = noise(100 * 20);
    for (int const level : {0, 9}) { // stored, and as small as it gets
        writeStrips(_path, stripDirectory(100, 20, 10),
                    {deflate(pixels.substr(0, 1000) + "x", level), deflate(pixels.substr(1000))});
        expectInAllCalls(pixels);
    }
}

TEST_F(CheckedStrips, AnInterleavedStripThatCannotBeDecodedIsZeroOrAFailureByTheKindOfCall) {
    for (std::uint32_t const sizeX : {20U, 4000U}) { // strips below and above 64 KiB
        Directory const directory = makeRgb(sizeX, 16, 8);
        writeTiff(_path, {directory});
        spoil(1);
        std::string const intact = pickChannel(directory.pixels, 3, 1, 1).substr(0, sizeX * 8);
        std::string const failed = "Failed to read data of strip 1 for directory z=0, c=1, t=0 of file " +
                                   _path.string() + "\nTiff Error : ";
        for (eTiffPolicy const policy : {eTiffPolicy::Plain, eTiffPolicy::Tolerant}) {
            PolicyFile const file(_path, policy);
            EXPECT_TRUE(file.readPlane(0, 1).pixels == intact + std::string(sizeX * 8, '\0'));
            EXPECT_THAT(file.getWarnings(),
                        ElementsAre(StartsWith("1 strips of directory z=0, c=1, t=0 cannot be decoded, their "
                                               "pixels are zero; the first one:\n" +
                                               failed)));
        }
        PolicyFile const strict(_path, eTiffPolicy::Strict);
        EXPECT_THAT(strict.readPlane(0, 1).failure, StartsWith(failed));
        EXPECT_THAT(strict.getWarnings(), IsEmpty());
        EXPECT_TRUE(strict.read({0, 1, 0, 0, sizeX * 8}).pixels == intact);

        EXPECT_THAT(loadPlainly(_path).failure, HasSubstr("Failed to read data of strip 1"));
        EXPECT_THAT(loadChecked(_path).failure, HasSubstr("Failed to read data of strip 1"));
        Loaded const loaded = loadChecked(_path, tolerant());
        ASSERT_TRUE(loaded.pixels);
        EXPECT_TRUE(loaded.pixels->substr(sizeX * 16, sizeX * 16) == intact + std::string(sizeX * 8, '\0'));
        EXPECT_EQ(loaded.warnings.size(), 1U);
    }
}

TEST_F(CheckedStrips, AnInterleavedStripWhoseBytesCannotHoldItsPixelsIsTreatedAlike) {
    std::vector<std::string> const strips = {deflate("too short")};
    writeStrips(_path, makeRgb(1000, 1000, 1000), strips);
    PolicyFile const plain(_path, eTiffPolicy::Plain);
    EXPECT_TRUE(plain.readPlane().pixels == std::string(1000000, '\0'));
    std::string const reason = "The strip has " + std::to_string(strips[0].size()) +
                               " bytes in the file, too few for 3000000 bytes of pixels";
    EXPECT_THAT(plain.getWarnings(), ElementsAre(testing::EndsWith(reason)));
    EXPECT_THAT(PolicyFile(_path, eTiffPolicy::Strict).readPlane().failure, testing::EndsWith(reason));
}

TEST_F(CheckedStrips, AGreyStripThatCannotBeDecodedIsZeroInTolerantReadsAlone) {
    Directory directory = stripDirectory(50, 30, 10, COMPRESSION_ADOBE_DEFLATE);
    directory.pixels = noise(1500);
    writeTiff(_path, {directory});
    spoil(1);
    for (eTiffPolicy const policy : {eTiffPolicy::Plain, eTiffPolicy::Strict}) {
        PolicyFile const file(_path, policy);
        EXPECT_THAT(file.readPlane().failure, HasSubstr("Failed to read data of strip 1"));
        EXPECT_THAT(file.getWarnings(), IsEmpty());
    }
    std::string expected = directory.pixels;
    expected.replace(500, 500, 500, '\0');
    PolicyFile const file(_path, eTiffPolicy::Tolerant);
    EXPECT_EQ(file.readPlane().pixels, expected);
    EXPECT_EQ(file.read({0, 0, 0, 700, 500}).pixels, expected.substr(700, 500));
    EXPECT_EQ(file.getWarnings().size(), 2U);
    EXPECT_EQ(loadChecked(_path, tolerant()).pixels, expected);
}

TEST_F(CheckedStrips, AStripThatIsNotInTheFileIsZeroInTolerantReadsAlone) {
    for (std::uint16_t const compression :
         {std::uint16_t{COMPRESSION_NONE}, std::uint16_t{COMPRESSION_LZW}}) {
        RawDirectory directory = greyDirectory().set(TIFFTAG_COMPRESSION, shorts({compression}));
        writeRawTiff(_path, {directory.set(TIFFTAG_STRIPOFFSETS, longs({1000000}))});
        PolicyFile const file(_path, eTiffPolicy::Tolerant);
        ASSERT_THAT(file.getOpening(), Succeeds());
        EXPECT_EQ(file.readPlane().pixels, std::string(12, '\0'));
        EXPECT_EQ(file.getWarnings().size(), 1U);
        EXPECT_THAT(PolicyFile(_path, eTiffPolicy::Strict).readPlane().failure,
                    HasSubstr("Failed to read data of strip 0"));
    }
}

TEST_F(CheckedStrips, APackedRowThatCannotBeDecodedIsZeroInTolerantReadsAlone) {
    Directory directory = stripDirectory(64, 30, 10, COMPRESSION_ADOBE_DEFLATE, 1, 1);
    directory.pixels = std::string(240, '\xff');
    writeTiff(_path, {directory});
    spoil(1);
    EXPECT_THAT(PolicyFile(_path, eTiffPolicy::Strict).readPlane().failure,
                HasSubstr("Failed to read data of row 10"));
    std::string expected(1920, '\1');
    expected.replace(640, 640, 640, '\0');
    PolicyFile const file(_path, eTiffPolicy::Tolerant);
    EXPECT_EQ(file.readPlane().pixels, expected);
    EXPECT_THAT(file.getWarnings(), ElementsAre(StartsWith("10 rows of directory z=0, c=0, t=0")));
    EXPECT_EQ(file.read({0, 0, 0, 64 * 12, 64 * 12}).pixels, expected.substr(64 * 12, 64 * 12));
}

TEST_F(CheckedStrips, ARunOfPackedPixelsFromColumn256OnIsInItsPlaceInCallsWithOptions) {
    Directory directory = stripDirectory(600, 2, 0, COMPRESSION_NONE, 1, 1);
    directory.pixels = noise(150);
    writeTiff(_path, {directory});
    std::string const row = PolicyFile(_path, eTiffPolicy::Strict).read({0, 0, 0, 600, 600}).pixels.value();
    PixelRun const run = {0, 0, 0, 600 + 300, 200};
    PolicyFile const strict(_path, eTiffPolicy::Strict);
    EXPECT_EQ(strict.read(run).pixels, row.substr(300, 200));
    EXPECT_THAT(strict.getWarnings(), IsEmpty());
    PolicyFile const plain(_path, eTiffPolicy::Plain);
    EXPECT_EQ(plain.read(run).pixels, row.substr(44, 200));
    EXPECT_THAT(plain.getWarnings(),
                ElementsAre("Packed pixels of directory z=0, c=0, t=0 of file " + _path.string() +
                            " are read from column 44 instead of column 300"));
}

TEST_F(CheckedStrips, ABilevelFileWithoutBitsOpensInCallsWithOptions) {
    RawDirectory directory = greyDirectory(20, 3, 1);
    directory.pixels = noise(9);
    directory.without(TIFFTAG_BITSPERSAMPLE);
    writeRawTiff(_path, {directory, directory});
    EXPECT_THAT(PolicyFile(_path, eTiffPolicy::Plain).getOpening(), testing::Not(Succeeds()));
    PolicyFile const strict(_path, eTiffPolicy::Strict);
    ASSERT_THAT(strict.getOpening(), Succeeds());
    EXPECT_EQ(strict.getGeometry().getBufferType(), eIBT_Binary);
    std::string expected;
    for (std::size_t pixel = 0; pixel < 60; ++pixel) {
        std::size_t const bit = pixel % 20;
        expected += static_cast<char>(
            static_cast<unsigned char>(directory.pixels[pixel / 20 * 3 + bit / 8]) >> (7 - bit % 8) & 1);
    }
    EXPECT_EQ(strict.readPlane(1).pixels, expected);
    EXPECT_EQ(loadChecked(_path).pixels, expected + expected);
}

TEST_F(CheckedStrips, OneBitPixelsWithChannelsBehindAnRgbDirectoryAreNoGreyRows) {
    RawDirectory packed = colorDirectory();
    packed.set(TIFFTAG_BITSPERSAMPLE, shorts({1, 1, 1}));
    writeRawTiff(_path, {colorDirectory(), packed});
    for (eTiffPolicy const policy : g_allPolicies) {
        PolicyFile const file(_path, policy);
        if (file.getOpening()) {
            EXPECT_THAT(file.readPlane(1).failure, HasSubstr("The directory has planes of"));
        }
    }
}

TEST_F(CheckedStrips, AFourthBufferForThreeChannelsNeedsNoSampleBehindTheStrip) {
    for (std::uint16_t const compression :
         {std::uint16_t{COMPRESSION_NONE}, std::uint16_t{COMPRESSION_ADOBE_DEFLATE}}) {
        Directory directory = makeRgb(20, 4, 4);
        directory.compression = compression;
        writeTiff(_path, {directory});
        Planes const planes = openPlanes(_path);
        Channels channels(4, std::string(80, 'x'));
        EXPECT_THAT(planes.tryReadRgb(planes.wholePlane(), channels), Succeeds());
        EXPECT_EQ(channels[0], pickChannel(directory.pixels, 3, 0, 1));
        EXPECT_EQ(channels[3], channels[0].substr(1) + std::string(1, '\0')); // that of the next pixel
    }
}

} // namespace velmo::image::file
