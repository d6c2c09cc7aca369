// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOImage/BaseImage.h"
#include "VELMOImage/DistributionEngine.h"

#include <functional>

namespace velmo::image {

/// An image whose planes are distributed, in blocks of consecutive planes, over the workers of an engine.
class VELMO_HOST_EXPORT DistributedImage : public BaseImage {
  public:
    /// The image co-owns the engine. `init` distributes the planes. ImageFactory does both.
    explicit DistributedImage(DistributionEnginePtr const& pEngine);
    ~DistributedImage() override;

    BoolResult init(BaseImageGeometry const& geometry) override;
    /// True, since the workers hold the planes.
    bool requiresCpuCopy() const override;

    /// All workers read their own planes at once, each through an accessor that it restores from the archive
    /// record. After an error no further block is started. Returns the error of the first block in the order
    /// of planes, or throws the exception of its worker.
    BoolResult fillFromAccessor(std::string const& accessorRecord);

    /// Work on one block and its owner. Called concurrently for blocks of different owners.
    using BlockWork = std::function<BoolResult(BaseBlockOwner& owner, PlanBlock const& block)>;
    /// Calls `work` for all blocks, with one thread for each owner, which takes its blocks in the order of
    /// planes. After an error no further block is started. Returns the error of the first block in the order
    /// of planes, or throws its exception.
    BoolResult forEachBlock(BlockWork const& work) const;

  private:
    BoolResult readPixelsDerived(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStart, vlUInt64 nbPixels,
                                 void* buffer) const override;
    BoolResult writePixelsDerived(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStart, vlUInt64 nbPixels,
                                  void const* buffer) override;

    /// Place of a run of pixels: owner and id of the block, and the byte range in it.
    struct Place {
        BaseBlockOwner* pOwner;
        vlUInt64 id;
        vlUInt64 offset;
        vlUInt64 nbBytes;
    };
    Place locate(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStart, vlUInt64 nbPixels) const;
    BoolResult requireWorkers() const;
    class Fillings;

    /// Called for each owner before its first block; what it returns is kept until its last block is done.
    using OwnerStart = std::function<boost::shared_ptr<void>(BaseBlockOwner& owner)>;
    BoolResult runOwners(OwnerStart const& start, BlockWork const& work) const;
    void runBlocksOf(vlUInt64 owner, OwnerStart const& start, BlockWork const& work,
                     Fillings& fillings) const;
    PlanBlock getBlock(vlUInt64 index) const;
    BaseBlockOwner& getOwnerOf(vlUInt64 blockIndex) const;

    DistributionEnginePtr _pEngine;
    vlUInt64 _nbPlansPerBlock = 1;
    std::vector<vlUInt64>
        _blockIds; ///< in the order of the planes; block i is held by worker i modulo their number
};

/// Shared distributed image. The last pointer frees its blocks.
using DistributedImagePtr = boost::shared_ptr<DistributedImage>;

} // namespace velmo::image
