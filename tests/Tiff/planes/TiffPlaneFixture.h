// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "PrivateDisk.h"
#include "Tiff/model/TiffPixels.h"
#include "TiffFixture.h"

#include <boost/shared_ptr.hpp>
#include <memory>
#include <optional>
#include <sys/resource.h>

namespace velmo::image::file {

using velmo::test::withLimit;

struct TiffCloser {
    void operator()(TIFF* pTiff) const { TIFFClose(pTiff); }
};
using TiffPtr = std::unique_ptr<TIFF, TiffCloser>;

/// A handle of libtiff alone, on the first directory or the one asked for.
TiffPtr openPlain(path const& path, char const* mode = "r", std::uint16_t directory = 0);

/// The value of a tag in the current directory, which libtiff gives as a `Number`.
template <class Number>
std::optional<Number> findTag(TiffPtr const& pTiff, std::uint32_t tag) {
    Number value = 0;
    return TIFFGetField(pTiff.get(), tag, &value) == 1 ? std::optional<Number>(value) : std::nullopt;
}
std::optional<std::string> findText(TiffPtr const& pTiff, std::uint32_t tag);
/// The bytes of TIFFTAG_PHOTOSHOP.
std::optional<std::string> findBlob(TiffPtr const& pTiff);

struct PlaneSizes {
    vlUInt64 x = 1;
    vlUInt64 y = 1;
    vlUInt64 z = 1;
    vlUInt64 c = 1;
    vlUInt64 t = 1;
};

/// One directory for each channel of each plane.
ImageGeometryPtr makeGeometry(eImageBufferType bufferType, PlaneSizes const& sizes);
/// `sizes.c` does not count.
ImageGeometryPtr makeColorGeometry(eColorGeometryType colorType, eImageBufferType bufferType,
                                   PlaneSizes const& sizes);

/// A run of pixels of one plane.
struct PixelRun {
    vlUInt64 z = 0;
    vlUInt64 c = 0;
    vlUInt64 t = 0;
    vlUInt64 start = 0;
    vlUInt64 count = 1;
};

using Channels = std::vector<std::string>;

/// A handle, its file and the geometry of its planes, and the operations on them.
struct Planes {
    path filePath;
    TiffPtr pTiff;
    ImageGeometryPtr pGeometry;

    PixelRun wholePlane(vlUInt64 z = 0, vlUInt64 c = 0, vlUInt64 t = 0) const;
    vlUInt64 countBytes(PixelRun const& run) const;

    BoolResult tryRead(PixelRun const& run, std::string& pixels) const;
    BoolResult tryRead(PixelRun const& run) const;
    BoolResult tryWrite(PixelRun const& run) const;
    /// The pixels of a run, whose reading must succeed.
    std::string read(PixelRun const& run) const;
    std::string readPlane(vlUInt64 z = 0, vlUInt64 c = 0, vlUInt64 t = 0) const;
    void write(PixelRun const& run, std::string const& pixels) const;
    void writePlane(std::string const& pixels, vlUInt64 z = 0, vlUInt64 c = 0, vlUInt64 t = 0) const;

    /// All channels at once, into and from as many buffers as `channels` has; the other pointers are null.
    BoolResult tryReadRgb(PixelRun const& run, Channels& channels) const;
    BoolResult tryReadRgb(PixelRun const& run) const;
    BoolResult tryWriteRgb(PixelRun const& run, Channels const& channels) const;
    BoolResult tryWriteRgb(PixelRun const& run) const;
    Channels readRgb(PixelRun const& run) const;
    void writeRgb(PixelRun const& run, Channels const& channels) const;
};

Planes createPlanes(path const& path, ImageGeometryPtr const& pGeometry,
                    eTiffCompression compression = eTC_None);
Planes openPlanes(path const& path, OpenRequest const& request = {});
Planes openPlanesForWriting(path const& path);
/// Through a handle of libtiff alone.
Planes plainPlanes(path const& path, char const* mode, ImageGeometryPtr const& pGeometry);

/// As libtiff alone counts them.
unsigned int countDirectories(path const& path);

/// Bytes without pattern, the same for the same seed.
std::string noise(vlUInt64 nbBytes, unsigned int seed = 1);

/// What libtiff alone reads of the file's directories must be `expected`.
void expectDirectories(path const& path, std::vector<std::string> const& expected);
/// One channel out of interleaved pixels, and the converse.
std::string pickChannel(std::string const& pixels, vlUInt64 nbChannels, vlUInt64 channel,
                        vlUInt64 sampleSize);
Channels pickChannels(std::string const& pixels, vlUInt64 nbChannels, vlUInt64 sampleSize);
std::string interleave(Channels const& channels, vlUInt64 sampleSize);

// The texts of failures, to the line feed before libtiff's words.
std::string setDirectoryFailed(vlUInt64 directory, path const& path);
std::string getTagFailed(std::string const& tag, path const& path);
std::string readStripFailed(vlUInt64 strip, PixelRun const& run, path const& path);
std::string writeStripFailed(vlUInt64 strip, PixelRun const& run, path const& path);

/// A failure with that text and, behind it, the words that libtiff has for the calling thread.
MATCHER_P(FailsInWords, text, "") {
    *result_listener << (arg ? "success" : "failure: ") << arg.getMessage();
    return !arg && arg.getMessage() == text + lastTiffMessage();
}

/// "success", or the failure's text.
std::string toText(BoolResult const& result);

} // namespace velmo::image::file
