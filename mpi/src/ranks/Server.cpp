// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "ranks/Server.h"

#include "wire/Failure.h"

#include <VELMOUtil/BaseException.h>
#include <VELMOUtil/GuardedRaise.h>
#include <new>

namespace velmo::image::mpi {

namespace {

constexpr int g_driver = 0;

void setPayload(Parcel& parcel, std::string payload) {
    auto const pPayload = std::make_shared<std::string const>(std::move(payload));
    parcel.header.nbPayload = pPayload->size();
    parcel.pPayload = pPayload->data();
    parcel.pKeptAlive = pPayload;
}

bool isRequest(eMessage message) {
    return message >= eMessage::AddBlock;
}

bool isAnsweredAtOnce(eMessage message) {
    return message == eMessage::ReadBlock || message == eMessage::WriteBlock;
}

} // namespace

Server::Server(std::unique_ptr<Transport> pTransport, RankDescription const& self, Timing const& timing)
    : _pTransport(std::move(pTransport)), _timing(timing) {
    _pCourier = std::make_unique<Courier>(*_pTransport, *this, std::vector<int>{g_driver}, timing);
    _pCourier->start();
    try {
        sayHello(self);
        awaitWelcome();
    } catch (...) {
        _pCourier->stop(); // before the members that its thread uses
        throw;
    }
}

Server::~Server() {
    _pCourier->stop();
}

void Server::sayHello(RankDescription const& self) {
    Parcel parcel;
    parcel.header.message = eMessage::Hello;
    setPayload(parcel, encodeDescription(self));
    _pCourier->send(std::move(parcel));
}

void Server::awaitWelcome() {
    std::unique_lock<std::mutex> lock(_mutex);
    _changed.wait_for(lock, _timing.start,
                      [this] { return _bWelcome || _bStopped || _bBroken || !_reason.empty(); });
    if (_bWelcome) {
        return;
    }
    if (_reason.empty()) {
        _pCourier->breakSession("rank 0 has not begun the session");
        _changed.wait(lock, [this] { return _bBroken; });
    }
    auto const site = VELMO_HERE;
    throw BaseException(_reason, site.function, site.file, site.line);
}

int Server::serve() {
    Task task;
    while (awaitTask(task)) {
        execute(task);
    }
    {
        std::lock_guard<std::mutex> const lock(_mutex);
        if (_bBroken) {
            return 1;
        }
    }
    Parcel parcel;
    parcel.header.message = eMessage::Stopped;
    _pCourier->send(std::move(parcel));
    _pCourier->stop();
    return 0;
}

bool Server::awaitTask(Task& task) {
    std::unique_lock<std::mutex> lock(_mutex);
    _changed.wait(lock, [this] { return _bBroken || _bStopped || !_tasks.empty(); });
    if (_bBroken || _tasks.empty()) {
        return false;
    }
    task = std::move(_tasks.front());
    _tasks.pop_front();
    return true;
}

void Server::execute(Task const& task) {
    reply(task.header, [&](Parcel& parcel) {
        std::string payload;
        BoolResult result = _store.execute(task.header, task.payload, parcel.header.arguments, payload);
        setPayload(parcel, std::move(payload));
        return result;
    });
}

/// Answers a request with the result of work, which may add arguments and a payload.
void Server::reply(Header const& request, std::function<BoolResult(Parcel&)> const& work) {
    Parcel parcel;
    parcel.peer = g_driver;
    parcel.header.message = eMessage::Reply;
    parcel.header.request = request.request;
    try {
        SentOutcome outcome = runForReply([&] { return work(parcel); });
        if (outcome.outcome != eOutcome::Success) {
            parcel.header.outcome = outcome.outcome;
            setPayload(parcel, std::move(outcome.payload));
        }
    } catch (std::exception const&) { // no memory for the text of the failure
        parcel.header.outcome = eOutcome::Failure;
        parcel.header.nbPayload = 0;
    }
    _pCourier->send(std::move(parcel));
}

// Calls of the courier

Landing Server::findLanding(int /*peer*/, Header const& header) {
    try {
        if (header.message == eMessage::WriteBlock) {
            BlockMemory const memory = _store.access(header, header.nbPayload);
            return {memory.pBytes.get(), memory.pBytes};
        }
        auto const pText = std::make_shared<std::string>(header.nbPayload, '\0');
        return {pText->data(), pText};
    } catch (std::bad_alloc const&) {
        return {};
    }
}

void Server::onMessage(int /*peer*/, Header const& header, Landing const& landing, bool bIntact) {
    if (isRequest(header.message)) {
        takeRequest(header, landing, bIntact);
        return;
    }
    std::lock_guard<std::mutex> const lock(_mutex);
    takeState(header, landing);
    _changed.notify_all();
}

void Server::takeState(Header const& header, Landing const& landing) {
    if (header.message == eMessage::Welcome) {
        _bWelcome = true;
    } else if (header.message == eMessage::Stop) {
        _bStopped = true;
    } else if (header.message == eMessage::Refused) {
        _reason = landing.pKeptAlive ? *std::static_pointer_cast<std::string>(landing.pKeptAlive) : "";
        _reason = _reason.empty() ? "rank 0 refuses this rank" : _reason;
    }
}

void Server::takeRequest(Header const& header, Landing const& landing, bool bIntact) {
    if (header.message == eMessage::ReadBlock) {
        sendBytes(header);
    } else if (!bIntact || isAnsweredAtOnce(header.message)) {
        reply(header, [&](Parcel& /*parcel*/) {
            BoolResult const fits = header.message == eMessage::WriteBlock
                                        ? _store.requireRange(header, header.nbPayload)
                                        : success();
            return fits && !bIntact
                       ? failure(landing.pBytes == nullptr ? "There is not enough memory for a request"
                                                           : "A request was damaged on its way")
                       : fits;
        });
    } else {
        try {
            Task task{header, {}};
            if (landing.pKeptAlive) {
                task.payload = std::move(*std::static_pointer_cast<std::string>(landing.pKeptAlive));
            }
            std::lock_guard<std::mutex> const lock(_mutex);
            _tasks.push_back(std::move(task));
        } catch (std::bad_alloc const&) {
            reply(header,
                  [](Parcel& /*parcel*/) { return failure("There is not enough memory for a request"); });
        }
        _changed.notify_all();
    }
}

void Server::sendBytes(Header const& header) {
    reply(header, [&](Parcel& parcel) {
        std::uint64_t const nbBytes = header.arguments[2];
        BoolResult result = nbBytes <= g_largestPayload ? _store.requireRange(header, nbBytes)
                                                        : failure("A request asks for too many bytes");
        if (result) {
            BlockMemory const memory = _store.access(header, nbBytes);
            parcel.header.nbPayload = nbBytes;
            parcel.pPayload = memory.pBytes.get();
            parcel.pKeptAlive = memory.pBytes;
        }
        return result;
    });
}

void Server::onLost(int /*peer*/, std::uint64_t sequence) {
    Parcel parcel;
    parcel.peer = g_driver;
    parcel.header.message = eMessage::Lost;
    parcel.header.arguments[0] = sequence;
    _pCourier->send(std::move(parcel));
}

std::string Server::describe(int peer) const {
    return "rank " + std::to_string(peer);
}

void Server::onBroken(std::string const& reason) {
    std::lock_guard<std::mutex> const lock(_mutex);
    _bBroken = true;
    _reason = reason;
    _changed.notify_all();
}

} // namespace velmo::image::mpi
