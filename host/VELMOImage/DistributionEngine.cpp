// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOImage/DistributionEngine.h"

#include "VELMOImage/ImageAccessor.h"
#include "VELMOImage/ImageGeometry.h"
#include "VELMOImage/VELMOImageLog.h"
#include "VELMOImage/detail/PixelMemory.h"
#include "VELMOSerialization/BinaryArchive.h"
#include "VELMOSerialization/DynamicObjectFactory.h"
#include "VELMOUtil/Failures.h"

#include <atomic>
#include <boost/make_shared.hpp>
#include <boost/weak_ptr.hpp>
#include <cstring>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <shared_mutex>
#include <sstream>

namespace velmo::image {

BaseBlockOwner::~BaseBlockOwner() = default;

boost::shared_ptr<void> BaseBlockOwner::beginFilling(std::string const& /*accessorRecord*/) {
    return {};
}

BlockMemory BaseBlockOwner::accessBlock(vlUInt64 /*id*/) const {
    return {nullptr, 0};
}

BaseDistributionEngine::~BaseDistributionEngine() = default;

BoolResult BaseDistributionEngine::requireRoom(vlUInt64 /*nbBytes*/) const {
    return success();
}

namespace {

struct Block {
    ImageGeometryPtr pGeometry;
    PlanBlock plans{};
    std::shared_ptr<std::byte> pPixels;
};

vlUInt64 getBlockSize(BaseImageGeometry const& geometry, PlanBlock const& block) {
    return geometry.getPlansMemorySize(block.firstPlan + block.nbPlans) -
           geometry.getPlansMemorySize(block.firstPlan);
}

BoolResult readPlans(Block& block, BaseImageAccessor const& accessor) {
    BaseImageGeometry const& geometry = *block.pGeometry;
    vlUInt64 offset = 0;
    for (vlUInt64 i = 0; i < block.plans.nbPlans; ++i) {
        PlanIndexes const plan = geometry.getPlanIndexes(block.plans.firstPlan + i);
        BoolResult result = accessor.readRawData(plan.z, plan.c, plan.t, 0, geometry.getPlanNbPixels(),
                                                 block.pPixels.get() + offset);
        if (!result) {
            return result;
        }
        offset += geometry.getPlanMemorySize(plan.t);
    }
    return success();
}

std::string readClassName(std::string const& accessorRecord) {
    std::istringstream stream(accessorRecord);
    BinaryIArchive archive(stream);
    ArchiveSectionManager const section(archive, "accessor");
    std::string className;
    archive.readItem("className", className);
    return className;
}

/// A failure of an accessor whose class is known (a file that went away since the caller opened it, say) is
/// the result's, and not logged; an unknown class is thrown.
BoolResult rebuild(std::string const& accessorRecord, boost::shared_ptr<BaseImageAccessor>& pAccessor) {
    bool const bKnown = DynamicObjectFactory::getInstance().isClassRegistred(readClassName(accessorRecord));
    std::optional<UnloggedRaises> unlogged;
    if (bKnown) {
        unlogged.emplace();
    }
    try {
        std::istringstream stream(accessorRecord);
        BinaryIArchive archive(stream);
        pAccessor = boost::dynamic_pointer_cast<BaseImageAccessor>(archive.readObject("accessor"));
    } catch (BaseException const& exception) {
        if (!bKnown) {
            throw;
        }
        return failure(exception);
    }
    if (!pAccessor) {
        return failMessage(g_velmoImageRaise, eImageMessage::eIM_RecordWithoutAccessor);
    }
    return success();
}

/// The accessor of a record, restored by the first block that needs it.
class Filling {
  public:
    BoolResult restore(std::string const& accessorRecord, boost::shared_ptr<BaseImageAccessor>& pAccessor) {
        std::lock_guard<std::mutex> const lock(_mutex);
        BoolResult result = _pAccessor ? success() : rebuild(accessorRecord, _pAccessor);
        pAccessor = _pAccessor;
        return result;
    }

