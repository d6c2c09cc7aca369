// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "session/RankSession.h"
#include "transport/LoopbackTransport.h"

#include <VELMOImage/ImageFactory.h>
#include <string>
#include <thread>
#include <vector>

namespace velmo::test {

/// Times that no machine under load exceeds.
image::mpi::Timing getPatientTiming();
/// Times after which a lost message or a dead rank is noticed soon.
image::mpi::Timing getHastyTiming();

/// What rank `rank` of a LoopbackJob says about itself: host "host1", folder "/folder1".
image::mpi::RankDescription describeLoopbackRank(int rank);

/// A job whose ranks are threads of this process. Rank 0 is the thread of the test.
class LoopbackJob {
  public:
    explicit LoopbackJob(int nbRanks, image::mpi::Timing const& timing = getPatientTiming(),
                         image::mpi::LoopbackFault fault = {});
    /// Ends the job.
    ~LoopbackJob();
    LoopbackJob(LoopbackJob const&) = delete;
    LoopbackJob& operator=(LoopbackJob const&) = delete;

    image::DistributionEnginePtr getEngine() const { return _pDriver->getEngine(); }
    image::mpi::LoopbackHub& getHub() { return *_pHub; }
    /// Ends the session and waits for all ranks.
    void end();
    /// Exit status of each server, in the order of ranks; -1 for one that was refused. After `end`.
    std::vector<int> const& getStatuses() const { return _statuses; }

  private:
    void runServer(int rank, image::mpi::Timing const& timing);

    std::shared_ptr<image::mpi::LoopbackHub> _pHub;
    std::vector<int> _statuses;
    std::vector<std::thread> _servers;
    std::unique_ptr<image::mpi::RankSession> _pDriver;
};

/// Sets the engine of new distributed images as long as this object exists.
class UsedEngine {
  public:
    explicit UsedEngine(image::DistributionEnginePtr const& pEngine);
    ~UsedEngine();
    UsedEngine(UsedEngine const&) = delete;
    UsedEngine& operator=(UsedEngine const&) = delete;
};

} // namespace velmo::test
