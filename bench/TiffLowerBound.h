// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOUtil/Types.h>

#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

using TIFF = struct tiff;

namespace velmo::bench {

// What the TIFF benchmarks are compared with: loops over libtiff as a user would write them, and system calls
// at places that are known before. This code shares nothing with the measured code. Errors are thrown as
// std::runtime_error or std::system_error.

/// Planes, or pages of interleaved RGB samples, and how a file stores them.
struct TiffLayout {
    vlUInt64 sizeX;
    vlUInt64 sizeY;
    vlUInt64 nbPlanes;
    vlUInt64 sampleBytes = 2;
    vlUInt64 nbSamples = 1;     ///< 1 or 3
    vlUInt64 nbRowsOfStrip = 0; ///< 0: the default of libtiff, strips of about 8 KiB

    vlUInt64 getRowBytes() const { return sizeX * nbSamples * sampleBytes; }
    vlUInt64 getPlaneBytes() const { return sizeY * getRowBytes(); }
    vlUInt64 getNbBytes() const { return nbPlanes * getPlaneBytes(); }
};

/// Writes a file with one directory for each plane, each strip once. `compression` is libtiff's.
void saveByLibtiff(std::string const& path, TiffLayout const& layout, std::byte const* pPixels,
                   int compression);

/// Writes one directory with an ImageJ description that announces all planes. The planes follow the first one
/// in the file, from `g_imageJPlanes` on.
void saveAsImageJStack(std::string const& path, TiffLayout const& layout, std::byte const* pPixels);
constexpr vlUInt64 g_imageJPlanes = 512;

/// Reads every directory, strip by strip, into an array of `nbBytes`. Returns the number of bytes read.
vlUInt64 readByLibtiff(std::string const& path, std::byte* pPixels, vlUInt64 nbBytes);

/// Reads RGB pages of 8 bits and separates the samples: all planes of the first channel, then of the second,
/// then of the third.
void readChannelsByLibtiff(std::string const& path, TiffLayout const& layout, std::byte* pChannels);

/// Seconds to read every directory, strip by strip, into fresh memory of `nbBytes`.
double timeLibtiffLoad(std::string const& path, vlUInt64 nbBytes);

/// Seconds to open a file, count its directories and read the directory with this number.
double timeLibtiffOpening(std::string const& path, vlUInt64 directory, vlUInt64 nbDirectories,
                          std::vector<std::byte>& plane);

/// Bytes of a file.
struct FilePart {
    vlUInt64 offset;
    vlUInt64 nbBytes;
};

/// Where the planes of a file are.
struct TiffPlaces {
    std::vector<vlUInt64> directories; ///< offset of each directory
    std::vector<FilePart> parts;       ///< the strips of all directories, contiguous ones joined
};

TiffPlaces findPlaces(std::string const& path);

/// The planes of a file that stores them one after the other, from `offset` on.
std::vector<FilePart> splitIntoPlanes(TiffLayout const& layout, vlUInt64 offset);

/// Seconds in which `nbThreads` threads, with the calling one, read the parts into fresh memory, with
/// allocating the memory, opening the file and starting the threads.
double timePreadOfParts(std::string const& path, std::vector<FilePart> const& parts, vlUInt64 nbThreads);

/// Seconds to follow the links of all directories, with one `pread` for each, and to read one part. The file
/// must have little-endian directories of the same number of tags.
double timePreadOfLinks(std::string const& path, vlUInt64 nbDirectories, FilePart const& part);

/// A handle of libtiff that reads planes whose directories are known.
class LibtiffPlanes {
  public:
    explicit LibtiffPlanes(std::string const& path);

    /// Reads the plane of the directory at this offset.
    void read(vlUInt64 directory, std::byte* pPlane, vlUInt64 nbBytes) const;

  private:
    std::unique_ptr<TIFF, void (*)(TIFF*)> _handle;
};

} // namespace velmo::bench
