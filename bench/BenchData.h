// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/ImageGeometry.h>

#include <boost/filesystem/path.hpp>
#include <map>
#include <string>

namespace velmo {
namespace bench {

/// A raw file in the page cache.
struct RawFile {
    boost::filesystem::path path;
    image::ImageGeometryPtr pGeometry;
    vlUInt64 nbBytes;
};

/// The files that the benchmarks read and write: made in a folder of their own at first use, removed at the
/// end.
class BenchData {
  public:
    /// Makes a new folder in `parent`.
    explicit BenchData(boost::filesystem::path const& parent);
    ~BenchData();
    BenchData(BenchData const&) = delete;
    BenchData& operator=(BenchData const&) = delete;

    boost::filesystem::path const& getFolder() const { return _folder; }
    /// A grey volume of 16 bits, of bytes that differ from plane to plane.
    RawFile const& getVolume(vlUInt64 sizeX, vlUInt64 sizeY, vlUInt64 sizeZ);
    /// The same of one byte for each pixel, as one hole that takes no room on the disk.
    RawFile const& getSparseVolume(vlUInt64 sizeX, vlUInt64 sizeY, vlUInt64 sizeZ);

  private:
    RawFile& add(std::string const& name, image::ImageGeometryPtr const& pGeometry);

    boost::filesystem::path _folder;
    std::map<std::string, RawFile> _files;
};

} // namespace bench
} // namespace velmo
