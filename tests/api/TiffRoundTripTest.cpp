// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "TiffFunctions.h"

#include <boost/filesystem/operations.hpp>
#include <boost/make_shared.hpp>
#include <cstring>
#include <sstream>

namespace velmo::test {

namespace fs = boost::filesystem;
using namespace image;
using namespace image::file;

namespace {

constexpr eTiffCompression g_compressions[] = {eTC_None, eTC_Lzw, eTC_Deflate};

ColorGeometry makeColor(eColorGeometryType type, vlUInt64 nbUserChannels) {
    ColorGeometry color;
    type == eCGT_User ? color.initUser(nbUserChannels) : color.init(type);
    return color;
}

/// Grey, every type of colours, and channels of the user's own.
std::vector<ColorGeometry> getColors() {
    std::vector<ColorGeometry> colors;
    for (vlUInt64 type = eCGT_Grey; type <= eCGT_User; ++type) {
        colors.push_back(makeColor(static_cast<eColorGeometryType>(type), 1));
    }
    colors.push_back(makeColor(eCGT_User, 2));
    colors.push_back(makeColor(eCGT_User, 5));
    return colors;
}

ImageGeometryPtr makeImageGeometry(eImageBufferType bufferType, ColorGeometry const& color, vlUInt64 sizeX,
                                   vlUInt64 sizeY) {
    VolumeGeometry volume;
    volume.init3d(2);
    TemporalGeometry temporal;
    temporal.initSequence(2);
    return geometry(bufferType, sizeX, sizeY, volume, color, temporal);
}

std::string describe(BaseImageGeometry const& geometry) {
    std::ostringstream text;
    text << describeGeometry(geometry) << ' ' << geometry.getColorGeometryType() << ' '
         << geometry.getVolumeGeometryType() << ' ' << geometry.getTemporalGeometryType() << ' '
         << geometry.getColorGeometry().minIsBlack();
    for (auto const& [index, name] : geometry.getColorGeometry().getChannelNames()) {
        text << ' ' << index << '=' << name;
    }
    return text.str();
}

void expectRoundTrip(fs::path const& path, BaseImageGeometry const& geometry, eTiffCompression compression) {
    SCOPED_TRACE(testing::Message() << describe(geometry) << " compression " << compression);
    std::string const pixels = makePixels(geometry, 3);
    ImagePtr const pSaved = makeMemoryImage(geometry, pixels);
    saveTiffImageFile(path, pSaved, compression);
    for (ImagePtr const& pImage : {loadTiffImageFile(path, eTBM_Default),
                                   ImagePtr(openTiffImageFile(path, eTDM_Temporal, eTBM_Label))}) {
        EXPECT_EQ(describe(pImage->getGeometry()), describe(geometry));
        EXPECT_TRUE(readPixels(*pImage) == pixels);
    }
    EXPECT_TRUE(readPixels(*pSaved) == pixels);
}

/// An image of any size that needs no memory: each of its pixels is the number of its plane.
class PlainImage : public BaseImage {
  public:
    explicit PlainImage(BaseImageGeometry const& geometry) { setGeometry(geometry); }

