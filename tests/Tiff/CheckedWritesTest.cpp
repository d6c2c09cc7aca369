// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CheckedFixture.h"

#include <VELMOImageFile/VELMOImageFileLog.h>

namespace velmo {
namespace image {
namespace file {

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
                                          "has 8 x 5 of 8"));
        }
        EXPECT_EQ(readFile(_path), before);
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
    Directory page;
    page.sizeX = 100;
    page.sizeY = 50;
    page.samples = 3;
    page.photometric = PHOTOMETRIC_RGB;
    page.compression = COMPRESSION_LZW;
    page.rowsPerStrip = 10;
    page.pixels.assign(15000, 'b');
    std::string const pixels = noise(15000);
    vlUInt64 nbWarnings = 0;
    for (vlUInt64 const nbMore : {0U, 10U, 1000U, 5000U, 9000U, 14000U, 18000U}) {
        writeTiff(_path, {page});
        std::uint64_t const limit = readFile(_path).size() + nbMore;
        std::string const outcome = withFileSizeLimit(limit, [&] {
            velmo::test::CapturedLog const log(getVELMOImageFileLogger());
            Planes const planes = openPlanesForWriting(_path);
            std::string text = toText(planes.tryWriteRgb(planes.wholePlane(), pickChannels(pixels, 3, 1)));
            for (std::string const& warning : findWarnings(log.getRecords())) {
                text +=
                    warning.find(" was not written, its pixels are the former ones\n") != std::string::npos
                        ? "|not written"
                        : "|" + warning;
            }
            return text;
        });
        EXPECT_THAT(outcome, testing::AnyOf(testing::MatchesRegex("success(.not written)*"),
                                            testing::StartsWith("Error while flushing")));
        std::string const found = readDirectoryPixels(_path, 0);
        for (std::size_t strip = 0; strip < 5; ++strip) {
            std::string const bytes = found.substr(3000 * strip, 3000);
            bool const bNew = bytes == pixels.substr(3000 * strip, 3000);
            EXPECT_TRUE(bNew || bytes == std::string(3000, 'b')) << "strip " << strip << " at " << nbMore;
        }
        nbWarnings += static_cast<vlUInt64>(std::count(outcome.begin(), outcome.end(), '|'));
    }
    EXPECT_GT(nbWarnings, 5U);
}

} // namespace file
} // namespace image
} // namespace velmo
