// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/ImageGeometry.h>

#include <boost/filesystem/path.hpp>
#include <functional>
#include <set>
#include <string>

namespace velmo::bench {

/// A file in the page cache, its geometry and its size.
struct RawFile {
    boost::filesystem::path path;
    image::ImageGeometryPtr pGeometry;
    vlUInt64 nbBytes;
};

/// The files that the benchmarks read and write. They are created in a separate folder at first use, are on
/// the disk and in the page cache before a benchmark reads them, and are removed at the end. Volumes of the
/// same size share a file.
class BenchData {
  public:
    /// Makes a new folder in `parent`, which must exist.
    explicit BenchData(boost::filesystem::path const& parent);
    ~BenchData();
    BenchData(BenchData const&) = delete;
    BenchData& operator=(BenchData const&) = delete;

    boost::filesystem::path const& getFolder() const { return _folder; }
    /// A file or a folder of this name, which `make(path)` creates at first use.
    boost::filesystem::path getOrMake(std::string const& name,
                                      std::function<void(std::string const& path)> const& make);
    /// A grey volume of 16 bits, whose parts are all different.
    RawFile getVolume(vlUInt64 sizeX, vlUInt64 sizeY, vlUInt64 sizeZ);
    /// The same with one byte for each pixel, as a sparse file that uses no disk space.
    RawFile getSparseVolume(vlUInt64 sizeX, vlUInt64 sizeY, vlUInt64 sizeZ);

  private:
    boost::filesystem::path _folder;
    std::set<boost::filesystem::path> _made;
};

} // namespace velmo::bench
