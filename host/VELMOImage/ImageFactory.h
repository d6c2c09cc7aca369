// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOImage/DiskImage.h"
#include "VELMOImage/DistributedImage.h"

#include <mutex>

namespace velmo::image {

class BaseDiskImageAccessor;

/// Creates images of the three kinds. After a failure `out` is unchanged. Thread-safe.
class VELMO_HOST_EXPORT ImageFactory {
  public:
    /// The factory of the process, created at the first call.
    static ImageFactory& getInstance();

    ImageFactory(ImageFactory const&) = delete;
    ImageFactory& operator=(ImageFactory const&) = delete;

    /// Creates a zeroed image in memory.
    BoolResult createDefaultImage(BaseImageGeometry const& geometry, ImagePtr& out) const;
    /// Creates an image over an initialised accessor, which the image co-owns. Fails if the accessor packs
    /// binary pixels into bits and its geometry has binary planes.
    BoolResult createDiskImage(boost::shared_ptr<BaseDiskImageAccessor> const& pAccessor,
                               DiskImagePtr& out) const;
    /// Creates a zeroed image that is distributed over the workers of the engine.
    BoolResult createDistributedImage(BaseImageGeometry const& geometry, DistributedImagePtr& out) const;
    /// Same, with the geometry of `model` and another pixel type.
    BoolResult createDistributedImage(DistributedImage const& model, eImageBufferType const& bufferType,
                                      DistributedImagePtr& out) const;

    /// Sets the engine of distributed images that are created later. The default engine has one worker for
    /// each processor of this machine.
    void setDistributionEngine(DistributionEnginePtr const& pEngine);

  private:
    ImageFactory();

    mutable std::mutex _mutex;
    DistributionEnginePtr _pEngine;
};

} // namespace velmo::image
