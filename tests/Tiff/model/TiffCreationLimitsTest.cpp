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

} // namespace velmo::image::file
