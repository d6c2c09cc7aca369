// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "transport/PeerWatch.h"
#include "transport/Transport.h"

#include <condition_variable>
#include <deque>
#include <list>
#include <memory>
#include <mutex>
#include <thread>

namespace velmo::image::mpi {

/// A message to send. Sequence number, size and checksum of the payload are set by the courier.
struct Parcel {
    int peer = 0;
    Header header;
    void const* pPayload = nullptr;         ///< `header.nbPayload` bytes
    std::shared_ptr<void const> pKeptAlive; ///< until the message is sent
};

/// Memory for a payload that arrives; null for one that is given up.
struct Landing {
    void* pBytes = nullptr;
    std::shared_ptr<void> pKeptAlive;
};

/// What a rank does with its messages. All calls come from the thread of the courier and must not wait.
class CourierClient {
  public:
    CourierClient() = default;
    virtual ~CourierClient() = default;
    CourierClient(CourierClient const&) = delete;
    CourierClient& operator=(CourierClient const&) = delete;

    /// Memory for the `header.nbPayload` bytes, at least 1, behind a header.
    virtual Landing findLanding(int peer, Header const& header) = 0;
    /// A message has arrived. `bIntact` is false if its payload was damaged or given up.
    virtual void onMessage(int peer, Header const& header, Landing const& landing, bool bIntact) = 0;
    /// A message gets its sequence number and leaves.
    virtual void onLeaving(int /*peer*/, Header const& /*header*/) {}
    /// The message of that number was lost.
    virtual void onLost(int peer, std::uint64_t sequence) = 0;
    /// Names a rank in a message.
    virtual std::string describe(int peer) const = 0;
    /// The session cannot go on, and the ranks were aborted. No call follows.
    virtual void onBroken(std::string const& reason) = 0;
};

/// The thread that sends and receives all messages of a rank.
///
/// It polls: at first without a pause, and with pauses that grow when nothing happens, so that an idle rank
/// needs almost no processor time. It sends a sign of life to the watched ranks at intervals, and ends the
/// job if one of them is silent for too long.
class Courier {
  public:
    /// `watched` are the ranks with which this one exchanges messages. The client and the transport must
    /// outlive the courier.
    Courier(Transport& transport, CourierClient& client, std::vector<int> const& watched,
            Timing const& timing);
    /// Same as `stop`.
    ~Courier();
    Courier(Courier const&) = delete;
    Courier& operator=(Courier const&) = delete;

    /// Starts the thread. From now on the client is called.
    void start();
    /// Waits until everything is sent, then ends the thread. The client is not called afterwards.
    void stop();

    /// Sends a message. Thread-safe; does not wait. Ignored after the session has broken. Without memory the
    /// session breaks.
    void send(Parcel parcel) noexcept;
    /// Ends the job for a reason that the owner has found. Thread-safe; does not wait.
    void breakSession(std::string const& reason);
    /// From now on silence of the rank is not an error. Only for calls from the client.
    void stopWatching(int peer) { _watch.forget(peer); }

  private:
    struct Sending {
        TransferId transfer;
        Parcel parcel;
    };
    struct Receiving {
        TransferId transfer;
        int peer;
        Header header;
        Landing landing;
    };

    void run();
    bool runOnce(std::string& reason);
    bool isAtEnd();
    void breakOff(std::string const& reason);
    void post(Parcel parcel);
    bool sendPosted();
    bool endSends();
    bool receiveHeaders();
    void take(Arrival const& arrival);
    bool endReceives();
    void keepAlive();
    void pause(Clock::duration idle);

    Transport& _transport;
    CourierClient& _client;
    Timing const _timing;
    PeerWatch _watch;
    std::list<Sending> _sends;
    std::list<Receiving> _receives;
    std::mutex _mutex;
    std::condition_variable _posted;
    std::deque<Parcel> _outbox;
    bool _bEnding = false;
    bool _bBroken = false;
    bool _bWithoutMemory = false;
    std::string _failure; ///< why the owner ends the job
    std::thread _thread;
};

} // namespace velmo::image::mpi