  private:
    std::mutex _mutex;
    boost::shared_ptr<BaseImageAccessor> _pAccessor;
};

class LocalBlockOwner : public BaseBlockOwner {
  public:
    BoolResult addBlock(BaseImageGeometry const& geometry, PlanBlock const& plans) override {
        auto pBlock = std::make_shared<Block>();
        pBlock->pGeometry = duplicateGeometry(geometry);
        pBlock->plans = plans;
        BoolResult result = allocatePixels(getBlockSize(geometry, plans), pBlock->pPixels);
        if (result) {
            std::unique_lock<std::shared_mutex> const lock(_mutex);
            _blocks[plans.id] = std::move(pBlock);
        }
        return result;
    }

    void dropBlock(vlUInt64 id) override {
        std::unique_lock<std::shared_mutex> const lock(_mutex);
        _blocks.erase(id);
    }

    BoolResult readBlock(vlUInt64 id, vlUInt64 offset, vlUInt64 nbBytes, void* buffer) const override {
        std::memcpy(buffer, find(id)->pPixels.get() + offset, nbBytes);
        return success();
    }

    BoolResult writeBlock(vlUInt64 id, vlUInt64 offset, vlUInt64 nbBytes, void const* buffer) override {
        std::memcpy(find(id)->pPixels.get() + offset, buffer, nbBytes);
        return success();
    }

    BoolResult fillBlock(vlUInt64 id, std::string const& accessorRecord) override {
        boost::shared_ptr<BaseImageAccessor> pAccessor;
        BoolResult result = findFilling(accessorRecord)->restore(accessorRecord, pAccessor);
        return result ? readPlans(*find(id), *pAccessor) : result;
    }

    boost::shared_ptr<void> beginFilling(std::string const& accessorRecord) override {
        return findFilling(accessorRecord);
    }

    BlockMemory accessBlock(vlUInt64 id) const override {
        std::shared_lock<std::shared_mutex> const lock(_mutex);
        auto const found = _blocks.find(id);
        if (found == _blocks.end()) {
            return {nullptr, 0};
        }
        Block const& block = *found->second;
        return {block.pPixels, getBlockSize(*block.pGeometry, block.plans)};
    }

  private:
    boost::shared_ptr<Filling> findFilling(std::string const& accessorRecord) {
        std::unique_lock<std::shared_mutex> const lock(_mutex);
        boost::shared_ptr<Filling> pFilling = _fillingRecord == accessorRecord ? _pFilling.lock() : nullptr;
        if (!pFilling) {
            pFilling = boost::make_shared<Filling>();
            _pFilling = pFilling;
            _fillingRecord = accessorRecord;
        }
        return pFilling;
    }

    std::shared_ptr<Block> find(vlUInt64 id) const {
        std::shared_lock<std::shared_mutex> const lock(_mutex);
        return _blocks.at(id);
    }

    mutable std::shared_mutex _mutex;
    std::map<vlUInt64, std::shared_ptr<Block>> _blocks;
    boost::weak_ptr<Filling> _pFilling;
    std::string _fillingRecord; ///< of `_pFilling`
};

class ThreadDistributionEngine : public BaseDistributionEngine {
  public:
    explicit ThreadDistributionEngine(vlUInt64 nbOwners) : _owners(nbOwners) {}
    vlUInt64 getNbOwners() const override { return _owners.size(); }
    BoolResult requireRoom(vlUInt64 nbBytes) const override { return requireMemory(nbBytes); }
    vlUInt64 createBlockId() override { return _nextId++; }
    BaseBlockOwner& getOwner(vlUInt64 index) override { return _owners.at(index); }

  private:
    std::vector<LocalBlockOwner> _owners;
    std::atomic<vlUInt64> _nextId{0};
};

} // namespace

DistributionEnginePtr createThreadDistributionEngine(vlUInt64 nbOwners) {
    return boost::make_shared<ThreadDistributionEngine>(nbOwners);
}

} // namespace velmo::image
