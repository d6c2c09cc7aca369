// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "ImageBytes.h"
#include "Processes.h"
#include "Raised.h"
#include "TemporaryFolder.h"
#include "TiffFixture.h"

#include <VELMOImageFile/TiffImageFileUtils.h>
#include <boost/weak_ptr.hpp>
#include <set>

namespace velmo::test {

/// Runs an action that has to raise the module's exception from the TIFF functions' source.
std::optional<Raised> expectRaised(Action const& action);
void expectRaisedText(Action const& action, std::string const& text);
/// The same with a text that begins so.
void expectRaisedBeginning(Action const& action, std::string const& beginning);

/// The texts of a load and a save that failed.
std::string loadError(boost::filesystem::path const& path, std::string const& lower);
std::string saveError(boost::filesystem::path const& path, std::string const& lower);
/// What "Failed to open" and "Failed to create" say of the system's words.
std::string openFailed(boost::filesystem::path const& path, std::string const& words);
std::string createFailed(boost::filesystem::path const& path, std::string const& words);

/// What an action throws, in words; "nothing thrown".
std::string textThrownBy(Action const& action);

/// Kilobytes that `action` adds to the memory of this process at its peak.
std::size_t measurePeak(Action const& action);

/// A file that says of itself that it has this geometry, whatever its directory of so many samples holds.
void writeClaim(boost::filesystem::path const& path, image::BaseImageGeometry const& geometry,
                std::uint16_t nbSamples = 1);

/// Makes the first strip of a compressed directory undecodable.
void spoilStrip(boost::filesystem::path const& path, std::uint16_t directory);

/// The user properties tag of a file; empty where there is none.
std::optional<std::string> findUserProperties(boost::filesystem::path const& path);

/// `nbPages` foreign directories of grey pixels.
std::vector<image::file::Directory> makePages(std::size_t nbPages);
std::string pixelsOf(std::vector<image::file::Directory> const& pages);

/// 5 x 3 pixels of 16 bits, `sizeZ` planes, `sizeC` channels, `sizeT` time steps.
image::ImageGeometryPtr makeGeometry(vlUInt64 sizeZ, vlUInt64 sizeC, vlUInt64 sizeT);
image::ImageGeometryPtr makeColorGeometry(image::eColorGeometryType colorType, vlUInt64 sizeZ,
                                          vlUInt64 sizeT);

/// An image of the caller's own kind, which keeps a record of what is asked of it.
class WatchedImage : public image::BaseImage {
  public:
    using Plane = std::array<vlUInt64, 3>; ///< z, c, t

    explicit WatchedImage(image::BaseImageGeometry const& geometry);

    bool bRequiresCopy = false;
    std::function<BoolResult()> beforeRead;

    mutable std::vector<Plane> reads;
    mutable std::set<std::thread::id> readers;
    mutable int nbCopies = 0;
    mutable boost::weak_ptr<image::BaseImage const> pCopy;

    bool requiresCpuCopy() const override { return bRequiresCopy; }
    image::ImageConstPtr createCpuCopy() const override;

    /// What it holds, plane by plane.
    std::string const pixels;

  private:
    BoolResult readPixelsDerived(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStart, vlUInt64 nbPixels,
                                 void* buffer) const override;
    BoolResult writePixelsDerived(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStart, vlUInt64 nbPixels,
                                  void const* buffer) override;

    image::ImagePtr _pPixels;
};

/// A folder, a path in it, and a file of this module of 2 planes, 2 channels and 2 time steps.
class TiffFunctions : public testing::Test {
  protected:
    struct Load {
        char const* name;
        std::function<image::ImagePtr(boost::filesystem::path const&)> call;
    };

    TiffFunctions();
    /// The four loads and the open, each with the first modes.
    static std::vector<Load> getLoads();
    void saveExample(image::file::eTiffCompression compression) const;

    TemporaryFolder _folder;
    boost::filesystem::path _path;
    image::ImageGeometryPtr _pGeometry; ///< 30 bytes in each of 8 planes
    std::string _pixels;
};

} // namespace velmo::test
