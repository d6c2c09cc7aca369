// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Processes.h"
#include "Results.h"
#include "TemporaryFolder.h"
#include "Tiff/TiffImageFileTools.h"
#include "Tiff/handle/TiffErrorHandler.h"

#include <cstdint>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <string>
#include <tiffio.h>
#include <variant>
#include <vector>

namespace velmo::image::file {

using boost::filesystem::path;
using velmo::test::asOrdinaryUser;
using velmo::test::countDescriptors;
using velmo::test::countingBytes;
using velmo::test::FailsLike;
using velmo::test::FailsWith;
using velmo::test::g_noSuchUser;
using velmo::test::inChild;
using velmo::test::inOtherThread;
using velmo::test::onThreads;
using velmo::test::readFile;
using velmo::test::Succeeds;
using velmo::test::writeFile;

// ---- Files as libtiff writes them

using TagValue = std::variant<std::uint16_t, std::uint32_t, float, std::string>;

/// A directory for libtiff to write, in strips.
struct Directory {
    std::uint32_t sizeX = 4;
    std::uint32_t sizeY = 3;
    std::uint16_t bits = 8;
    std::uint16_t samples = 1;
    std::uint16_t photometric = PHOTOMETRIC_MINISBLACK;
    std::uint16_t planarConfig = PLANARCONFIG_CONTIG;
    std::uint16_t compression = COMPRESSION_NONE;
    std::uint32_t rowsPerStrip = 0;         ///< 0 for all rows in one strip
    std::map<std::uint32_t, TagValue> tags; ///< further ones, set behind those above
    std::string pixels;                     ///< decoded, row by row; zeros where it ends too early

    std::size_t countBytes() const;
};

/// A directory without pixels yet; of several samples they are RGB.
Directory stripDirectory(std::uint32_t sizeX, std::uint32_t sizeY, std::uint32_t rowsPerStrip = 0,
                         std::uint16_t compression = COMPRESSION_NONE, std::uint16_t samples = 1,
                         std::uint16_t bits = 8);

/// Writes a file; `mode` is that of TIFFOpen: "w8" for a BigTIFF, "wb" for big-endian numbers.
void writeTiff(path const& path, std::vector<Directory> const& directories, std::string const& mode = "w");

/// The decoded pixels of a directory, strip by strip; a failed test where one cannot be read.
std::string readDirectoryPixels(path const& path, std::uint16_t directory);

// ---- Files byte by byte, where libtiff would refuse to write them

/// An entry of a directory. Values stand in the file's order of bytes at the type's width; a rational has
/// two.
struct RawField {
    std::uint16_t type = TIFF_SHORT;
    std::vector<std::uint64_t> values;
    std::uint64_t count = g_asValues; ///< what the entry announces

    static constexpr std::uint64_t g_asValues = ~std::uint64_t(0);
};

RawField shorts(std::vector<std::uint64_t> const& values);
RawField longs(std::vector<std::uint64_t> const& values);
RawField octets(std::string const& text);
/// With a zero behind the text.
RawField ascii(std::string const& text);
/// A float, which libtiff takes for a rational tag as well.
RawField real(float value);

/// Stands among the values for the place of the directory's own pixels.
constexpr std::uint64_t g_atPixels = 0xFFFFFFFFFFFFFF00U;
/// Stands for the regular place of the following directory.
constexpr std::uint64_t g_following = g_atPixels + 1;

struct RawDirectory {
    std::map<std::uint16_t, RawField> fields;
    std::string pixels;
    std::uint64_t next = g_following;

    RawDirectory& set(std::uint16_t tag, RawField const& field);
    RawDirectory& without(std::uint16_t tag);
};

/// Uncompressed grey pixels in one strip: the tags that a reader asks for and no other.
RawDirectory greyDirectory(unsigned int sizeX = 4, unsigned int sizeY = 3, unsigned int bits = 8);
/// Uncompressed pixels of several samples side by side.
RawDirectory colorDirectory(unsigned int samples = 3, unsigned int photometric = PHOTOMETRIC_RGB);

/// The same with a description in which ImageJ announces planes, and their pixels.
RawDirectory imageJStack(std::string const& nbPlanes, std::string const& pixels,
                         RawDirectory directory = greyDirectory());

struct RawLayout {
    bool bBigTiff = false;
    bool bBigEndian = false;
};

/// The bytes of a file: header, then each directory with its values and its pixels behind it.
std::string rawTiff(std::vector<RawDirectory> const& directories, RawLayout const& layout = {});
/// The places of the directories in it.
std::vector<std::uint64_t> findDirectories(std::vector<RawDirectory> const& directories,
                                           RawLayout const& layout = {});
void writeRawTiff(path const& path, std::vector<RawDirectory> const& directories,
                  RawLayout const& layout = {});

// ---- Files as the module opens them

struct OpenRequest {
    eImageAccessMode access = eIAM_ReadOnly;
    eTiffDirectoryMode directoryMode = eTDM_Volume;
    eTiffBufferMode bufferMode = eTBM_Default;
};

/// What opening a file gave; the handle is closed at the end.
class OpenedTiff {
  public:
    explicit OpenedTiff(path const& path, OpenRequest const& request = {});
    ~OpenedTiff();
    OpenedTiff(OpenedTiff const&) = delete;
    OpenedTiff& operator=(OpenedTiff const&) = delete;

    TIFF* pTiff = nullptr;
    boost::shared_ptr<BaseImageGeometry> pGeometry;
    boost::shared_ptr<GeometricCalibration> pCalibration;
    std::string userProperties = "untouched";
    BoolResult result;
};

/// A folder of its own, a path in it where no file is yet, and libtiff's words caught and empty.
class TiffTest : public testing::Test {
  protected:
    TiffTest() { TiffErrorHandler::getInstance().clearCurrentError(); }

    velmo::test::TemporaryFolder const _folder;
    path const _path = _folder / "image.tif";
};

} // namespace velmo::image::file
