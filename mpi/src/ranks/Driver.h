// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "ranks/RankDescription.h"
#include "transport/Courier.h"

#include <map>
#include <vector>

namespace velmo::image::mpi {

/// What a server answers to a request that succeeded.
struct Answer {
    std::array<std::uint64_t, g_nbArguments> arguments = {};
    std::string payload; ///< unless the payload went into the memory of the request
};

/// A request to a server.
struct Request {
    Header header;                  ///< message, arguments and size of the payload
    void const* pPayload = nullptr; ///< must exist until the answer
    void* pAnswer = nullptr;        ///< memory for the payload of the answer, if it is given
    std::uint64_t nbAnswer = 0;     ///< bytes that the answer then must have
};

/// The rank that sends requests to all other ranks. Thread-safe after its construction.
class Driver : public CourierClient {
  public:
    /// Waits for all ranks and checks that they fit together. Throws BaseException if they do not, or if one
    /// of them does not begin.
    Driver(std::unique_ptr<Transport> pTransport, RankDescription const& self, Timing const& timing);
    /// Same as `end`.
    ~Driver() override;

    /// Ends the servers and waits for them, after the requests that are in progress. Later requests fail.
    void end();

    int getNbRanks() const { return static_cast<int>(_ranks.size()); }
    RankDescription const& getRank(int rank) const { return _ranks[static_cast<std::size_t>(rank)]; }

    /// Sends a request and waits for the answer. Returns the failure of the server, or throws its exception,
    /// with the rank at the end of the text. Throws BaseException if a rank has died.
    BoolResult ask(int rank, Request const& request, Answer& answer);
    /// Same, for requests whose answer has nothing in it.
    BoolResult ask(int rank, Request const& request);

  private:
    struct Pending {
        int rank = 0;
        Request const* pRequest = nullptr;
        std::uint64_t sequence = 0;
        bool bAnswered = false;
        Header reply;
        std::string payload;
        std::string failure; ///< of the transport
        std::condition_variable answered;
    };

    Landing findLanding(int peer, Header const& header) override;
    void onMessage(int peer, Header const& header, Landing const& landing, bool bIntact) override;
    void onLeaving(int peer, Header const& header) override;
    void onLost(int peer, std::uint64_t sequence) override;
    std::string describe(int peer) const override;
    void onBroken(std::string const& reason) override;

    void awaitHellos();
    void settle(BoolResult const& fit);
    void tellAll(eMessage message, std::string const& text = {});
    void tell(int rank, eMessage message, std::string const& text);
    void takeHello(int peer, Landing const& landing, bool bIntact);
    void takeReply(Header const& header, Landing const& landing, bool bIntact);
    void takeLost(int peer, std::uint64_t sequence);
    BoolResult await(std::unique_lock<std::mutex>& lock, Pending& pending, Answer& answer);
    [[noreturn]] void raiseBroken() const;

    std::unique_ptr<Transport> _pTransport;
    Timing const _timing;
    mutable std::mutex _mutex;
    std::condition_variable _changed;
    std::vector<RankDescription> _ranks;
    std::vector<bool> _bHello;
    int _nbHellos = 1;
    int _nbStopped = 1;
    std::uint64_t _nextRequest = 1;
    std::map<std::uint64_t, Pending*> _pending;
    bool _bEnded = false;
    std::string _broken; ///< why the session has broken
    std::unique_ptr<Courier> _pCourier;
};

} // namespace velmo::image::mpi
