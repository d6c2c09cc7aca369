// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOImage/DistributedImage.h"

#include "VELMOBase/CheckedArithmetic.h"
#include "VELMOBase/ParallelRun.h"
#include "VELMOImage/ImageGeometry.h"
#include "VELMOImage/VELMOImageLog.h"
#include "VELMOUtil/Failures.h"

#include <algorithm>
#include <mutex>

namespace velmo::image {

namespace {

/// Blocks for each worker: more than one, so that the end of the image is shared out too.
constexpr vlUInt64 g_blocksPerOwner = 4;

} // namespace

/// The first block whose work failed. Owners start no block behind it.
class DistributedImage::Fillings {
  public:
    explicit Fillings(vlUInt64 nbBlocks) : _firstFailed(nbBlocks) {}

    bool isWanted(vlUInt64 block) const {
        std::lock_guard<std::mutex> const lock(_mutex);
        return block < _firstFailed;
    }

    void add(vlUInt64 block, BoolResult const& result) {
        std::lock_guard<std::mutex> const lock(_mutex);
        if (!result && block < _firstFailed) {
            _firstFailed = block;
            _result = result;
        }
    }

    BoolResult const& getResult() const { return _result; }

  private:
    mutable std::mutex _mutex;
    vlUInt64 _firstFailed;
    BoolResult _result = success();
};

DistributedImage::DistributedImage(DistributionEnginePtr const& pEngine) : _pEngine(pEngine) {}

DistributedImage::~DistributedImage() {
    for (vlUInt64 index = 0; index < _blockIds.size(); ++index) {
        getOwnerOf(index).dropBlock(_blockIds[index]);
    }
}

BoolResult DistributedImage::init(BaseImageGeometry const& geometry) {
    BoolResult ready = requireWorkers();
    if (ready) {
        ready = _pEngine->requireRoom(geometry.getFullMemorySize());
    }
    if (!ready) {
        return ready;
    }
    DistributedImage candidate(_pEngine); // gives its blocks back where one of them fails
    vlUInt64 const nbPlans = geometry.getNbPlans();
    vlUInt64 const nbPerBlock =
        std::max<vlUInt64>(1, divideUp(nbPlans, _pEngine->getNbOwners() * g_blocksPerOwner));
    for (vlUInt64 first = 0, nbInBlock = 0; first < nbPlans; first += nbInBlock) {
        nbInBlock = std::min(nbPerBlock, nbPlans - first);
        PlanBlock const block = {_pEngine->createBlockId(), first, nbInBlock};
        BoolResult result = getOwnerOf(candidate._blockIds.size()).addBlock(geometry, block);
        if (!result) {
            return result;
        }
        candidate._blockIds.push_back(block.id);
    }
    setGeometry(geometry);
    _nbPlansPerBlock = nbPerBlock;
    _blockIds.swap(candidate._blockIds);
    return success();
}

BoolResult DistributedImage::requireWorkers() const {
    if (_pEngine && _pEngine->getNbOwners() != 0) {
        return success();
    }
    return failMessage(g_velmoImageRaise, eImageMessage::eIM_NoWorker);
}

bool DistributedImage::requiresCpuCopy() const {
    return true;
}

BoolResult DistributedImage::fillFromAccessor(std::string const& accessorRecord) {
    return runOwners([&](BaseBlockOwner& owner) { return owner.beginFilling(accessorRecord); },
                     [&](BaseBlockOwner& owner, PlanBlock const& block) {
                         return owner.fillBlock(block.id, accessorRecord);
                     });
}

BoolResult DistributedImage::forEachBlock(BlockWork const& work) const {
    return runOwners([](BaseBlockOwner& /*owner*/) { return boost::shared_ptr<void>(); }, work);
}

BoolResult DistributedImage::runOwners(OwnerStart const& start, BlockWork const& work) const {
    BoolResult ready = requireWorkers();
    if (!ready) {
        return ready;
    }
    Fillings fillings(_blockIds.size());
    BoolResult result = runParallel(_pEngine->getNbOwners(), _pEngine->getNbOwners(),
                                    [&](vlUInt64 /*thread*/, vlUInt64 owner) {
                                        runBlocksOf(owner, start, work, fillings);
                                        return success();
                                    });
    return result ? fillings.getResult() : result;
}

/// One thread takes all blocks of an owner, in their order.
void DistributedImage::runBlocksOf(vlUInt64 owner, OwnerStart const& start, BlockWork const& work,
                                   Fillings& fillings) const {
    BaseBlockOwner& blockOwner = _pEngine->getOwner(owner);
    auto const pStarted = start(blockOwner);
    for (vlUInt64 block = owner; block < _blockIds.size() && fillings.isWanted(block);
         block += _pEngine->getNbOwners()) {
        fillings.add(block, work(blockOwner, getBlock(block)));
    }
}

PlanBlock DistributedImage::getBlock(vlUInt64 index) const {
    vlUInt64 const first = index * _nbPlansPerBlock;
    return {_blockIds[index], first, std::min(_nbPlansPerBlock, getGeometry().getNbPlans() - first)};
}

BaseBlockOwner& DistributedImage::getOwnerOf(vlUInt64 blockIndex) const {
    return _pEngine->getOwner(blockIndex % _pEngine->getNbOwners());
}

DistributedImage::Place DistributedImage::locate(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStart,
                                                 vlUInt64 nbPixels) const {
    BaseImageGeometry const& geometry = getGeometry();
    vlUInt64 const block = geometry.getPlanNumber({z, c, t}) / _nbPlansPerBlock;
    vlUInt64 const blockStart = geometry.getPlansMemorySize(block * _nbPlansPerBlock);
    vlUInt64 const pixelSize = geometry.getPlanGeometry(t).getPixelSize();
    return {&getOwnerOf(block), _blockIds[block],
            geometry.getPlanOffset(z, c, t) - blockStart + pixelStart * pixelSize, nbPixels * pixelSize};
}

BoolResult DistributedImage::readPixelsDerived(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStart,
                                               vlUInt64 nbPixels, void* buffer) const {
    Place const place = locate(z, c, t, pixelStart, nbPixels);
    return place.nbBytes == 0 ? success()
                              : place.pOwner->readBlock(place.id, place.offset, place.nbBytes, buffer);
}

BoolResult DistributedImage::writePixelsDerived(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStart,
                                                vlUInt64 nbPixels, void const* buffer) {
    Place const place = locate(z, c, t, pixelStart, nbPixels);
    return place.nbBytes == 0 ? success()
                              : place.pOwner->writeBlock(place.id, place.offset, place.nbBytes, buffer);
}

} // namespace velmo::image
