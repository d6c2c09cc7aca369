// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "CapturedLog.h"
#include "ImageBytes.h"
#include "TemporaryFolder.h"

#include <VELMOImageFile/RawImageFileUtils.h>
#include <VELMOImageFile/VELMOImageFileLog.h>
#include <VELMOUtil/BaseException.h>
#include <functional>
#include <gtest/gtest.h>
#include <optional>
#include <vector>

namespace velmo {
namespace test {

using Action = std::function<void()>;

/// What the module's exception says, as it came.
struct Raised {
    std::string text;
    std::string function;
};

/// Runs an action that has to raise the module's exception: of exactly its class, from the raw functions'
/// source, and written to the module's log once with the same text and place.
std::optional<Raised> expectRaised(Action const& action);
void expectRaisedText(Action const& action, std::string const& text);

/// Runs an action that has to throw exactly `Exception`, of which the module's log knows nothing.
template <class Exception>
void expectPassedThrough(Action const& action);

/// A path as a public function's message shows it: in double quotes, with `&` before `"` and `&`.
std::string quoted(boost::filesystem::path const& path);
/// The texts of a load and a save that failed.
std::string loadError(boost::filesystem::path const& path, std::string const& lower);
std::string saveError(boost::filesystem::path const& path, std::string const& lower);

/// How many descriptors of this process have the file open.
int countOpen(boost::filesystem::path const& path);

/// The engine of new distributed images for as long as this object lives.
class ReplacedEngine {
  public:
    explicit ReplacedEngine(image::DistributionEnginePtr const& pEngine);
    ~ReplacedEngine();
    ReplacedEngine(ReplacedEngine const&) = delete;
    ReplacedEngine& operator=(ReplacedEngine const&) = delete;
};

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
    image::ImageGeometryPtr _pGeometry; ///< 96 bytes in 4 planes
    std::string _pixels;
    image::DistributedImagePtr _pModel; ///< the same sizes with another pixel type
};

template <class Exception>
void expectPassedThrough(Action const& action) {
    CapturedLog const log(image::file::getVELMOImageFileLogger());
    try {
        action();
        ADD_FAILURE() << "nothing was thrown";
    } catch (Exception const& exception) {
        EXPECT_TRUE(typeid(exception) == typeid(Exception)) << exception.what();
    }
    EXPECT_TRUE(log.getRecords().empty());
}

} // namespace test
} // namespace velmo
