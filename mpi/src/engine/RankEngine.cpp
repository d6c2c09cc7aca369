// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "engine/RankEngine.h"

#include <VELMOBase/AvailableMemory.h>
#include <VELMOImage/VELMOImageLog.h>
#include <VELMOUtil/Failures.h>
#include <algorithm>
#include <map>

namespace velmo::image::mpi {

namespace {

/// Smaller images fit everywhere.
constexpr vlUInt64 g_checkedFrom = vlUInt64{16} << 20;

/// The machine of some ranks.
struct Machine {
    int firstRank = 0;
    vlUInt64 nbRanks = 0;
};

std::map<std::string, Machine> findMachines(Driver const& driver) {
    std::map<std::string, Machine> machines;
    for (int rank = 0; rank < driver.getNbRanks(); ++rank) {
        Machine& machine = machines[driver.getRank(rank).machine];
        machine.firstRank = machine.nbRanks == 0 ? rank : machine.firstRank;
        ++machine.nbRanks;
    }
    return machines;
}

/// `nbBytes` * `part` / `whole`, rounded up, without overflow.
vlUInt64 share(vlUInt64 nbBytes, vlUInt64 part, vlUInt64 whole) {
    return nbBytes / whole * part + (nbBytes % whole * part + whole - 1) / whole;
}

} // namespace

RankEngine::RankEngine(std::shared_ptr<Driver> pDriver)
    : _pDriver(std::move(pDriver)), _pLocalEngine(createThreadDistributionEngine(1)) {
    for (int rank = 1; rank < _pDriver->getNbRanks(); ++rank) {
        _remoteOwners.push_back(std::make_unique<RemoteOwner>(_pDriver, rank));
    }
}

BaseBlockOwner& RankEngine::getOwner(vlUInt64 index) {
    return index == 0 ? _pLocalEngine->getOwner(0) : *_remoteOwners.at(index - 1);
}

BoolResult RankEngine::requireRoom(vlUInt64 nbBytes) const {
    if (nbBytes < g_checkedFrom) {
        return success();
    }
    for (auto const& [name, machine] : findMachines(*_pDriver)) {
        vlUInt64 nbAvailable = 0;
        BoolResult result = getRoom(machine.firstRank, nbAvailable);
        if (!result) {
            return result;
        }
        vlUInt64 const nbNeeded = share(nbBytes, machine.nbRanks, getNbOwners());
        if (nbNeeded > nbAvailable) {
            BoolResult const small =
                failMessage(g_velmoImageRaise, eImageMessage::eIM_MemoryTooSmall, nbNeeded, nbAvailable);
            return machine.firstRank == 0
                       ? small
                       : failure(small.getMessage() +
                                     namePlace(machine.firstRank, _pDriver->getRank(machine.firstRank)),
                                 small.getMessageIds());
        }
    }
    return success();
}

BoolResult RankEngine::getRoom(int rank, vlUInt64& nbBytes) const {
    if (rank == 0) {
        nbBytes = getAvailableMemory();
        return success();
    }
    Request request;
    request.header.message = eMessage::GetRoom;
    Answer answer;
    BoolResult result = _pDriver->ask(rank, request, answer);
    nbBytes = answer.arguments[0];
    return result;
}

} // namespace velmo::image::mpi
