// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "TiffFixture.h"

namespace velmo::image::file {

namespace {

/// A first directory of so many samples that neither its colour nor its configuration would be supported.
RawDirectory makeSampled(unsigned int samples) {
    RawDirectory directory = greyDirectory();
    directory.set(TIFFTAG_SAMPLESPERPIXEL, shorts({samples}));
    directory.set(TIFFTAG_PHOTOMETRIC, shorts({PHOTOMETRIC_SEPARATED}));
    return directory;
}

using TiffOpeningSamples = TiffTest;

} // namespace

TEST_F(TiffOpeningSamples, NumbersFrom32768AreNegativeAndSoNotAboveOne) {
    for (unsigned int const samples : {32768U, 32769U, 40000U, 65535U}) {
        SCOPED_TRACE(samples);
        writeRawTiff(_path, {makeSampled(samples)});
        OpenedTiff const opened(_path);
        ASSERT_THAT(opened.result, Succeeds());
        EXPECT_EQ(opened.pGeometry->getColorGeometryType(), eCGT_Grey);
        EXPECT_EQ(opened.pGeometry->getSizeC(), 1U);
        EXPECT_EQ(opened.pGeometry->getPlanNbPixels(), 12U);
    }
}

TEST_F(TiffOpeningSamples, TheyNeedNoPlanarConfiguration) {
    RawDirectory directory = makeSampled(65535);
    directory.set(TIFFTAG_PHOTOMETRIC, shorts({PHOTOMETRIC_RGB}));
    writeRawTiff(_path, {directory});
    EXPECT_THAT(OpenedTiff(_path).result, Succeeds());
}

TEST_F(TiffOpeningSamples, NumbersUpTo32767AreAboveOne) {
    for (unsigned int const samples : {2U, 5U, 32767U}) {
        SCOPED_TRACE(samples);
        RawDirectory directory = makeSampled(samples);
        directory.set(TIFFTAG_PLANARCONFIG, shorts({PLANARCONFIG_CONTIG}));
        writeRawTiff(_path, {directory});
        EXPECT_THAT(OpenedTiff(_path).result,
                    FailsWith("Un supported photometric interpretation value 5  with " +
                              std::to_string(samples) + " samples per pixels for file " + _path.string()));
    }
}

TEST_F(TiffOpeningSamples, ZeroSamplesAreRefusedByLibtiff) {
    writeRawTiff(_path, {makeSampled(0)});
    EXPECT_THAT(OpenedTiff(_path).result, FailsLike("Failed to open tiff image file " + _path.string()));
}

} // namespace velmo::image::file
