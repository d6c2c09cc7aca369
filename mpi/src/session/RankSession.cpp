// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "session/RankSession.h"

#include "engine/RankEngine.h"

#include <boost/make_shared.hpp>

namespace velmo::image::mpi {

RankSession::RankSession(std::unique_ptr<Transport> pTransport, RankDescription const& self,
                         Timing const& timing) {
    if (pTransport->getRank() == 0) {
        _pDriver = std::make_shared<Driver>(std::move(pTransport), self, timing);
        _pEngine = boost::make_shared<RankEngine>(_pDriver);
    } else {
        _pServer = std::make_unique<Server>(std::move(pTransport), self, timing);
    }
}

RankSession::~RankSession() {
    if (_pDriver) {
        _pDriver->end(); // images may still own the driver
    }
}

int RankSession::serve() {
    return _pServer ? _pServer->serve() : 0;
}

} // namespace velmo::image::mpi
