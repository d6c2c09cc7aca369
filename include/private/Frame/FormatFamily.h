// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/DiskImage.h>
#include <VELMOImage/DistributedImage.h>
#include <VELMOUtil/GuardedRaise.h>
#include <boost/filesystem/path.hpp>

namespace velmo {

class ReplacedFile;

namespace imaproc {
namespace util {
class CopyImgLvl1;
}
} // namespace imaproc

namespace image {

class BaseDiskImageAccessor;

namespace file {

/// Where the messages of a format's public functions stand.
struct FamilyMessages {
    char const* domainKey;
    int loadError;                   ///< path, text
    int saveError;                   ///< path, text
    int createDistributedImageError; ///< text
};

/// What a public function does when a step of it fails: raises its load or its save error, as that function
/// and at the line that asks.
class FamilyFailure {
  public:
    static FamilyFailure ofLoad(FamilyMessages const& messages, RaiseSite const& site,
                                boost::filesystem::path const& path);
    static FamilyFailure ofSave(FamilyMessages const& messages, RaiseSite const& site,
                                boost::filesystem::path const& path);

    /// The same for steps that write to another file, which takes the target's name later: texts name the
    /// target.
    FamilyFailure writingTo(ReplacedFile const& file) const;

    /// Raises, with the path in quotes and the text of `result` behind it, unless the result is a success.
    void require(BoolResult const& result, char const* file = __builtin_FILE(),
                 unsigned int line = __builtin_LINE()) const;
    /// The same for the creation of a distributed image, whose message names no path.
    void requireDistributed(BoolResult const& result, char const* file = __builtin_FILE(),
                            unsigned int line = __builtin_LINE()) const;

  private:
    FamilyFailure(FamilyMessages const& messages, int id, RaiseSite const& site,
                  boost::filesystem::path const& path);

    FamilyMessages const& _messages;
    int _id;
    RaiseSite _site;
    boost::filesystem::path const& _path;
    ReplacedFile const* _pReplaced = nullptr;
};

enum class eDispatch { Local, Default };

constexpr eDispatch toDispatch(bool defaultDispatch) {
    return defaultDispatch ? eDispatch::Default : eDispatch::Local;
}

// The steps that the public functions of all formats are made of.

/// An image over an open accessor, which it co-owns from then on.
DiskImagePtr createDiskImage(boost::shared_ptr<BaseDiskImageAccessor> const& pAccessor,
                             FamilyFailure const& failure);

/// A new image in memory.
ImagePtr createMemoryTarget(BaseImageGeometry const& geometry, FamilyFailure const& failure);

/// What a save asks before it touches its file. An empty pointer is thrown as the copy would throw it;
/// an image whose pixels lie in that very file, which creating it would empty, is the failure.
void requireSource(ImageConstPtr const& pSource, boost::filesystem::path const& target,
                   FamilyFailure const& failure);

/// The copy of all pixels, ready to be run.
boost::shared_ptr<imaproc::util::CopyImgLvl1> prepareCopy(ImageConstPtr const& pSource,
                                                          ImagePtr const& pTarget, eDispatch dispatch);

/// Copies all pixels; returns when they are copied.
void copyImage(ImageConstPtr const& pSource, ImagePtr const& pTarget, eDispatch dispatch,
               FamilyFailure const& failure);

/// A new distributed image of the geometry and the pixels of another.
DistributedImagePtr distributeImage(DiskImagePtr const& pSource, eDispatch dispatch,
                                    FamilyFailure const& failure);

/// The same with the geometry of `model` and the pixel type of the source.
DistributedImagePtr distributeImage(DiskImagePtr const& pSource, DistributedImage const& model,
                                    eDispatch dispatch, FamilyFailure const& failure);

} // namespace file
} // namespace image
} // namespace velmo
