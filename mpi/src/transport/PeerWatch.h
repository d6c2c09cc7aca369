// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <chrono>
#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

namespace velmo::image::mpi {

using Clock = std::chrono::steady_clock;

/// Times of a session.
struct Timing {
    std::chrono::milliseconds aliveInterval{1000}; ///< between two signs of life
    std::chrono::milliseconds silence{6000};       ///< a rank that sends nothing for so long counts as dead
    std::chrono::milliseconds loss{2000};          ///< a message that is so late counts as lost
    std::chrono::milliseconds start{20000};        ///< until all ranks must have begun
    std::chrono::microseconds longestPause{4000};  ///< between two polls of an idle rank
};

/// Sequence numbers and times of the messages of some ranks. Used by one thread.
class PeerWatch {
  public:
    PeerWatch(std::vector<int> const& peers, Timing const& timing);

    std::uint64_t takeSequence(int peer) { return _peers[peer].nextSent++; }
    /// Notes a message. False for one that was received before or was reported as lost.
    bool accept(int peer, std::uint64_t sequence);
    /// Some message of the rank has arrived, whatever it is.
    void hear(int peer) { _peers[peer].lastHeard = Clock::now(); }
    bool knows(int peer) const { return _peers.count(peer) != 0; }
    void forget(int peer) { _peers[peer].bWatched = false; }

    /// Call it regularly: time in which this rank itself did not run is not counted.
    void tick();
    /// Whether signs of life are due. They count as sent.
    bool takeAliveDue();
    std::vector<int> getPeers() const;
    /// A message that is missing for too long; it counts as reported.
    std::optional<std::uint64_t> takeLost(int peer);
    /// A rank that is silent for too long.
    std::optional<int> findSilent() const;

  private:
    struct Peer {
        std::uint64_t nextSent = 0;
        std::uint64_t nextReceived = 0;   ///< all lower ones have arrived or were given up
        std::set<std::uint64_t> received; ///< above `nextReceived`
        Clock::time_point missingSince;
        Clock::time_point lastHeard;
        bool bWatched = true;
    };

    void advance(Peer& peer);

    Timing const _timing;
    std::map<int, Peer> _peers;
    Clock::time_point _lastTick;
    Clock::time_point _lastAlive;
};

} // namespace velmo::image::mpi
