// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOUtil/BoolResult.h"
#include "VELMOUtil/Export.h"
#include "VELMOUtil/Types.h"

#include <boost/shared_ptr.hpp>
#include <string>
#include <vector>

namespace velmo::image {

class BaseImageGeometry;

/// A run of planes, counted in (t, c, z) order, that one worker holds.
struct PlanBlock {
    /// From `createBlockId`.
    vlUInt64 id;
    /// Counted from 0.
    vlUInt64 firstPlan;
    /// At least 1.
    vlUInt64 nbPlans;
};

/// A worker that owns blocks of planes. Whatever passes here could travel in a message: numbers, bytes, and
/// the archive record of an accessor. An offset is counted in bytes from the block's first pixel.
///
/// Blocks are added before and dropped after all other use; reads and writes of different bytes may run at
/// once.
class VELMO_HOST_EXPORT BaseBlockOwner {
  public:
    virtual ~BaseBlockOwner();
    /// Room for a block of an image, all zero.
    virtual BoolResult addBlock(BaseImageGeometry const& geometry, PlanBlock const& block) = 0;
    /// Frees a block; without one of that id, nothing happens.
    virtual void dropBlock(vlUInt64 id) = 0;
    /// @{
    /// Moves `nbBytes` bytes between a block and the caller's buffer. The run must lie within the block.
    virtual BoolResult readBlock(vlUInt64 id, vlUInt64 offset, vlUInt64 nbBytes, void* buffer) const = 0;
    virtual BoolResult writeBlock(vlUInt64 id, vlUInt64 offset, vlUInt64 nbBytes, void const* buffer) = 0;
    /// @}
    /// Rebuilds an accessor from its archive record and reads the planes of a block from it. Returns the text
    /// of the first failure.
    virtual BoolResult fillBlock(vlUInt64 id, std::string const& accessorRecord) = 0;
};

/// The workers that distributed images can be spread over. Safe from any thread.
class VELMO_HOST_EXPORT BaseDistributionEngine {
  public:
    virtual ~BaseDistributionEngine();
    /// Constant as long as the engine lives.
    virtual vlUInt64 getNbOwners() const = 0;
    /// Whether the owners together have room for an image; true unless the engine knows better.
    virtual BoolResult requireRoom(vlUInt64 nbBytes) const;
    /// Blocks of different images never share an id of one owner.
    virtual vlUInt64 createBlockId() = 0;
    /// Owned by the engine. `index` counts from 0 and must be that of an owner.
    virtual BaseBlockOwner& getOwner(vlUInt64 index) = 0;
};

/// A shared engine: every image made by it holds it.
using DistributionEnginePtr = boost::shared_ptr<BaseDistributionEngine>;

/// An engine of `nbOwners` workers in this process, each with memory of its own.
VELMO_HOST_EXPORT DistributionEnginePtr createThreadDistributionEngine(vlUInt64 nbOwners);

} // namespace velmo::image
