// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "ImageBytes.h"
#include "TemporaryFolder.h"
#include "ThrownText.h"

#include <VELMOImage/VELMOImageLog.h>
#include <VELMOImageFile/VELMOImageFile.h>
#include <boost/filesystem/operations.hpp>
#include <cstring>
#include <numeric>

namespace velmo::test {

namespace fs = boost::filesystem;
using namespace image;
using namespace image::file;

namespace {

using testing::HasSubstr;
using testing::StartsWith;

/// A pixel type and the C++ type that it needs, as a message names it.
struct TypeCase {
    eImageBufferType type;
    char const* name;
    char const* needed;
};

TypeCase const g_types[] = {
    {eIBT_Int8, "eIBT_Int8", "std::int8_t"},         {eIBT_UInt8, "eIBT_UInt8", "std::uint8_t"},
    {eIBT_Int16, "eIBT_Int16", "std::int16_t"},      {eIBT_UInt16, "eIBT_UInt16", "std::uint16_t"},
    {eIBT_Int32, "eIBT_Int32", "std::int32_t"},      {eIBT_UInt32, "eIBT_UInt32", "std::uint32_t"},
    {eIBT_Real32, "eIBT_Real32", "float"},           {eIBT_Binary, "eIBT_Binary", "std::uint8_t"},
    {eIBT_Label16, "eIBT_Label16", "std::uint16_t"}, {eIBT_Label32, "eIBT_Label32", "std::uint32_t"},
    {eIBT_Label8, "eIBT_Label8", "std::uint8_t"},
};

/// Calls `work(T(), name of T)` for each C++ type of pixels.
template <class Work>
void forEachType(Work const& work) {
    work(std::int8_t(), "std::int8_t");
    work(std::uint8_t(), "std::uint8_t");
    work(std::int16_t(), "std::int16_t");
    work(std::uint16_t(), "std::uint16_t");
    work(std::int32_t(), "std::int32_t");
    work(std::uint32_t(), "std::uint32_t");
    work(float(), "float");
}

constexpr vlUInt64 g_sizeX = 5;
constexpr vlUInt64 g_sizeY = 3;
constexpr vlUInt64 g_sizeZ = 2;

/// The pixels of plane z: all different, at both ends of the type; of binary pixels 0 and 1.
template <class T>
std::vector<T> makePlane(vlUInt64 z, eImageBufferType type) {
    std::vector<T> pixels(g_sizeX * g_sizeY);
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        pixels[i] = static_cast<T>(type == eIBT_Binary ? (i + z) % 3 == 0 : 7 * i + 100 * z);
    }
    if (type != eIBT_Binary) {
        pixels.front() = std::numeric_limits<T>::lowest();
        pixels.back() = std::numeric_limits<T>::max();
    }
    return pixels;
}

struct NamedImage {
    std::string name; ///< as in messages
    ImagePtr pImage;
};

/// The same pixels in memory, on disk and distributed, through TIFF and raw files.
std::vector<NamedImage> makeImages(TemporaryFolder const& folder, TypeCase const& entry) {
    ImageGeometryPtr const pGeometry = geometry3d(entry.type, g_sizeX, g_sizeY, g_sizeZ);
    ImagePtr const pImage = makeMemoryImage(*pGeometry, std::string(pGeometry->getFullMemorySize(), '\0'));
    forEachType([&](auto tag, std::string const& name) {
        if (name == entry.needed) {
            for (vlUInt64 z = 0; z < g_sizeZ; ++z) {
                writePlane(pImage, {z, 0, 0}, makePlane<decltype(tag)>(z, entry.type));
            }
        }
    });
    fs::path const tiff = folder / "image.tif";
    fs::path const raw = folder / "image.raw";
    saveTiffImageFile(tiff, pImage);
    saveRawImageFile(raw, pImage, RawWriteOptions{});
    return {{"the image", pImage},
            {"the image", loadTiffImageFile(tiff)},
            {"file \"" + tiff.string() + '"', openTiffImageFile(tiff, {}, eIAM_ReadWrite)},
            {"the image", loadDistributedTiffImageFile(tiff)},
            {"the image", loadRawImageFile(raw, *pGeometry)},
            {"file \"" + raw.string() + '"', openRawImageFile(raw, *pGeometry)}};
}

/// Every access with the type that the pixels need.
template <class T>
void expectPixels(BaseImage const& image, eImageBufferType type) {
    for (vlUInt64 z = 0; z < g_sizeZ; ++z) {
        std::vector<T> const expected = makePlane<T>(z, type);
        EXPECT_EQ(readPlane<T>(image, {z, 0, 0}), expected);
        std::vector<T> pixels(1000);
        readPlane(image, {z, 0, 0}, pixels);
        EXPECT_EQ(pixels, expected);
        for (vlUInt64 y = 0; y < g_sizeY; ++y) {
            auto const first = expected.begin() + static_cast<std::ptrdiff_t>(y * g_sizeX);
            EXPECT_EQ(readRow<T>(image, {z, 0, 0}, y), std::vector<T>(first, first + g_sizeX));
        }
    }
}

std::string typeMismatch(NamedImage const& image, TypeCase const& entry, std::string const& given) {
    return "Plane z=1 c=0 t=0 of " + image.name + " has pixels of type " + entry.name + ", which need " +
           entry.needed + ", not " + given;
}

/// Every access with a type that the pixels do not need.
template <class T>
void expectRefused(NamedImage const& image, std::string const& text) {
    ImagePtr const& pImage = image.pImage;
    std::vector<T> pixels(1, T(42));
    EXPECT_EQ(thrownText<VELMOImageException>([&] { readPlane<T>(pImage, {1, 0, 0}); }), text);
    EXPECT_EQ(thrownText<VELMOImageException>([&] { readPlane(pImage, {1, 0, 0}, pixels); }), text);
    EXPECT_EQ(pixels, std::vector<T>(1, T(42)));
    EXPECT_EQ(thrownText<VELMOImageException>([&] { readRow<T>(pImage, {1, 0, 0}, 0); }), text);
    EXPECT_EQ(thrownText<VELMOImageException>([&] { viewPlane<T>(pImage, {1, 0, 0}); }), text);
    pixels.resize(g_sizeX * g_sizeY);
    EXPECT_EQ(thrownText<VELMOImageException>([&] { writePlane(pImage, {1, 0, 0}, pixels); }), text);
}

class PixelAccess : public testing::Test {
  protected:
    ImageGeometryPtr _pGeometry = geometry3d(eIBT_UInt16, g_sizeX, g_sizeY, g_sizeZ);
    std::string _pixels = makePixels(*_pGeometry);
    ImagePtr _pImage = makeMemoryImage(*_pGeometry, _pixels);
    TemporaryFolder _folder;
};

} // namespace

