// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "ranks/Driver.h"

#include <stdexcept>

namespace velmo::image::mpi {

// Calls of the courier

Landing Driver::findLanding(int peer, Header const& header) {
    if (header.message == eMessage::Reply) {
        std::lock_guard<std::mutex> const lock(_mutex);
        auto const found = _pending.find(header.request);
        if (found == _pending.end() || found->second->rank != peer) {
            return {};
        }
        Request const& request = *found->second->pRequest;
        if (header.outcome == eOutcome::Success && request.pAnswer != nullptr) {
            bool const bFits = header.nbPayload == request.nbAnswer;
            return {bFits ? request.pAnswer : nullptr, nullptr};
        }
    }
    auto const pText = std::make_shared<std::string>(header.nbPayload, '\0');
    return {pText->data(), pText};
}

void Driver::onMessage(int peer, Header const& header, Landing const& landing, bool bIntact) {
    std::lock_guard<std::mutex> const lock(_mutex);
    switch (header.message) {
    case eMessage::Hello:
        takeHello(peer, landing, bIntact);
        break;
    case eMessage::Reply:
        takeReply(header, landing, bIntact);
        break;
    case eMessage::Lost:
        takeLost(peer, header.arguments[0]);
        break;
    case eMessage::Stopped:
        _pCourier->stopWatching(peer);
        ++_nbStopped;
        break;
    default:
        break;
    }
    _changed.notify_all();
}

void Driver::takeHello(int peer, Landing const& landing, bool bIntact) {
    auto const index = static_cast<std::size_t>(peer);
    if (!bIntact || _bHello[index]) {
        return; // no hello at all, in the end
    }
    auto const& text = *std::static_pointer_cast<std::string>(landing.pKeptAlive);
    if (!decodeDescription(text, _ranks[index])) {
        _ranks[index].protocol = 0;
    }
    _bHello[index] = true;
    ++_nbHellos;
}

void Driver::takeReply(Header const& header, Landing const& landing, bool bIntact) {
    auto const found = _pending.find(header.request);
    if (found == _pending.end()) {
        return;
    }
    Pending& pending = *found->second;
    pending.reply = header;
    if (!bIntact) {
        pending.failure = "The reply to a request was damaged on its way";
    } else if (landing.pKeptAlive) {
        pending.payload = std::move(*std::static_pointer_cast<std::string>(landing.pKeptAlive));
    }
    pending.bAnswered = true;
    pending.answered.notify_one();
    _pending.erase(found);
}

void Driver::takeLost(int peer, std::uint64_t sequence) {
    for (auto place = _pending.begin(); place != _pending.end(); ++place) {
        Pending& pending = *place->second;
        if (pending.rank == peer && pending.sequence == sequence + 1) {
            pending.failure = "A request was lost on its way";
            pending.bAnswered = true;
            pending.answered.notify_one();
            _pending.erase(place);
            return;
        }
    }
    if (_bEnded) { // it may have been the end of the session
        tell(peer, eMessage::Stop, {});
    }
}

void Driver::onLeaving(int /*peer*/, Header const& header) {
    if (header.request == 0) {
        return;
    }
    std::lock_guard<std::mutex> const lock(_mutex);
    auto const found = _pending.find(header.request);
    if (found != _pending.end()) {
        found->second->sequence = header.sequence + 1; // 0 for a request that has not left
    }
}

void Driver::onLost(int peer, std::uint64_t /*sequence*/) {
    throw std::runtime_error("Messages of " + describe(peer) + " were lost"); // ends the courier
}

std::string Driver::describe(int peer) const {
    return nameRank(peer, _ranks[static_cast<std::size_t>(peer)]);
}

void Driver::onBroken(std::string const& reason) {
    std::lock_guard<std::mutex> const lock(_mutex);
    _broken = reason;
    for (auto const& [number, pPending] : _pending) {
        pPending->bAnswered = true;
        pPending->answered.notify_one();
    }
    _pending.clear();
    _changed.notify_all();
}

} // namespace velmo::image::mpi
