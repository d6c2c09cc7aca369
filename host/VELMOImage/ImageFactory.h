// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOImage/DiskImage.h"
#include "VELMOImage/DistributedImage.h"

#include <mutex>

namespace velmo::image {

class BaseDiskImageAccessor;

/// Makes images of the three kinds. The `create` operations leave `out` as it was on a failure; any thread
/// may call them.
class VELMO_HOST_EXPORT ImageFactory {
  public:
    /// The one of the process, made at the first call.
    static ImageFactory& getInstance();

    ImageFactory(ImageFactory const&) = delete;
    ImageFactory& operator=(ImageFactory const&) = delete;

    /// An image in memory, all zero.
    BoolResult createDefaultImage(BaseImageGeometry const& geometry, ImagePtr& out) const;
    /// An image over an accessor that is initialised; the image co-owns it. An accessor that packs binary
    /// pixels into bits is refused where its geometry has binary planes.
    BoolResult createDiskImage(boost::shared_ptr<BaseDiskImageAccessor> const& pAccessor,
                               DiskImagePtr& out) const;
    /// An image spread over the workers of the engine, all zero.
    BoolResult createDistributedImage(BaseImageGeometry const& geometry, DistributedImagePtr& out) const;
    /// The same with the geometry of `model` and another pixel type.
    BoolResult createDistributedImage(DistributedImage const& model, eImageBufferType const& bufferType,
                                      DistributedImagePtr& out) const;

    /// The engine of distributed images made from now on; one worker for each processor of this machine by
    /// default.
    void setDistributionEngine(DistributionEnginePtr const& pEngine);

  private:
    ImageFactory();

    mutable std::mutex _mutex;
    DistributionEnginePtr _pEngine;
};

} // namespace velmo::image