TEST_F(PixelAccess, ReadsEveryPixelTypeAsTheTypeThatItNeedsAndAsNoOther) {
    for (TypeCase const& entry : g_types) {
        for (NamedImage const& image : makeImages(_folder, entry)) {
            SCOPED_TRACE(std::string(entry.name) + " of " + image.name);
            std::string const before = readPixels(*image.pImage);
            forEachType([&](auto tag, std::string const& name) {
                using T = decltype(tag);
                if (name == entry.needed) {
                    expectPixels<T>(*image.pImage, entry.type);
                } else {
                    expectRefused<T>(image, typeMismatch(image, entry, name));
                }
            });
            EXPECT_EQ(readPixels(*image.pImage), before);
        }
    }
}

TEST_F(PixelAccess, WritesEveryPixelTypeIntoAFile) {
    for (TypeCase const& entry : g_types) {
        ImagePtr const pTarget = makeImages(_folder, entry)[2].pImage;
        forEachType([&](auto tag, std::string const& name) {
            using T = decltype(tag);
            if (name == entry.needed) {
                std::vector<T> const pixels = makePlane<T>(1, entry.type);
                writePlane(pTarget, {0, 0, 0}, pixels);
                EXPECT_EQ(readPlane<T>(loadTiffImageFile(_folder / "image.tif"), {0, 0, 0}), pixels);
            }
        });
    }
}

