// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "wire/Header.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace velmo::image::mpi {

/// A header that has arrived.
struct Arrival {
    int peer = 0;
    HeaderBytes header = {};
};

/// Number of a transfer in progress.
using TransferId = std::uint64_t;

/// Moves messages between ranks: a header and, behind it, a payload that goes directly into the memory that
/// the receiver chooses. No call waits for another rank. All calls come from one thread, except `getRank` and
/// `getNbRanks`.
class Transport {
  public:
    Transport() = default;
    virtual ~Transport() = default;
    Transport(Transport const&) = delete;
    Transport& operator=(Transport const&) = delete;

    virtual int getRank() const = 0;
    virtual int getNbRanks() const = 0;
    /// Whether payloads may arrive damaged, so that they need a checksum.
    virtual bool damagesPayloads() const = 0;

    /// Starts to send. The payload must not change until the transfer is done.
    virtual TransferId startSend(int peer, Header const& header, void const* payload) = 0;
    /// The next header that has arrived; false if there is none.
    virtual bool receiveHeader(Arrival& arrival) = 0;
    /// Starts to receive the payload of a header. Fewer bytes may arrive if the payload was damaged.
    virtual TransferId startReceive(int peer, Header const& header, void* buffer) = 0;
    /// Gives up the payload of a header, if it has one.
    virtual void discardPayload(int peer, Header const& header) = 0;
    /// Whether a transfer has ended; its number is invalid afterwards.
    virtual bool isDone(TransferId transfer) = 0;

    /// Ends all ranks after an error. In a job of processes it does not return.
    virtual void abort(std::string const& reason) = 0;
    /// Whether a rank has called `abort`.
    virtual bool isAborted() const = 0;
};

} // namespace velmo::image::mpi
