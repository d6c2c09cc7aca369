// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "transport/Transport.h"

#include <functional>
#include <map>
#include <memory>

namespace velmo::image::mpi {

/// Called before the job is ended: removes what the process would leave behind.
using BeforeAbort = std::function<void(std::string const& reason)>;

/// Messages over a communicator of MPI, which is a copy of MPI_COMM_WORLD. MPI must be initialised before,
/// and finalised after this object, by one thread at a time.
class MpiTransport : public Transport {
  public:
    explicit MpiTransport(BeforeAbort beforeAbort);
    ~MpiTransport() override;

    int getRank() const override { return _rank; }
    int getNbRanks() const override { return _nbRanks; }
    bool damagesPayloads() const override { return false; }
    TransferId startSend(int peer, Header const& header, void const* payload) override;
    bool receiveHeader(Arrival& arrival) override;
    TransferId startReceive(int peer, Header const& header, void* buffer) override;
    /// The payload of a message with a valid header is received and given up.
    void discardPayload(int peer, Header const& header) override;
    bool isDone(TransferId transfer) override;
    [[noreturn]] void abort(std::string const& reason) override;
    bool isAborted() const override { return false; }

  private:
    struct Calls;
    struct Transfer;

    void check(int status) const;
    TransferId add(std::unique_ptr<Transfer> pTransfer);
    void forgetDiscarded();

    BeforeAbort _beforeAbort;
    std::unique_ptr<Calls> _pCalls;
    int _rank = 0;
    int _nbRanks = 1;
    TransferId _nextTransfer = 1;
    std::map<TransferId, std::unique_ptr<Transfer>> _transfers;
    std::map<TransferId, std::unique_ptr<Transfer>> _discarded;
};

} // namespace velmo::image::mpi