TEST_F(PixelAccess, AsksTheTimeStepForItsType) {
    ImageGeometryPtr const pGeometry = makeHeterogeneous(); // eIBT_UInt8, eIBT_Real32, eIBT_Label16
    ImagePtr const pImage = makeMemoryImage(*pGeometry, makePixels(*pGeometry));
    saveTiffImageFile(_folder / "types.tif", pImage);
    for (ImagePtr const& pSource : {pImage, loadTiffImageFile(_folder / "types.tif"),
                                    ImagePtr(openTiffImageFile(_folder / "types.tif"))}) {
        EXPECT_EQ(readPlane<std::uint8_t>(pSource, {0, 1, 0}).size(), 10U);
        EXPECT_EQ(readPlane<float>(pSource, {0, 1, 1}).size(), 10U);
        EXPECT_EQ(readPlane<std::uint16_t>(pSource, {0, 1, 2}).size(), 10U);
        EXPECT_THROW(readPlane<std::uint8_t>(pSource, {0, 1, 1}), VELMOImageException);
        EXPECT_THROW(readPlane<float>(pSource, {0, 1, 2}), VELMOImageException);
    }
    std::vector<float> const plane = readPlane<float>(pImage, {1, 2, 1});
    EXPECT_EQ(std::memcmp(plane.data(), pImage->accessPlan(1, 2, 1), 40), 0);
}

TEST_F(PixelAccess, ReadsTheChannelsOfColours) {
    ColorGeometry rgb;
    rgb.initRgb();
    VolumeGeometry volume;
    volume.init3d(g_sizeZ);
    ImageGeometryPtr const pGeometry =
        geometry(eIBT_UInt8, g_sizeX, g_sizeY, volume, rgb, TemporalGeometry());
    ImagePtr const pImage = makeMemoryImage(*pGeometry, makePixels(*pGeometry));
    saveTiffImageFile(_folder / "rgb.tif", pImage);
    ImagePtr const pOnDisk = openTiffImageFile(_folder / "rgb.tif");
    for (vlUInt64 c = 0; c < 3; ++c) {
        auto const* const pPixels = static_cast<std::uint8_t const*>(pImage->accessPlan(1, c, 0));
        std::vector<std::uint8_t> const expected(pPixels, pPixels + g_sizeX * g_sizeY);
        EXPECT_EQ(readPlane<std::uint8_t>(pOnDisk, {1, c, 0}), expected);
    }
    EXPECT_THROW(readPlane<std::uint8_t>(pOnDisk, {1, 3, 0}), VELMOImageException);
}

TEST_F(PixelAccess, RefusesAPlaneThatDoesNotExist) {
    std::vector<std::uint16_t> const pixels(g_sizeX * g_sizeY);
    for (PlanIndexes const& plane : {PlanIndexes{g_sizeZ, 0, 0}, PlanIndexes{0, 1, 0},
                                     PlanIndexes{0, 0, NumericLimits<vlUInt64>::s_max}}) {
        std::string const text = "There is no plane z=" + std::to_string(plane.z) +
                                 " c=" + std::to_string(plane.c) + " t=" + std::to_string(plane.t) +
                                 " in the image of sizes z=2 c=1 t=1";
        auto const expectText = [&](auto const& call) {
            EXPECT_EQ(thrownText<VELMOImageException>(call), text);
        };
        expectText([&] { readPlane<std::uint16_t>(_pImage, plane); });
        expectText([&] { readRow<std::uint16_t>(_pImage, plane, 0); });
        expectText([&] { viewPlane<std::uint16_t>(_pImage, plane); });
        expectText([&] { writePlane(_pImage, plane, pixels); });
    }
    EXPECT_EQ(readPixels(*_pImage), _pixels);
}

TEST_F(PixelAccess, RefusesARowThatDoesNotExist) {
    for (vlUInt64 const y : {g_sizeY, NumericLimits<vlUInt64>::s_max}) {
        EXPECT_EQ(thrownText<VELMOImageException>([&] {
                      readRow<std::uint16_t>(_pImage, {1, 0, 0}, y);
                  }),
                  "Plane z=1 c=0 t=0 of the image has 3 rows, and row y=" + std::to_string(y) +
                      " is asked for");
    }
}

