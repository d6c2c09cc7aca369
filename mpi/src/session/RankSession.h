// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "ranks/Driver.h"
#include "ranks/Server.h"

#include <VELMOImage/DistributionEngine.h>

namespace velmo::image::mpi {

/// One rank of a session over any transport.
class RankSession {
  public:
    /// Returns when all ranks have accepted each other. Throws BaseException otherwise.
    RankSession(std::unique_ptr<Transport> pTransport, RankDescription const& self, Timing const& timing);
    /// At the driver: ends the servers.
    ~RankSession();
    RankSession(RankSession const&) = delete;
    RankSession& operator=(RankSession const&) = delete;

    bool isDriver() const { return _pDriver != nullptr; }
    /// The engine of the driver; null at a server.
    DistributionEnginePtr getEngine() const { return _pEngine; }
    /// At a server: answers requests until the session ends. Returns the exit status. At the driver: 0 at
    /// once.
    int serve();

  private:
    std::shared_ptr<Driver> _pDriver;
    DistributionEnginePtr _pEngine;
    std::unique_ptr<Server> _pServer;
};

} // namespace velmo::image::mpi
