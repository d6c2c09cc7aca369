// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/ImageGeometry.h>

#include <boost/filesystem/path.hpp>
#include <set>
#include <string>

namespace velmo::bench {

/// A file in the page cache and what its pixels are.
struct RawFile {
    boost::filesystem::path path;
    image::ImageGeometryPtr pGeometry;
    vlUInt64 nbBytes;
};

/// The files that the benchmarks read and write: made in a folder of their own at first use, removed at the
/// end. Volumes of as many bytes share a file.
class BenchData {
  public:
    /// Makes a new folder in `parent`, which must exist.
    explicit BenchData(boost::filesystem::path const& parent);
    ~BenchData();
    BenchData(BenchData const&) = delete;
    BenchData& operator=(BenchData const&) = delete;

    boost::filesystem::path const& getFolder() const { return _folder; }
    /// A grey volume of 16 bits, in which no two parts are alike.
    RawFile getVolume(vlUInt64 sizeX, vlUInt64 sizeY, vlUInt64 sizeZ);
    /// The same of one byte for each pixel, as one hole that takes no room on the disk.
    RawFile getSparseVolume(vlUInt64 sizeX, vlUInt64 sizeY, vlUInt64 sizeZ);

  private:
    boost::filesystem::path _folder;
    std::set<boost::filesystem::path> _made;
};

} // namespace velmo::bench
