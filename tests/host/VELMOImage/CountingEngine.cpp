// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CountingEngine.h"

#include "VELMOImage/ImageGeometry.h"

#include <cstring>

namespace velmo::test {

using namespace velmo::image;

CountingEngine::CountingEngine(vlUInt64 nbOwners, vlUInt64 nbBlocksGiven) : _nbBlocksGiven(nbBlocksGiven) {
    for (vlUInt64 index = 0; index < nbOwners; ++index) {
        _owners.push_back(std::make_unique<CountingOwner>(*this));
    }
}

CountingEngine::~CountingEngine() = default;

vlUInt64 CountingEngine::getNbOwners() const {
    return _owners.size();
}

vlUInt64 CountingEngine::createBlockId() {
    return _nextId++;
}

BaseBlockOwner& CountingEngine::getOwner(vlUInt64 index) {
    return *_owners.at(index);
}

vlUInt64 CountingEngine::getNbLiveBlocks() const {
    vlUInt64 nbBlocks = 0;
    for (auto const& pOwner : _owners) {
        nbBlocks += pOwner->getBlocks().size();
    }
    return nbBlocks;
}

BoolResult CountingOwner::addBlock(BaseImageGeometry const& geometry, PlanBlock const& block) {
    if (_engine._nbAdded == _engine._nbBlocksGiven) {
        return failure("this engine gives no more blocks");
    }
    ++_engine._nbAdded;
    vlUInt64 const nbBytes = geometry.getPlansMemorySize(block.firstPlan + block.nbPlans) -
                             geometry.getPlansMemorySize(block.firstPlan);
    _blocks[block.id] = {block, Bytes(nbBytes)};
    return success();
}

void CountingOwner::dropBlock(vlUInt64 id) {
    _engine._nbDropped += _blocks.erase(id);
}

BoolResult CountingOwner::readBlock(vlUInt64 id, vlUInt64 offset, vlUInt64 nbBytes, void* buffer) const {
    Block const& block = _blocks.at(id);
    if (offset > block.bytes.size() || nbBytes > block.bytes.size() - offset) {
        return failure("read past the end of a block");
    }
    std::memcpy(buffer, block.bytes.data() + offset, nbBytes);
    return success();
}

BoolResult CountingOwner::writeBlock(vlUInt64 id, vlUInt64 offset, vlUInt64 nbBytes, void const* buffer) {
    Block& block = _blocks.at(id);
    if (offset > block.bytes.size() || nbBytes > block.bytes.size() - offset) {
        return failure("write past the end of a block");
    }
    std::memcpy(block.bytes.data() + offset, buffer, nbBytes);
    return success();
}

BoolResult CountingOwner::fillBlock(vlUInt64 id, std::string const& accessorRecord) {
    std::lock_guard<std::mutex> const lock(_mutex);
    _filledIds.push_back(id);
    _fillRecord = accessorRecord;
    return _engine._fillFailure.empty() ? success() : failure(_engine._fillFailure);
}

} // namespace velmo::test
