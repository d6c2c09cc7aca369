// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "transport/Transport.h"

#include <chrono>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <vector>

namespace velmo::image::mpi {

/// A message between ranks of one process.
struct LoopbackMessage {
    HeaderBytes header = {};
    std::string payload;
    std::chrono::steady_clock::time_point arrival; ///< not received before
};

/// What happens to a message on its way; changes it. False drops it. Called under a lock, one call at a time.
using LoopbackFault = std::function<bool(int from, int to, LoopbackMessage& message)>;

/// Connects ranks that are threads of one process. All members are thread-safe.
class LoopbackHub {
  public:
    explicit LoopbackHub(int nbRanks) : _queues(static_cast<std::size_t>(nbRanks)) {}

    int getNbRanks() const { return static_cast<int>(_queues.size()); }
    /// Applied to messages from now on.
    void setFault(LoopbackFault fault);
    /// From now on nothing that the rank sends arrives, and it receives nothing, as if it had been killed.
    void kill(int rank);
    void abort(std::string const& reason);
    std::optional<std::string> getAbortReason() const;

    void send(int from, int to, LoopbackMessage message);
    /// Takes the oldest message to a rank whose time has come.
    bool receive(int to, int& from, LoopbackMessage& message);

  private:
    struct Queued {
        int from;
        LoopbackMessage message;
    };

    mutable std::mutex _mutex;
    std::vector<std::deque<Queued>> _queues; ///< by receiver
    std::vector<int> _killed;
    LoopbackFault _fault;
    std::optional<std::string> _abortReason;
};

/// One rank of a LoopbackHub.
class LoopbackTransport : public Transport {
  public:
    LoopbackTransport(std::shared_ptr<LoopbackHub> pHub, int rank) : _pHub(std::move(pHub)), _rank(rank) {}

    int getRank() const override { return _rank; }
    int getNbRanks() const override { return _pHub->getNbRanks(); }
    bool damagesPayloads() const override { return true; }
    TransferId startSend(int peer, Header const& header, void const* payload) override;
    bool receiveHeader(Arrival& arrival) override;
    TransferId startReceive(int peer, Header const& header, void* buffer) override;
    void discardPayload(int peer, Header const& header) override;
    bool isDone(TransferId /*transfer*/) override { return true; }
    void abort(std::string const& reason) override { _pHub->abort(reason); }
    bool isAborted() const override { return _pHub->getAbortReason().has_value(); }

  private:
    std::shared_ptr<LoopbackHub> _pHub;
    int _rank;
    std::string _payload; ///< of the last header, until it is received
};

} // namespace velmo::image::mpi
