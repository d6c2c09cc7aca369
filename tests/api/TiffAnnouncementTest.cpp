// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "TiffFunctions.h"

#include <sys/resource.h>

namespace velmo::test {

namespace fs = boost::filesystem;
using namespace image;
using namespace image::file;

namespace {

/// Files that announce more than they hold.
class TiffAnnouncement : public TiffFunctions {
  protected:
    /// One directory whose description announces so many planes.
    void writeAnnouncing(std::string const& images) const {
        RawDirectory directory = greyDirectory();
        directory.set(TIFFTAG_IMAGEDESCRIPTION, ascii("ImageJ=1.53\nimages=" + images + "\n"));
        writeRawTiff(_path, {directory});
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
    std::string const text = inChild([&]() -> std::string {
        rlimit const limit = {vlUInt64{4} << 30U, vlUInt64{4} << 30U};
        if (setrlimit(RLIMIT_AS, &limit) != 0) {
            return "no limit";
        }
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