  private:
    BoolResult readPixelsDerived(vlUInt64 z, vlUInt64 /*c*/, vlUInt64 /*t*/, vlUInt64 /*pixelStart*/,
                                 vlUInt64 nbPixels, void* buffer) const override {
        std::memset(buffer, static_cast<int>(z), nbPixels * getImageBufferBaseSize(getBufferType()));
        return success();
    }
    BoolResult writePixelsDerived(vlUInt64, vlUInt64, vlUInt64, vlUInt64, vlUInt64, void const*) override {
        return failure("plain");
    }
};

class TiffRoundTrip : public TiffFunctions {};

} // namespace

TEST_F(TiffRoundTrip, EveryTypeColourAndCompressionLoadsAsItWasSaved) {
    for (unsigned int type = eIBT_Int8; type <= eIBT_Label8; ++type) {
        for (ColorGeometry const& color : getColors()) {
            auto const pGeometry = makeImageGeometry(static_cast<eImageBufferType>(type), color, 7, 3);
            for (eTiffCompression const compression : g_compressions) {
                expectRoundTrip(_path, *pGeometry, compression);
            }
        }
    }
}

TEST_F(TiffRoundTrip, PlanesOfManyStripsWithAShorterLastOneLoadAsTheyWereSaved) {
    for (eColorGeometryType const color : {eCGT_Grey, eCGT_Rgb, eCGT_Rgba, eCGT_HSV}) {
        for (eTiffCompression const compression : g_compressions) {
            expectRoundTrip(_path, *makeImageGeometry(eIBT_UInt16, makeColor(color, 1), 301, 203),
                            compression);
        }
    }
}

TEST_F(TiffRoundTrip, OnePixelAndOneRowLoadAsTheyWereSaved) {
    for (eTiffCompression const compression : g_compressions) {
        expectRoundTrip(_path, *geometry3d(eIBT_UInt8, 1, 1, 1), compression);
        expectRoundTrip(_path, *geometry3d(eIBT_Real32, 20000, 1, 1), compression);
        expectRoundTrip(_path, *geometry3d(eIBT_Int16, 1, 20000, 2), compression);
    }
}

TEST_F(TiffRoundTrip, WhatTheColoursAreIsKept) {
    ColorGeometry color;
    color.initUser(3);
    color.setChannelName("DAPI", 0);
    color.setChannelName("GFP", 2);
    color.setMinIsBlack(false);
    expectRoundTrip(_path, *makeImageGeometry(eIBT_UInt16, color, 5, 4), eTC_Lzw);
}

TEST_F(TiffRoundTrip, ALoadedImageSavesAgainToTheSamePixelsAndCalibration) {
    std::vector<Directory> pages = makePages(3);
    pages[2].tags = {{TIFFTAG_XRESOLUTION, 2.0F}, {TIFFTAG_YRESOLUTION, 4.0F}};
    writeTiff(_path, pages);
    ImagePtr const pFirst = loadTiffImageFile(_path, eTBM_Label);
    fs::path const copy = _folder / "copy.tif";
    saveTiffImageFile(copy, pFirst, eTC_Lzw);
    ImagePtr const pSecond = loadTiffImageFile(copy, eTBM_Default);
    EXPECT_EQ(describe(pSecond->getGeometry()), describe(pFirst->getGeometry()));
    EXPECT_EQ(readPixels(*pSecond), readPixels(*pFirst));
    ASSERT_TRUE(pSecond->hasGeometricCalibration());
    EXPECT_EQ(pSecond->getGeometricCalibrationConstPtr()->getPixelSizeX(), 0.5F);
}

#ifdef VELMO_TEST_LIMITS_MEMORY

constexpr std::size_t g_planeKilobytes = 4096;
constexpr std::size_t g_slackKilobytes = 3584; // of libraries and of files; less than another plane

TEST_F(TiffRoundTrip, ASaveTakesThePixelsOfOnePlaneWhateverTheImageHas) {
    auto const pImage = boost::make_shared<PlainImage>(*geometry3d(eIBT_UInt16, 2048, 1024, 16));
    for (eTiffCompression const compression : g_compressions) {
        std::string const text = inChild([&] {
            return std::to_string(measurePeak([&] { saveTiffImageFile(_path, pImage, compression); }));
        });
        EXPECT_GT(std::stoul(text), g_planeKilobytes / 2) << compression;
        EXPECT_LT(std::stoul(text), g_planeKilobytes + g_slackKilobytes) << compression;
    }
}

TEST_F(TiffRoundTrip, ALoadTakesTheImageAndThePixelsOfOnePlane) {
    auto const pImage = boost::make_shared<PlainImage>(*geometry3d(eIBT_UInt16, 2048, 1024, 16));
    for (eTiffCompression const compression : g_compressions) {
        saveTiffImageFile(_path, pImage, compression);
        std::string const text = inChild([&] {
            return std::to_string(measurePeak([&] {
                ImagePtr pLoaded;
                loadTiffImageFile(_path, eTBM_Default, pLoaded);
                EXPECT_EQ(static_cast<char const*>(pLoaded->accessPlan(15, 0, 0))[0], 15);
            }));
        });
        EXPECT_GE(std::stoul(text), 16 * g_planeKilobytes - g_slackKilobytes) << compression;
        EXPECT_LT(std::stoul(text), 17 * g_planeKilobytes + g_slackKilobytes) << compression;
    }
}

#endif

} // namespace velmo::test
