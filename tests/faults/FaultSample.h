// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/BaseImage.h>
#include <boost/filesystem/path.hpp>
#include <functional>
#include <string>
#include <vector>

namespace velmo::test {

/// A small image, with what a format can tell of it, and the ways to a file of that format and back.
struct FaultSample {
    std::string name;      ///< of the format
    std::string extension; ///< with its point
    image::ImagePtr pImage;
    std::function<void(boost::filesystem::path const&)> save; ///< for Im6 no function of the module
    std::function<image::ImagePtr(boost::filesystem::path const&)> load;
    std::string saveError; ///< what the texts of failures begin with, before the path in quotes
    std::string loadError;
    bool bLosesBrokenStrips = false; ///< what of an interleaved file cannot be decoded is no failure
};

FaultSample makeRawSample();
FaultSample makeIm6Sample();
/// Planes of two strips, with calibration and user properties.
FaultSample makeTiffSample();
FaultSample makeLzwSample();
/// With user properties that take a read of their own.
FaultSample makeDeflateSample();
FaultSample makeInterleavedSample();
/// 12 small planes, most of which are written without libtiff.
FaultSample makeManyPlanesSample();

/// Loads by workers.
std::vector<FaultSample> makeDistributedSamples();

/// A TIFF file of another program; its save is no function of the module.
FaultSample makeForeignTiffSample();

std::vector<FaultSample> makeSavedSamples();
std::vector<FaultSample> makeAllSamples();

/// In what an image differs from the one of a sample; empty where in nothing.
std::string findDifference(FaultSample const& sample, image::BaseImage const& image);

/// What came of an action: "done", "raised" for the module's exception with a text that begins so (or that of
/// a distributed image that was not created, which names no file), "no memory" for a plain std::bad_alloc,
/// else what it threw. Behind that stands how many descriptors are open that were not, if any.
std::string describeOutcome(std::string const& beginning, std::function<void()> const& action);

std::string describeSave(FaultSample const& sample, boost::filesystem::path const& path);
/// "done, but" tells in what the image differs.
std::string describeLoad(FaultSample const& sample, boost::filesystem::path const& path);

/// Outcomes in the order of their coming.
std::string join(std::vector<std::string> const& outcomes);

} // namespace velmo::test
