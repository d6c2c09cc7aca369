// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "blocks/BlockStore.h"
#include "ranks/RankDescription.h"
#include "transport/Courier.h"

#include <deque>

namespace velmo::image::mpi {

/// A rank that holds blocks and answers the requests of the driver.
///
/// The courier's thread answers reads and writes of bytes; the thread of `serve` does the rest, one request
/// after the other.
class Server : public CourierClient {
  public:
    /// Waits until the driver has accepted this rank. Throws BaseException if it refuses it or does not
    /// answer.
    Server(std::unique_ptr<Transport> pTransport, RankDescription const& self, Timing const& timing);
    ~Server() override;

    /// Answers requests until the driver ends the session. Returns the exit status of the process: 0, or 1 if
    /// the session has broken.
    int serve();

  private:
    struct Task {
        Header header;
        std::string payload;
    };

    Landing findLanding(int peer, Header const& header) override;
    void onMessage(int peer, Header const& header, Landing const& landing, bool bIntact) override;
    void onLost(int peer, std::uint64_t sequence) override;
    std::string describe(int peer) const override;
    void onBroken(std::string const& reason) override;

    void sayHello(RankDescription const& self);
    void awaitWelcome();
    void takeState(Header const& header, Landing const& landing);
    void takeRequest(Header const& header, Landing const& landing, bool bIntact);
    bool awaitTask(Task& task);
    void execute(Task const& task);
    void sendBytes(Header const& header);
    void reply(Header const& request, std::function<BoolResult(Parcel&)> const& work);

    std::unique_ptr<Transport> _pTransport;
    Timing const _timing;
    BlockStore _store;
    std::mutex _mutex;
    std::condition_variable _changed;
    std::deque<Task> _tasks;
    bool _bWelcome = false;
    bool _bStopped = false;
    bool _bBroken = false;
    std::string _reason; ///< of a refusal or a break
    std::unique_ptr<Courier> _pCourier;
};

} // namespace velmo::image::mpi
