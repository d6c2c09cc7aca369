// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "PixelPattern.h"
#include "VELMOImage/DistributionEngine.h"

#include <map>
#include <memory>
#include <mutex>

namespace velmo::test {

class CountingOwner;

/// An engine that keeps its blocks on the heap, counts them, and refuses to add more than it is told to.
class CountingEngine : public image::BaseDistributionEngine {
  public:
    explicit CountingEngine(vlUInt64 nbOwners, vlUInt64 nbBlocksGiven = NumericLimits<vlUInt64>::s_max);
    ~CountingEngine() override;

    vlUInt64 getNbOwners() const override;
    vlUInt64 createBlockId() override;
    image::BaseBlockOwner& getOwner(vlUInt64 index) override;

    CountingOwner const& getCountingOwner(vlUInt64 index) const { return *_owners.at(index); }
    /// From now on every block that is to be filled fails with this text.
    void failToFill(std::string const& text) { _fillFailure = text; }
    vlUInt64 getNbLiveBlocks() const;
    vlUInt64 getNbAdded() const { return _nbAdded; }
    vlUInt64 getNbDropped() const { return _nbDropped; }

  private:
    friend class CountingOwner;

    vlUInt64 _nbBlocksGiven;
    vlUInt64 _nextId = 1000;
    vlUInt64 _nbAdded = 0;
    vlUInt64 _nbDropped = 0;
    std::string _fillFailure;
    std::vector<std::unique_ptr<CountingOwner>> _owners;
};

class CountingOwner : public image::BaseBlockOwner {
  public:
    explicit CountingOwner(CountingEngine& engine) : _engine(engine) {}

    BoolResult addBlock(image::BaseImageGeometry const& geometry, image::PlanBlock const& block) override;
    void dropBlock(vlUInt64 id) override;
    BoolResult readBlock(vlUInt64 id, vlUInt64 offset, vlUInt64 nbBytes, void* buffer) const override;
    BoolResult writeBlock(vlUInt64 id, vlUInt64 offset, vlUInt64 nbBytes, void const* buffer) override;
    /// Remembers what it was asked and fills nothing.
    BoolResult fillBlock(vlUInt64 id, std::string const& accessorRecord) override;

    struct Block {
        image::PlanBlock planes{};
        Bytes bytes;
    };
    std::map<vlUInt64, Block> const& getBlocks() const { return _blocks; }
    std::vector<vlUInt64> const& getFilledIds() const { return _filledIds; }
    std::string const& getFillRecord() const { return _fillRecord; }

  private:
    CountingEngine& _engine;
    std::map<vlUInt64, Block> _blocks;
    std::mutex _mutex;
    std::vector<vlUInt64> _filledIds;
    std::string _fillRecord;
};

} // namespace velmo::test