TEST_F(PixelAccess, RefusesAnotherNumberOfPixels) {
    for (std::size_t const nbPixels : {0U, 14U, 16U}) {
        std::vector<std::uint16_t> const pixels(nbPixels, 7);
        EXPECT_EQ(thrownText<VELMOImageException>([&] {
                      writePlane(_pImage, {1, 0, 0}, pixels);
                  }),
                  "Plane z=1 c=0 t=0 of the image has 15 pixels, and " + std::to_string(nbPixels) +
                      " are given");
    }
    EXPECT_EQ(readPixels(*_pImage), _pixels);
}

TEST_F(PixelAccess, RefusesAnEmptyPointer) {
    ImagePtr const pNone;
    DiskImagePtr const pNoFile;
    std::vector<float> const pixels(1);
    char const* const text = "The pointer to the image is empty";
    EXPECT_EQ(thrownText<VELMOImageException>([&] { readPlane<float>(pNone, {0, 0, 0}); }), text);
    EXPECT_EQ(thrownText<VELMOImageException>([&] { readRow<float>(pNoFile, {0, 0, 0}, 0); }), text);
    EXPECT_EQ(thrownText<VELMOImageException>([&] { viewPlane<float>(pNone, {0, 0, 0}); }), text);
    EXPECT_EQ(thrownText<VELMOImageException>([&] { writePlane(pNone, {0, 0, 0}, pixels); }), text);
}

TEST_F(PixelAccess, RefusesPixelsWithoutAType) {
    ImageGeometryPtr const pGeometry = geometry3d(eIBT_None, g_sizeX, g_sizeY, g_sizeZ);
    NamedImage const image = {"the image", makeMemoryImage(*pGeometry, "")};
    forEachType([&](auto tag, std::string const& name) {
        expectRefused<decltype(tag)>(image,
                                     typeMismatch(image, {eIBT_None, "eIBT_None", "no C++ type"}, name));
    });
    ImageGeometryPtr const pStrange = geometry3d(static_cast<eImageBufferType>(99), 1, 1, 2);
    EXPECT_EQ(thrownText<VELMOImageException>([&] {
                  readPlane<float>(makeMemoryImage(*pStrange, ""), {0, 0, 0});
              }),
              "Plane z=0 c=0 t=0 of the image has pixels of type 99, which need no C++ type, not float");
}

TEST_F(PixelAccess, TakesAPlaneWithoutPixels) {
    ImagePtr const pImage = makeMemoryImage(*geometry3d(eIBT_UInt16, 0, 3, 1), "");
    EXPECT_TRUE(readPlane<std::uint16_t>(pImage, {0, 0, 0}).empty());
    EXPECT_TRUE(readRow<std::uint16_t>(pImage, {0, 0, 0}, 2).empty());
    writePlane(pImage, {0, 0, 0}, std::vector<std::uint16_t>());
    PlaneView<std::uint16_t> const view = viewPlane<std::uint16_t>(pImage, {0, 0, 0});
    EXPECT_EQ(view.begin(), view.end());
}

TEST_F(PixelAccess, ShowsAPlaneInMemoryToChangeIt) {
    PlaneView<std::uint16_t> const view = viewPlane<std::uint16_t>(_pImage, {1, 0, 0});
    EXPECT_EQ(view.pPixels, _pImage->accessPlan(1, 0, 0));
    EXPECT_EQ(view.sizeX, g_sizeX);
    EXPECT_EQ(view.sizeY, g_sizeY);
    view.at(4, 2) = 1234;
    EXPECT_EQ(readRow<std::uint16_t>(_pImage, {1, 0, 0}, 2)[4], 1234);
    std::iota(view.begin(), view.end(), std::uint16_t{1});
    EXPECT_EQ(readPlane<std::uint16_t>(_pImage, {1, 0, 0})[14], 15);
    EXPECT_EQ(thrownText<VELMOImageException>([&] { view.at(5, 2) = 0; }),
              "Pixel x=5 y=2 lies outside of a plane of 5 x 3 pixels");
    EXPECT_EQ(thrownText<VELMOImageException>([&] { view.at(0, 3) = 0; }),
              "Pixel x=0 y=3 lies outside of a plane of 5 x 3 pixels");
}

