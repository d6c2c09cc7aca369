// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "TiffFunctions.h"

#include <VELMOSerialization/BinaryArchive.h>
#include <boost/filesystem/operations.hpp>
#include <fstream>
#include <sstream>

namespace velmo::test {

namespace fs = boost::filesystem;
using namespace image;
using namespace image::file;

namespace {

constexpr std::uint32_t g_userPropertiesTag = 65000;
constexpr vlUInt64 g_sizeX = 5;
constexpr vlUInt64 g_sizeY = 3;

using Handle = std::unique_ptr<TIFF, decltype(&TIFFClose)>;

std::size_t readPeak() {
    std::ifstream status("/proc/self/status");
    for (std::string word; status >> word;) {
        if (word == "VmHWM:") {
            std::size_t kilobytes = 0;
            status >> kilobytes;
            return kilobytes;
        }
    }
    ADD_FAILURE() << "no peak";
    return 0;
}

} // namespace

std::optional<Raised> expectRaised(Action const& action) {
    return expectRaisedFrom("src/Tiff/TiffImageFileUtils.cpp", action);
}

void expectRaisedText(Action const& action, std::string const& text) {
    auto const raised = expectRaised(action);
    EXPECT_EQ(raised ? raised->text : std::string(), text);
}

void expectRaisedBeginning(Action const& action, std::string const& beginning) {
    auto const raised = expectRaised(action);
    EXPECT_EQ(raised ? raised->text.substr(0, beginning.size()) : std::string(), beginning);
}

std::string loadError(fs::path const& path, std::string const& lower) {
    return "Error while loading tiff image file " + quoted(path) + '\n' + lower;
}

std::string saveError(fs::path const& path, std::string const& lower) {
    return "Error while saving tiff image file " + quoted(path) + '\n' + lower;
}

std::string openFailed(fs::path const& path, std::string const& words) {
    return "Failed to open tiff image file " + path.string() + "\nTiff Error : " + path.string() + ": " +
           words;
}

std::string createFailed(fs::path const& path, std::string const& words) {
    return "Failed to create tiff image file " + path.string() + "\nTiff Error : " + path.string() + ": " +
           words;
}

std::string textThrownBy(Action const& action) {
    try {
        action();
    } catch (std::exception const& exception) {
        return exception.what();
    }
    return "nothing thrown";
}

std::size_t measurePeak(Action const& action) {
    std::ofstream("/proc/self/clear_refs") << "5"; // the peak begins anew at what is in use
    std::size_t const before = readPeak();
    action();
    return readPeak() - before;
}

void writeClaim(fs::path const& path, BaseImageGeometry const& geometry, std::uint16_t nbSamples) {
    std::ostringstream stream;
    BinaryOArchive archive(stream);
    archive.writeObject("pObject", duplicateGeometry(geometry));
    Directory directory = stripDirectory(4, 3, 0, COMPRESSION_NONE, nbSamples);
    directory.tags[TIFFTAG_SOFTWARE] = std::string("VELMO_Library");
    directory.tags[TIFFTAG_PHOTOSHOP] = stream.str();
    writeTiff(path, {directory});
}

void spoilStrip(fs::path const& path, std::uint16_t directory) {
    std::uint64_t offset = 0;
    std::uint64_t nbBytes = 0;
    {
        Handle const pTiff(TIFFOpen(path.c_str(), "r"), &TIFFClose);
        ASSERT_TRUE(pTiff);
        ASSERT_EQ(TIFFSetDirectory(pTiff.get(), directory), 1);
        offset = TIFFGetStrileOffset(pTiff.get(), 0);
        nbBytes = TIFFGetStrileByteCount(pTiff.get(), 0);
    }
    std::string bytes = readFile(path);
    writeFile(path, bytes.replace(offset, nbBytes, nbBytes, '\xFF'));
}

std::optional<std::string> findUserProperties(fs::path const& path) {
    Handle const pTiff(TIFFOpen(path.c_str(), "r"), &TIFFClose);
    char const* pText = nullptr;
    return TIFFGetField(pTiff.get(), g_userPropertiesTag, &pText) == 1 ? std::optional<std::string>(pText)
                                                                       : std::nullopt;
}

std::vector<Directory> makePages(std::size_t nbPages) {
    std::vector<Directory> pages(nbPages);
    for (std::size_t page = 0; page < nbPages; ++page) {
        pages[page].pixels = countingBytes(12, static_cast<unsigned int>(1 + 12 * page));
    }
    return pages;
}

std::string pixelsOf(std::vector<Directory> const& pages) {
    std::string pixels;
    for (Directory const& page : pages) {
        pixels += page.pixels;
    }
    return pixels;
}

ImageGeometryPtr makeGeometry(vlUInt64 sizeZ, vlUInt64 sizeC, vlUInt64 sizeT) {
    VolumeGeometry volume;
    volume.init3d(sizeZ);
    ColorGeometry color;
    if (sizeC != 1) {
        color.initUser(sizeC);
    }
    TemporalGeometry temporal;
    temporal.initSequence(sizeT);
    return geometry(eIBT_UInt16, g_sizeX, g_sizeY, volume, color, temporal);
}

ImageGeometryPtr makeColorGeometry(eColorGeometryType colorType, vlUInt64 sizeZ, vlUInt64 sizeT) {
    ImageGeometryPtr const pGeometry = makeGeometry(sizeZ, 1, sizeT);
    pGeometry->getColorGeometry().init(colorType);
    return pGeometry;
}

WatchedImage::WatchedImage(BaseImageGeometry const& geometry)
    : pixels(makePixels(geometry)), _pPixels(makeMemoryImage(geometry, pixels)) {
    setGeometry(geometry);
}

ImageConstPtr WatchedImage::createCpuCopy() const {
    ++nbCopies;
    ImageConstPtr pNew = BaseImage::createCpuCopy();
    pCopy = pNew;
    return pNew;
}

BoolResult WatchedImage::readPixelsDerived(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStart,
                                           vlUInt64 nbPixels, void* buffer) const {
    reads.push_back({z, c, t});
    readers.insert(std::this_thread::get_id());
    BoolResult const result = beforeRead ? beforeRead() : success();
    return result ? _pPixels->readPixels(z, c, t, pixelStart, nbPixels, buffer) : result;
}

BoolResult WatchedImage::writePixelsDerived(vlUInt64 /*z*/, vlUInt64 /*c*/, vlUInt64 /*t*/,
                                            vlUInt64 /*pixelStart*/, vlUInt64 /*nbPixels*/,
                                            void const* /*buffer*/) {
    return failure("the image is only looked at");
}

TiffFunctions::TiffFunctions()
    : _path(fs::canonical(_folder.getPath()) / "image.tif"), _pGeometry(makeGeometry(2, 2, 2)),
      _pixels(makePixels(*_pGeometry)) {
    textThrownBy([&] { loadTiffImageFile(_path, eTBM_Default); }); // libtiff's words are kept from now on
}

std::vector<TiffFunctions::Load> TiffFunctions::getLoads() {
    using Path = fs::path;
    return {
        {"into a pointer, modes",
         [](Path const& path) {
             ImagePtr pImage;
             loadTiffImageFile(path, pImage, eTDM_Volume, eTBM_Default);
             return pImage;
         }},
        {"modes", [](Path const& path) { return loadTiffImageFile(path, eTDM_Volume, eTBM_Default); }},
        {"buffer mode", [](Path const& path) { return loadTiffImageFile(path, eTBM_Default); }},
        {"into a pointer, buffer mode",
         [](Path const& path) {
             ImagePtr pImage;
             loadTiffImageFile(path, eTBM_Default, pImage);
             return pImage;
         }},
        {"open", [](Path const& path) { return openTiffImageFile(path, eTDM_Volume, eTBM_Default); }},
    };
}

void TiffFunctions::saveExample(eTiffCompression compression) const {
    saveTiffImageFile(_path, makeMemoryImage(*_pGeometry, _pixels), compression);
}

} // namespace velmo::test
