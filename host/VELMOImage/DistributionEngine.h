// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOUtil/BoolResult.h"
#include "VELMOUtil/Export.h"
#include "VELMOUtil/Types.h"

#include <boost/shared_ptr.hpp>
#include <cstddef>
#include <memory>
#include <string>
#include <vector>

namespace velmo::image {

class BaseImageGeometry;

/// A run of planes in (t, c, z) order that one worker holds.
struct PlanBlock {
    /// Id from `createBlockId`.
    vlUInt64 id;
    /// Number of the first plane, from 0.
    vlUInt64 firstPlan;
    /// Number of planes, at least 1.
    vlUInt64 nbPlans;
};

/// The bytes of a block in the memory of this process.
struct BlockMemory {
    /// The first pixel; null if the block is not in the memory of this process. Co-owns the bytes.
    std::shared_ptr<std::byte> pBytes;
    /// Number of bytes.
    vlUInt64 nbBytes;
};

/// A worker that owns blocks of planes. All arguments can be sent in a message: numbers, bytes, and the
/// archive record of an accessor. Offsets are in bytes from the first pixel of the block.
///
/// Blocks are added before and removed after all other calls. Reads and writes of different bytes may run
/// concurrently.
class VELMO_HOST_EXPORT BaseBlockOwner {
  public:
    virtual ~BaseBlockOwner();
    /// Allocates a zeroed block of an image.
    virtual BoolResult addBlock(BaseImageGeometry const& geometry, PlanBlock const& block) = 0;
    /// Frees a block. Ignores an unknown id.
    virtual void dropBlock(vlUInt64 id) = 0;
    /// @{
    /// Copies `nbBytes` bytes between a block and the caller's buffer. The range must be inside the block.
    virtual BoolResult readBlock(vlUInt64 id, vlUInt64 offset, vlUInt64 nbBytes, void* buffer) const = 0;
    virtual BoolResult writeBlock(vlUInt64 id, vlUInt64 offset, vlUInt64 nbBytes, void const* buffer) = 0;
    /// @}
    /// Restores an accessor from its archive record and reads the planes of a block with it. Returns the
    /// first error.
    virtual BoolResult fillBlock(vlUInt64 id, std::string const& accessorRecord) = 0;
    /// Announces calls of `fillBlock` with one record, which may run concurrently. As long as the result
    /// exists, the owner may keep the restored accessor for the next call. By default null.
    virtual boost::shared_ptr<void> beginFilling(std::string const& accessorRecord);
    /// The bytes of a block, for work that runs where the block is. No bytes for an unknown id and for a
    /// block in another process; by default none.
    virtual BlockMemory accessBlock(vlUInt64 id) const;
};

/// The workers of distributed images. Thread-safe.
class VELMO_HOST_EXPORT BaseDistributionEngine {
  public:
    virtual ~BaseDistributionEngine();
    /// Number of owners. It does not change.
    virtual vlUInt64 getNbOwners() const = 0;
    /// Whether the owners have enough memory for an image; true by default.
    virtual BoolResult requireRoom(vlUInt64 nbBytes) const;
    /// A new id of a block. Ids are unique across images.
    virtual vlUInt64 createBlockId() = 0;
    /// The owner of that index (from 0), which must exist. The engine owns it.
    virtual BaseBlockOwner& getOwner(vlUInt64 index) = 0;
};

/// Shared engine; every image that it holds co-owns it.
using DistributionEnginePtr = boost::shared_ptr<BaseDistributionEngine>;

/// An engine with `nbOwners` workers in this process, each with its own memory.
VELMO_HOST_EXPORT DistributionEnginePtr createThreadDistributionEngine(vlUInt64 nbOwners);

} // namespace velmo::image
