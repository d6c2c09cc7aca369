// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOImage/BaseImage.h"
#include "VELMOImage/DistributionEngine.h"

namespace velmo::image {

/// An image whose planes are spread, in blocks of consecutive planes, over the workers of an engine.
class VELMO_HOST_EXPORT DistributedImage : public BaseImage {
  public:
    /// The image co-owns the engine. `init` spreads the planes; ImageFactory does both.
    explicit DistributedImage(DistributionEnginePtr const& pEngine);
    ~DistributedImage() override;

    BoolResult init(BaseImageGeometry const& geometry) override;
    /// True: the planes lie with the workers.
    bool requiresCpuCopy() const override;

    /// Has the workers read their own planes, as many at once as there are workers, each through an accessor
    /// that it rebuilds from the record. After a failure no further block is begun; the text of the first one
    /// in the order of the planes is returned, an exception of a worker is thrown here.
    BoolResult fillFromAccessor(std::string const& accessorRecord);

  private:
    BoolResult readPixelsDerived(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStart, vlUInt64 nbPixels,
                                 void* buffer) const override;
    BoolResult writePixelsDerived(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStart, vlUInt64 nbPixels,
                                  void const* buffer) override;

    /// Where a run of pixels lies: the block's owner and id, and the bytes within it.
    struct Place {
        BaseBlockOwner* pOwner;
        vlUInt64 id;
        vlUInt64 offset;
        vlUInt64 nbBytes;
    };
    Place locate(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStart, vlUInt64 nbPixels) const;
    BoolResult requireWorkers() const;
    BaseBlockOwner& getOwnerOf(vlUInt64 blockIndex) const;

    DistributionEnginePtr _pEngine;
    vlUInt64 _nbPlansPerBlock = 1;
    std::vector<vlUInt64>
        _blockIds; ///< in the order of the planes; block i lies with worker i modulo their number
};

/// A shared distributed image; the last pointer drops its blocks.
using DistributedImagePtr = boost::shared_ptr<DistributedImage>;

} // namespace velmo::image
