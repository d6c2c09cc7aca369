// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "TiffFunctions.h"

#include <VELMOAttributes/InterpolationPolicy.h>

namespace velmo::test {

constexpr char const* g_numbered = "a<INDEX>.tif";

/// 5 x 3 pixels, one time step, a volume of `sizeZ` planes; `sizeC` channels of the user's.
image::ImageGeometryPtr makeVolume(vlUInt64 sizeZ, vlUInt64 sizeC = 1,
                                   image::eImageBufferType bufferType = image::eIBT_UInt16);
/// The same as a sequence of volumes.
image::ImageGeometryPtr makeVolumes(vlUInt64 sizeZ, vlUInt64 sizeT, vlUInt64 sizeC = 1,
                                    image::eImageBufferType bufferType = image::eIBT_UInt16);

/// An image that a file holds.
struct Part {
    image::ImageGeometryPtr pGeometry;
    std::string pixels;
    std::string userProperties = {};
    image::GeometricCalibrationConstPtr pCalibration = {};
};

/// A part with pixels of its own for each `seed`.
Part makePart(image::ImageGeometryPtr const& pGeometry, unsigned int seed = 1);
/// The pixels of all parts in the order of readPixels.
std::string joinAlongZ(std::vector<Part> const& parts);
std::string joinAlongT(std::vector<Part> const& parts);

/// What `work` returns in a child process that can open `nbMore` further handles. It is done once before
/// without a limit: the undefined-behaviour sanitizer needs handles where it meets a class for the first
/// time.
std::string withHandles(std::size_t nbMore, std::function<std::string()> const& work);

/// A folder where TIFF files are that are to become one image.
class TiffFiles : public testing::Test {
  protected:
    /// A way of making one image of the files with numbers.
    struct Route {
        char const* name;
        bool bAlongZ;
        bool bDisk;
        std::string source;   ///< where its failures are raised
        std::string function; ///< and from which function
        std::function<image::ImagePtr(image::file::eTiffBufferMode)> call;

        image::ImagePtr operator()() const { return call(image::file::eTBM_Default); }
    };

    TiffFiles();

    boost::filesystem::path at(std::string const& name) const { return _folder / name; }
    /// The file number `index` of those that the routes take.
    boost::filesystem::path numbered(std::size_t index) const;
    void save(boost::filesystem::path const& path, Part const& part,
              image::file::eTiffCompression compression = image::file::eTC_None) const;
    /// Files 0, 1, ...
    void save(std::vector<Part> const& parts) const;

    image::ImagePtr load(image::file::eTiffDirectoryMode directoryMode,
                         std::string const& pattern = g_numbered,
                         image::file::eTiffBufferMode bufferMode = image::file::eTBM_Default) const;
    image::ImagePtr open(image::file::eTiffDirectoryMode directoryMode,
                         std::string const& pattern = g_numbered,
                         image::file::eTiffBufferMode bufferMode = image::file::eTBM_Default) const;
    image::ImagePtr loadStack(unsigned long outputSizeZ, velmo::imaproc::attr::eInterpolationPolicy policy,
                              std::string const& pattern = g_numbered) const;

    /// Load and open along Z, load and open along T.
    std::vector<Route> getJoins() const;
    /// These and the custom stack, whose steps are those of `writeSteps`.
    std::vector<Route> getRoutes() const;

    /// The z-steps file outside of the folder.
    boost::filesystem::path const& getStepsPath() const { return _steps; }
    void writeSteps(std::string const& text) const { writeFile(_steps, text); }
    /// Steps of 1 for `nbPlanes` planes.
    void writeEvenSteps(vlUInt64 nbPlanes) const;

    /// The route has to raise this text, once logged, and to leave no file open.
    void expectFails(Route const& route, std::string const& text,
                     image::file::eTiffBufferMode bufferMode = image::file::eTBM_Default) const;
    /// Descriptors on the files of the folder.
    std::size_t countOpenFiles() const;

    TemporaryFolder const _temporary;
    TemporaryFolder const _other;
    boost::filesystem::path const _folder; ///< canonical
    boost::filesystem::path const _steps;
};

} // namespace velmo::test
