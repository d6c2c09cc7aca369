// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Im6Sample.h"
#include "ImageBytes.h"
#include "Raised.h"
#include "Results.h"
#include "TemporaryFolder.h"
#include "ThrownText.h"

#include <VELMOImage/MemoryImage.h>
#include <VELMOImageFile/Im6ImageFileUtils.h>
#include <VELMOUtil/BaseException.h>
#include <boost/filesystem/operations.hpp>
#include <boost/make_shared.hpp>
#include <vector>

namespace velmo::test {

/// Runs an action that has to raise the module's exception from the Im6 functions' source.
inline std::optional<Raised> expectRaised(Action const& action) {
    return expectRaisedFrom("src/Im6/Im6ImageFileUtils.cpp", action);
}

inline void expectRaisedText(Action const& action, std::string const& text) {
    auto const raised = expectRaised(action);
    EXPECT_EQ(raised ? raised->text : std::string(), text);
}

/// The text of a load that failed.
inline std::string loadError(boost::filesystem::path const& path, std::string const& lower) {
    return "Error while loading im6 image file " + quoted(path) + '\n' + lower;
}

/// The texts of the accessor.
inline std::string openFailed(boost::filesystem::path const& path) {
    return "Failed to open im6 image file " + path.string();
}

inline std::string tooShort(boost::filesystem::path const& path, vlUInt64 required, vlUInt64 fileSize) {
    return "Input geometry with total size " + std::to_string(required - g_im6HeaderBytes) +
           " and starting offset 116 is greater than global file size " + std::to_string(fileSize) +
           " for im6 image file " + path.string();
}

inline std::string firstSeekFailed(boost::filesystem::path const& path) {
    return "Failed to seek position into im6 image file " + path.string() +
           " for z=0, c=0, t=0 and pixelStartOffset=0";
}

/// A file of a sequence with a calibration, and one call of each form of each function.
class Im6Functions : public testing::Test {
  protected:
    struct Load {
        char const* name;
        std::function<image::ImagePtr(boost::filesystem::path const&)> call;
    };

    Im6Functions() : _path(boost::filesystem::canonical(_folder.getPath()) / "image.im6") {
        _sample.text = g_calibrationText;
        _sample.calibration.emplace();
        _sample.write(_path);
    }

    static std::vector<Load> getMemoryLoads() {
        using Path = boost::filesystem::path;
        return {{"into a target",
                 [](Path const& path) {
                     image::ImagePtr const pImage = boost::make_shared<image::MemoryImage>();
                     image::file::loadIm6ImageFile(path, pImage);
                     return pImage;
                 }},
                {"new", [](Path const& path) { return image::file::loadIm6ImageFile(path); }}};
    }

    /// With a reference that is made of other pixels.
    std::vector<Load> getDistributedLoads() const {
        using Path = boost::filesystem::path;
        using image::file::loadDistributedIm6ImageFile;
        return {{"default", [](Path const& path) { return loadDistributedIm6ImageFile(path, true); }},
                {"local", [](Path const& path) { return loadDistributedIm6ImageFile(path, false); }},
                {"reference, default",
                 [this](Path const& path) { return loadDistributedIm6ImageFile(path, *_pReference, true); }},
                {"reference, local", [this](Path const& path) {
                     return loadDistributedIm6ImageFile(path, *_pReference, false);
                 }}};
    }

    std::vector<Load> getLoads() const {
        std::vector<Load> loads = getMemoryLoads();
        std::vector<Load> const more = getDistributedLoads();
        loads.insert(loads.end(), more.begin(), more.end());
        return loads;
    }

    TemporaryFolder _folder;
    boost::filesystem::path _path;
    Im6Sample _sample = makeIm6Sequence();
    image::DistributedImagePtr _pReference =
        makeDistributedImage(*makeSequence(image::eIBT_Real32), std::string(192, 'r'));
};

} // namespace velmo::test
