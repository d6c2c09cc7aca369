// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "transport/PeerWatch.h"

namespace velmo::image::mpi {

namespace {

/// More numbers than this ahead of the expected one are not those of a message.
constexpr std::uint64_t g_furthestAhead = 1U << 20U;

} // namespace

PeerWatch::PeerWatch(std::vector<int> const& peers, Timing const& timing)
    : _timing(timing), _lastTick(Clock::now()), _lastAlive(_lastTick) {
    for (int const peer : peers) {
        _peers[peer].lastHeard = _lastTick;
    }
}

bool PeerWatch::accept(int peer, std::uint64_t sequence) {
    Peer& entry = _peers[peer];
    if (sequence < entry.nextReceived || sequence - entry.nextReceived > g_furthestAhead) {
        return false;
    }
    if (entry.received.empty()) {
        entry.missingSince = Clock::now();
    }
    if (!entry.received.insert(sequence).second) {
        return false;
    }
    advance(entry);
    return true;
}

void PeerWatch::advance(Peer& peer) {
    bool bAdvanced = false;
    while (!peer.received.empty() && *peer.received.begin() == peer.nextReceived) {
        peer.received.erase(peer.received.begin());
        ++peer.nextReceived;
        bAdvanced = true;
    }
    if (bAdvanced) {
        peer.missingSince = Clock::now();
    }
}

void PeerWatch::tick() {
    auto const now = Clock::now();
    auto const passed = now - _lastTick;
    if (passed > _timing.silence / 2) { // this rank was stopped, perhaps all others with it
        for (auto& [number, peer] : _peers) {
            peer.lastHeard += passed;
            peer.missingSince += passed;
        }
    }
    _lastTick = now;
}

bool PeerWatch::takeAliveDue() {
    if (Clock::now() - _lastAlive < _timing.aliveInterval) {
        return false;
    }
    _lastAlive = Clock::now();
    return true;
}

std::vector<int> PeerWatch::getPeers() const {
    std::vector<int> peers;
    for (auto const& [number, peer] : _peers) {
        if (peer.bWatched) {
            peers.push_back(number);
        }
    }
    return peers;
}

std::optional<std::uint64_t> PeerWatch::takeLost(int peer) {
    Peer& entry = _peers[peer];
    if (entry.received.empty() || Clock::now() - entry.missingSince < _timing.loss) {
        return std::nullopt;
    }
    std::uint64_t const lost = entry.nextReceived++;
    advance(entry);
    return lost;
}

std::optional<int> PeerWatch::findSilent() const {
    auto const now = Clock::now();
    for (auto const& [number, peer] : _peers) {
        if (peer.bWatched && now - peer.lastHeard > _timing.silence) {
            return number;
        }
    }
    return std::nullopt;
}

} // namespace velmo::image::mpi
