// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/DiskImage.h>
#include <VELMOImage/DistributedImage.h>
#include <VELMOImageFile/Threads.h>
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

/// Ids of the messages of a format's public functions.
struct FamilyMessages {
    char const* domainKey;
    int loadError;                   ///< path, text
    int saveError;                   ///< path, text
    int createDistributedImageError; ///< text
};

/// Raises the load or save error of a format. The exception names the public function, and the line that
/// calls `require`.
class FamilyFailure {
  public:
    static FamilyFailure ofLoad(FamilyMessages const& messages, RaiseSite const& site,
                                boost::filesystem::path const& path);
    static FamilyFailure ofSave(FamilyMessages const& messages, RaiseSite const& site,
                                boost::filesystem::path const& path);

    /// The same for steps that write to a temporary file, which is renamed to the target later. Messages name
    /// the target instead of the temporary file.
    FamilyFailure writingTo(ReplacedFile const& file) const;

    /// If the result is a failure, raises the message with the path in quotes and the text of `result`.
    void require(BoolResult const& result, char const* file = __builtin_FILE(),
                 unsigned int line = __builtin_LINE()) const;
    /// The same for the creation of a distributed image, whose message does not contain a path.
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

/// The threads of a load into a distributed image: the calling one, or as the copy processor decides.
inline processor::ProcessorDispatchPolicy toThreads(bool defaultDispatch) {
    return defaultDispatch ? useAllProcessors() : useThreads(1);
}

// Steps of the public functions of all formats.

/// Creates an image over an open accessor. The image shares the ownership of the accessor.
DiskImagePtr createDiskImage(boost::shared_ptr<BaseDiskImageAccessor> const& pAccessor,
                             FamilyFailure const& failure);

/// Creates an image in memory.
ImagePtr createMemoryTarget(BaseImageGeometry const& geometry, FamilyFailure const& failure);

/// Checks the source of a save before any file is touched. An empty pointer throws the same exception as the
/// copy. An image whose pixels are in the target file is rejected, because creating the file would empty it.
void requireSource(ImageConstPtr const& pSource, boost::filesystem::path const& target,
                   FamilyFailure const& failure);

/// Prepares a copy of all pixels, which the caller then runs.
boost::shared_ptr<imaproc::util::CopyImgLvl1> prepareCopy(ImageConstPtr const& pSource,
                                                          ImagePtr const& pTarget,
                                                          processor::ProcessorDispatchPolicy const& threads);

/// Copies all pixels and returns when they are copied.
void copyImage(ImageConstPtr const& pSource, ImagePtr const& pTarget,
               processor::ProcessorDispatchPolicy const& threads, FamilyFailure const& failure);

/// Creates a distributed image with the geometry and the pixels of `pSource`.
DistributedImagePtr distributeImage(DiskImagePtr const& pSource,
                                    processor::ProcessorDispatchPolicy const& threads,
                                    FamilyFailure const& failure);

/// Creates a distributed image with the geometry of `model`, the pixel type of the source and its pixels.
DistributedImagePtr distributeImage(DiskImagePtr const& pSource, DistributedImage const& model,
                                    processor::ProcessorDispatchPolicy const& threads,
                                    FamilyFailure const& failure);

} // namespace file
} // namespace image
} // namespace velmo
