// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "ranks/Driver.h"

#include "wire/Failure.h"

#include <VELMOUtil/BaseException.h>
#include <VELMOUtil/GuardedRaise.h>
#include <algorithm>
#include <numeric>

namespace velmo::image::mpi {

namespace {

std::vector<int> getServers(int nbRanks) {
    std::vector<int> servers(static_cast<std::size_t>(nbRanks - 1));
    std::iota(servers.begin(), servers.end(), 1);
    return servers;
}

[[noreturn]] void raiseText(std::string const& text, RaiseSite const& site) {
    throw BaseException(text, site.function, site.file, site.line);
}

} // namespace

Driver::Driver(std::unique_ptr<Transport> pTransport, RankDescription const& self, Timing const& timing)
    : _pTransport(std::move(pTransport)), _timing(timing),
      _ranks(static_cast<std::size_t>(_pTransport->getNbRanks())), _bHello(_ranks.size(), false) {
    _ranks[0] = self;
    if (getNbRanks() == 1) {
        return;
    }
    _pCourier = std::make_unique<Courier>(*_pTransport, *this, getServers(getNbRanks()), timing);
    _pCourier->start();
    try {
        awaitHellos();
    } catch (...) {
        _pCourier->stop(); // before the members that its thread uses
        throw;
    }
}

Driver::~Driver() {
    end();
}

void Driver::awaitHellos() {
    std::unique_lock<std::mutex> lock(_mutex);
    bool const bAll = _changed.wait_for(lock, _timing.start,
                                        [this] { return !_broken.empty() || _nbHellos == getNbRanks(); });
    if (!_broken.empty()) {
        raiseBroken();
    }
    if (!bAll) {
        auto const first = std::find(_bHello.begin() + 1, _bHello.end(), false) - _bHello.begin();
        _pCourier->breakSession("rank " + std::to_string(first) + " has not begun the session");
        _changed.wait(lock, [this] { return !_broken.empty(); });
        raiseBroken();
    }
    BoolResult const fit = requireSameKind(_ranks);
    lock.unlock();
    settle(fit);
}

void Driver::settle(BoolResult const& fit) {
    if (fit) {
        tellAll(eMessage::Welcome);
        return;
    }
    tellAll(eMessage::Refused, fit.getMessage());
    raiseText(fit.getMessage(), VELMO_HERE);
}

void Driver::tellAll(eMessage message, std::string const& text) {
    for (int rank = 1; rank < getNbRanks(); ++rank) {
        tell(rank, message, text);
    }
}

void Driver::tell(int rank, eMessage message, std::string const& text) {
    Parcel parcel;
    parcel.peer = rank;
    parcel.header.message = message;
    auto const pText = std::make_shared<std::string const>(text);
    parcel.header.nbPayload = text.size();
    parcel.pPayload = pText->data();
    parcel.pKeptAlive = pText;
    _pCourier->send(std::move(parcel));
}

void Driver::end() {
    {
        std::unique_lock<std::mutex> lock(_mutex);
        if (_bEnded) {
            return;
        }
        _bEnded = true;
        _changed.wait(lock, [this] { return _pending.empty(); });
    }
    if (_pCourier) {
        tellAll(eMessage::Stop);
        std::unique_lock<std::mutex> lock(_mutex);
        _changed.wait(lock, [this] { return !_broken.empty() || _nbStopped == getNbRanks(); });
        lock.unlock();
        _pCourier->stop();
    }
    _pCourier.reset();
    _pTransport.reset(); // images may own the driver longer than MPI exists
}

BoolResult Driver::ask(int rank, Request const& request) {
    Answer answer;
    return ask(rank, request, answer);
}

BoolResult Driver::ask(int rank, Request const& request, Answer& answer) {
    if (request.header.nbPayload > g_largestPayload) {
        return failure("A request of " + std::to_string(request.header.nbPayload) +
                       " bytes is too large to be sent" + namePlace(rank, getRank(rank)));
    }
    Pending pending;
    pending.rank = rank;
    pending.pRequest = &request;
    Parcel parcel;
    parcel.peer = rank;
    parcel.header = request.header;
    parcel.pPayload = request.pPayload;
    std::unique_lock<std::mutex> lock(_mutex);
    if (!_broken.empty()) {
        raiseBroken();
    }
    if (_bEnded) {
        return failure("The session of the ranks has ended");
    }
    parcel.header.request = _nextRequest++;
    _pending.emplace(parcel.header.request, &pending);
    _pCourier->send(parcel);
    return await(lock, pending, answer);
}

BoolResult Driver::await(std::unique_lock<std::mutex>& lock, Pending& pending, Answer& answer) {
    pending.answered.wait(lock, [&] { return pending.bAnswered; });
    if (!_broken.empty()) {
        raiseBroken();
    }
    lock.unlock();
    std::string const place = namePlace(pending.rank, getRank(pending.rank));
    if (!pending.failure.empty()) {
        return failure(pending.failure + place);
    }
    BoolResult result = takeOutcome(pending.reply.outcome, pending.payload, place);
    if (result && pending.pRequest->pAnswer != nullptr &&
        pending.reply.nbPayload != pending.pRequest->nbAnswer) {
        return failure("The reply to a request has " + std::to_string(pending.reply.nbPayload) +
                       " bytes, not " + std::to_string(pending.pRequest->nbAnswer) + place);
    }
    answer.arguments = pending.reply.arguments;
    answer.payload = std::move(pending.payload);
    return result;
}

void Driver::raiseBroken() const {
    raiseText(_broken, VELMO_HERE);
}

} // namespace velmo::image::mpi