TEST_F(PixelAccess, ShowsAPlaneOfAConstantImage) {
    BaseImage const& image = *_pImage;
    ImageConstPtr const pConstant = _pImage;
    EXPECT_EQ(viewPlane<std::uint16_t const>(image, {1, 0, 0}).pPixels, image.accessPlan(1, 0, 0));
    EXPECT_EQ(viewPlane<std::uint16_t const>(pConstant, {1, 0, 0}).pPixels, image.accessPlan(1, 0, 0));
    EXPECT_THROW(viewPlane<float const>(pConstant, {1, 0, 0}), VELMOImageException);
}

TEST_F(PixelAccess, ShowsNoPlaneOfAFile) {
    saveTiffImageFile(_folder / "image.tif", _pImage);
    DiskImagePtr const pOnDisk = openTiffImageFile(_folder / "image.tif");
    EXPECT_EQ(thrownText<VELMOImageException>([&] {
                  viewPlane<std::uint16_t>(pOnDisk, {1, 0, 0});
              }),
              "Plane z=1 c=0 t=0 of file \"" + (_folder / "image.tif").string() +
                  "\" is not in memory: it can be read, not viewed");
}

TEST_F(PixelAccess, NamesTheFirstOfJoinedFiles) {
    for (char const* const name : {"z1.tif", "z2.tif"}) {
        saveTiffImageFile(_folder / name, _pImage);
    }
    ImagePtr const pJoined = openTiffImageFiles(_folder.getPath(), "z<INDEX>.tif");
    EXPECT_EQ(readPlane<std::uint16_t>(pJoined, {3, 0, 0}), readPlane<std::uint16_t>(_pImage, {1, 0, 0}));
    EXPECT_EQ(thrownText<VELMOImageException>([&] {
                  readPlane<float>(pJoined, {3, 0, 0});
              }),
              "Plane z=3 c=0 t=0 of the files from \"" + (_folder / "z1.tif").string() +
                  "\" on has pixels of type eIBT_UInt16, which need std::uint16_t, not float");
}

TEST_F(PixelAccess, ThrowsTheReasonOfAFailedRead) {
    saveRawImageFile(_folder / "image.raw", _pImage, RawWriteOptions{});
    DiskImagePtr const pOnDisk = openRawImageFile(_folder / "image.raw", *_pGeometry);
    fs::resize_file(_folder / "image.raw", 40);
    std::string const head =
        "Failed to read plane z=1 c=0 t=0 of file \"" + (_folder / "image.raw").string() + "\"\n";
    auto const text = thrownText<VELMOImageException>([&] { readPlane<std::uint16_t>(pOnDisk, {1, 0, 0}); });
    EXPECT_THAT(text, StartsWith(head));
    EXPECT_THAT(text.substr(head.size()), HasSubstr("image.raw"));
}

TEST_F(PixelAccess, ThrowsTheReasonOfAFailedWrite) {
    HookedImage image(*_pGeometry);
    image.setWriteHook(failAt(0, "no room"));
    EXPECT_EQ(thrownText<VELMOImageException>([&] {
                  writePlane(image, {1, 0, 0}, std::vector<std::uint16_t>(15));
              }),
              "Failed to write plane z=1 c=0 t=0 of the image\nno room");
}

TEST_F(PixelAccess, OfRunsTakesIndexesOfAPlane) {
    std::uint16_t pixels[3] = {};
    EXPECT_TRUE(_pImage->readPixels({1, 0, 0}, 4, 3, pixels));
    EXPECT_EQ(std::memcmp(pixels, _pixels.data() + 2 * (15 + 4), 6), 0);
    std::uint16_t const others[3] = {1, 2, 3};
    EXPECT_TRUE(_pImage->writePixels({1, 0, 0}, 4, 3, others));
    EXPECT_TRUE(_pImage->readPixels(1, 0, 0, 4, 3, pixels));
    EXPECT_EQ(std::memcmp(pixels, others, 6), 0);
}

} // namespace velmo::test
