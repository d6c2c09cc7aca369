// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "LoopbackJob.h"

namespace velmo::test {

using namespace image;
using namespace image::mpi;

Timing getPatientTiming() {
    Timing timing;
    timing.aliveInterval = std::chrono::milliseconds(200);
    timing.silence = std::chrono::seconds(60);
    timing.loss = std::chrono::seconds(60);
    timing.start = std::chrono::seconds(60);
    return timing;
}

Timing getHastyTiming() {
    Timing timing;
    timing.aliveInterval = std::chrono::milliseconds(5);
    timing.silence = std::chrono::milliseconds(150);
    timing.loss = std::chrono::milliseconds(25);
    timing.start = std::chrono::milliseconds(400);
    return timing;
}

RankDescription describeLoopbackRank(int rank) {
    RankDescription description = describeThisRank();
    description.host = "host" + std::to_string(rank);
    description.folder = "/folder" + std::to_string(rank);
    return description;
}

LoopbackJob::LoopbackJob(int nbRanks, Timing const& timing, LoopbackFault fault)
    : _pHub(std::make_shared<LoopbackHub>(nbRanks)), _statuses(static_cast<std::size_t>(nbRanks - 1), -1) {
    _pHub->setFault(std::move(fault));
    for (int rank = 1; rank < nbRanks; ++rank) {
        _servers.emplace_back([this, rank, timing] { runServer(rank, timing); });
    }
    try {
        _pDriver = std::make_unique<RankSession>(std::make_unique<LoopbackTransport>(_pHub, 0),
                                                 describeLoopbackRank(0), timing);
    } catch (...) {
        _pHub->abort("the driver has not begun");
        end();
        throw;
    }
}

LoopbackJob::~LoopbackJob() {
    end();
}

void LoopbackJob::end() {
    _pDriver.reset();
    for (std::thread& server : _servers) {
        server.join();
    }
    _servers.clear();
}

void LoopbackJob::runServer(int rank, Timing const& timing) {
    try {
        RankSession session(std::make_unique<LoopbackTransport>(_pHub, rank), describeLoopbackRank(rank),
                            timing);
        _statuses[static_cast<std::size_t>(rank - 1)] = session.serve();
    } catch (std::exception const&) {
        // The status says that it has not begun.
    }
}

UsedEngine::UsedEngine(DistributionEnginePtr const& pEngine) {
    ImageFactory::getInstance().setDistributionEngine(pEngine);
}

UsedEngine::~UsedEngine() {
    ImageFactory::getInstance().setDistributionEngine(createThreadDistributionEngine(2));
}

} // namespace velmo::test
