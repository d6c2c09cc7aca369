// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CheckedFixture.h"

#include <VELMOImageFile/VELMOImageFileLog.h>

namespace velmo::image::file {

namespace {

class CheckedWrites : public TiffTest {
  protected:
    /// Under each policy the second page must keep its pixels and the write say why.
    void expectSecondPageKept(OpenRequest request) const {
        request.access = eIAM_ReadWrite;
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
            std::string const outcome = withFileSizeLimit(limit, [&] { return writePage(pixels); });
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
    Directory bytes;
    bytes.sizeX = 8;
    bytes.sizeY = 5;
    Directory bits = bytes;
    bits.bits = 1;
    bits.pixels = "\x55\xaa\x33\xcc\x0f";
    writeTiff(_path, {bytes, bits});
    OpenRequest request;
    expectSecondPageKept(request);
    request.directoryMode = eTDM_Temporal;
    expectSecondPageKept(request);
}

TEST_F(CheckedWrites, ARgbWriteWithoutSpaceLosesNoStripAndWarnsOfThoseNotWritten) {
    std::string const pixels = noise(15000);
    for (std::uint16_t const compression :
         {std::uint16_t{COMPRESSION_LZW}, std::uint16_t{COMPRESSION_ADOBE_DEFLATE}}) {
        for (std::uint32_t const rowsPerStrip : {50U, 10U, 1U}) {
            Directory page;
            page.sizeX = 100;
            page.sizeY = 50;
            page.samples = 3;
            page.photometric = PHOTOMETRIC_RGB;
            page.compression = compression;
            page.rowsPerStrip = rowsPerStrip;
            page.pixels.assign(15000, 'b');
            EXPECT_GT(writeWithoutSpace(page, pixels), 0U) << compression << ", " << rowsPerStrip;
        }
    }
}

TEST_F(CheckedWrites, AShortLastStripOfSwappedPixelsStaysInItsPlace) {
    Directory page;
    page.sizeX = 4;
    page.sizeY = 5;
    page.bits = 16;
    page.rowsPerStrip = 2;
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
