// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "RecordingEngine.h"

#include <VELMOImage/ImageFactory.h>
#include <algorithm>
#include <boost/make_shared.hpp>
#include <chrono>

namespace velmo::test {

using namespace image;

namespace {

class RecordingOwner : public BaseBlockOwner {
  public:
    RecordingOwner(BaseBlockOwner& owner, WorkerRecord& record) : _owner(owner), _record(record) {}

    BoolResult addBlock(BaseImageGeometry const& geometry, PlanBlock const& block) override {
        if (!_record.addFailure.empty() && _record.nbAdded == 1) {
            return failure(_record.addFailure);
        }
        ++_record.nbAdded;
        return _owner.addBlock(geometry, block);
    }

    void dropBlock(vlUInt64 id) override {
        ++_record.nbDropped;
        _owner.dropBlock(id);
    }

    BoolResult readBlock(vlUInt64 id, vlUInt64 offset, vlUInt64 nbBytes, void* buffer) const override {
        return _owner.readBlock(id, offset, nbBytes, buffer);
    }

    BoolResult writeBlock(vlUInt64 id, vlUInt64 offset, vlUInt64 nbBytes, void const* buffer) override {
        ++_record.nbWrites;
        {
            std::lock_guard<std::mutex> const lock(_record.mutex);
            _record.writers.insert(std::this_thread::get_id());
        }
        return _record.writeFailure.empty() ? _owner.writeBlock(id, offset, nbBytes, buffer)
                                            : failure(_record.writeFailure);
    }

    BoolResult fillBlock(vlUInt64 id, std::string const& accessorRecord) override {
        ++_record.nbFills;
        if (!meetOtherFillers()) {
            return failure("a worker waits for others in vain");
        }
        return _record.fillFailure.empty() ? _owner.fillBlock(id, accessorRecord)
                                           : failure(_record.fillFailure);
    }

  private:
    bool meetOtherFillers() const {
        std::unique_lock<std::mutex> lock(_record.mutex);
        _record.fillers.insert(std::this_thread::get_id());
        _record.filling.notify_all();
        return _record.filling.wait_for(lock, std::chrono::minutes(2),
                                        [this] { return _record.fillers.size() >= _record.nbToMeet; });
    }

    BaseBlockOwner& _owner;
    WorkerRecord& _record;
};

class RecordingEngine : public BaseDistributionEngine {
  public:
    explicit RecordingEngine(std::shared_ptr<WorkerRecord> const& pRecord)
        : _pRecord(pRecord),
          _pEngine(createThreadDistributionEngine(2)), _owners{{_pEngine->getOwner(0), *pRecord},
                                                               {_pEngine->getOwner(1), *pRecord}} {}

    vlUInt64 getNbOwners() const override { return 2; }
    vlUInt64 createBlockId() override { return _pEngine->createBlockId(); }
    BaseBlockOwner& getOwner(vlUInt64 index) override { return _owners[index]; }

  private:
    std::shared_ptr<WorkerRecord> _pRecord;
    DistributionEnginePtr _pEngine;
    RecordingOwner _owners[2];
};

class BottomlessOwner : public BaseBlockOwner {
  public:
    BoolResult addBlock(BaseImageGeometry const& /*geometry*/, PlanBlock const& /*block*/) override {
        return success();
    }
    void dropBlock(vlUInt64 /*id*/) override {}
    BoolResult readBlock(vlUInt64, vlUInt64, vlUInt64, void* /*buffer*/) const override {
        return failure("no pixels");
    }
    BoolResult writeBlock(vlUInt64, vlUInt64, vlUInt64, void const* /*buffer*/) override {
        return failure("no pixels");
    }
    BoolResult fillBlock(vlUInt64 /*id*/, std::string const& /*record*/) override {
        return failure("no pixels");
    }
};

class BottomlessEngine : public BaseDistributionEngine {
  public:
    vlUInt64 getNbOwners() const override { return 1; }
    vlUInt64 createBlockId() override { return _nextId++; }
    BaseBlockOwner& getOwner(vlUInt64 /*index*/) override { return _owner; }

  private:
    BottomlessOwner _owner;
    std::atomic<vlUInt64> _nextId{0};
};

} // namespace

DistributionEnginePtr createRecordingEngine(std::shared_ptr<WorkerRecord> const& pRecord) {
    return boost::make_shared<RecordingEngine>(pRecord);
}

DistributionEnginePtr createBottomlessEngine() {
    return boost::make_shared<BottomlessEngine>();
}

ReplacedEngine::ReplacedEngine(DistributionEnginePtr const& pEngine) {
    ImageFactory::getInstance().setDistributionEngine(pEngine);
}

ReplacedEngine::~ReplacedEngine() {
    ImageFactory::getInstance().setDistributionEngine(
        createThreadDistributionEngine(std::max(1U, std::thread::hardware_concurrency())));
}

} // namespace velmo::test
