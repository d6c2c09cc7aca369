// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <boost/filesystem/path.hpp>
#include <cstdint>
#include <ostream>
#include <string>
#include <tiffio.h>
#include <vector>

namespace velmo::test {

/// A directory of a TIFF file as another program writes or reads it.
struct TiffPage {
    std::uint32_t sizeX = 3;
    std::uint32_t sizeY = 2;
    std::string pixels; ///< as in the machine's memory, rows from the top; zeros where it ends too early
    std::uint16_t bits = 8;
    std::uint16_t samples = 1;
    std::uint16_t sampleFormat = SAMPLEFORMAT_UINT;
    std::uint16_t photometric = PHOTOMETRIC_MINISBLACK;
    std::uint16_t compression = COMPRESSION_NONE;
    std::uint32_t rowsPerStrip = 0; ///< 0 for all rows in one strip
    std::uint32_t tileSize = 0;     ///< 0 for strips
    float resolution = 0;           ///< 0 for none; along X, twice that along Y, in the unit cm
    std::uint16_t orientation = ORIENTATION_TOPLEFT;
    std::string description;

    std::size_t countRowBytes() const { return (std::size_t{sizeX} * samples * bits + 7) / 8; }
    std::size_t countBytes() const { return countRowBytes() * sizeY; }
};

/// `mode` is that of TIFFOpen: "wb" for big-endian numbers.
void writeTiff(boost::filesystem::path const& path, std::vector<TiffPage> const& pages,
               std::string const& mode = "wl");

/// A stack of ImageJ's kind: one directory, whose description announces `nbPlanes`, and the pixels of all
/// planes one behind the other, in the byte order of the file, as many as `page.pixels` has.
void writeImageJStack(boost::filesystem::path const& path, unsigned int nbPlanes, TiffPage const& page,
                      std::string const& mode = "wl");

/// The bytes of a TIFF file of planes of 64 MiB, each of whose strips is the same MiB of zeros.
std::string makeSharedStripTiff(std::uint32_t nbPlanes);

/// Pixels per unit; zeros where a directory has no such tags.
struct PageResolution {
    float x = 0;
    float y = 0;
    std::uint16_t unit = 0;
    bool operator==(PageResolution const& other) const {
        return x == other.x && y == other.y && unit == other.unit;
    }
};
std::ostream& operator<<(std::ostream& os, PageResolution const& resolution);

/// Of all directories, as libtiff reads them.
std::vector<PageResolution> readResolutions(boost::filesystem::path const& path);

/// All directories, with pixels decoded; a failed test where they cannot be read.
std::vector<TiffPage> readTiff(boost::filesystem::path const& path);

} // namespace velmo::test
