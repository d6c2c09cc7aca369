// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "ImageBytes.h"
#include "Raised.h"
#include "TemporaryFolder.h"

#include <VELMOImageFile/RawImageFileUtils.h>
#include <VELMOUtil/BaseException.h>
#include <vector>

namespace velmo::test {

/// Runs an action that has to raise the module's exception from the raw functions' source.
std::optional<Raised> expectRaised(Action const& action);
void expectRaisedText(Action const& action, std::string const& text);

/// The texts of a load and a save that failed.
std::string loadError(boost::filesystem::path const& path, std::string const& lower);
std::string saveError(boost::filesystem::path const& path, std::string const& lower);

/// A file of a sequence's pixels, and one call of each function that loads it.
class RawFunctions : public testing::Test {
  protected:
    struct Load {
        char const* name;
        std::function<image::ImagePtr(boost::filesystem::path const&, vlUInt64 dataStartOffset)> call;
    };

    RawFunctions();
    /// The open and all loads, of `_pGeometry`.
    std::vector<Load> getLoads() const;

    TemporaryFolder _folder;
    boost::filesystem::path _path;
    boost::filesystem::path _saved;     ///< where no file is yet
    image::ImageGeometryPtr _pGeometry; ///< 96 bytes in 4 planes
    std::string _pixels;
    image::DistributedImagePtr _pModel; ///< the same sizes with another pixel type
};

} // namespace velmo::test
