// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "transport/LoopbackTransport.h"

#include <algorithm>
#include <cstring>

namespace velmo::image::mpi {

void LoopbackHub::setFault(LoopbackFault fault) {
    std::lock_guard<std::mutex> const lock(_mutex);
    _fault = std::move(fault);
}

void LoopbackHub::kill(int rank) {
    std::lock_guard<std::mutex> const lock(_mutex);
    _killed.push_back(rank);
}

void LoopbackHub::abort(std::string const& reason) {
    std::lock_guard<std::mutex> const lock(_mutex);
    if (!_abortReason) {
        _abortReason = reason;
    }
}

std::optional<std::string> LoopbackHub::getAbortReason() const {
    std::lock_guard<std::mutex> const lock(_mutex);
    return _abortReason;
}

void LoopbackHub::send(int from, int to, LoopbackMessage message) {
    std::lock_guard<std::mutex> const lock(_mutex);
    auto const isKilled = [this](int rank) {
        return std::find(_killed.begin(), _killed.end(), rank) != _killed.end();
    };
    bool const bLost = isKilled(from) || isKilled(to) || (_fault && !_fault(from, to, message));
    if (!bLost) {
        _queues[static_cast<std::size_t>(to)].push_back({from, std::move(message)});
    }
}

bool LoopbackHub::receive(int to, int& from, LoopbackMessage& message) {
    std::lock_guard<std::mutex> const lock(_mutex);
    auto& queue = _queues[static_cast<std::size_t>(to)];
    if (queue.empty() || std::find(_killed.begin(), _killed.end(), to) != _killed.end()) {
        return false;
    }
    auto const now = std::chrono::steady_clock::now();
    auto const found = std::find_if(queue.begin(), queue.end(),
                                    [&](Queued const& queued) { return queued.message.arrival <= now; });
    if (found == queue.end()) {
        return false;
    }
    from = found->from;
    message = std::move(found->message);
    queue.erase(found);
    return true;
}

TransferId LoopbackTransport::startSend(int peer, Header const& header, void const* payload) {
    LoopbackMessage message;
    message.header = encodeHeader(header);
    if (header.nbPayload != 0) {
        message.payload.assign(static_cast<char const*>(payload), header.nbPayload);
    }
    message.arrival = {};
    _pHub->send(_rank, peer, std::move(message));
    return 0;
}

bool LoopbackTransport::receiveHeader(Arrival& arrival) {
    LoopbackMessage message;
    if (!_pHub->receive(_rank, arrival.peer, message)) {
        return false;
    }
    arrival.header = message.header;
    _payload = std::move(message.payload);
    return true;
}

TransferId LoopbackTransport::startReceive(int /*peer*/, Header const& header, void* buffer) {
    std::size_t const nbBytes = std::min<std::size_t>(_payload.size(), header.nbPayload);
    if (nbBytes != 0) {
        std::memcpy(buffer, _payload.data(), nbBytes);
    }
    _payload.clear();
    return 0;
}

void LoopbackTransport::discardPayload(int /*peer*/, Header const& /*header*/) {
    _payload.clear();
}

} // namespace velmo::image::mpi
