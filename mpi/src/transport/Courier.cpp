// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "transport/Courier.h"

#include <algorithm>
#include <new>
#include <stdexcept>

namespace velmo::image::mpi {

namespace {

/// For so long after the last message a rank polls without a pause.
constexpr std::chrono::microseconds g_busyTime(100);
/// Then each pause is this part of the time since the last message, so that a message waits for a small part
/// of the work before it. A whole part would be unstable: two ranks that exchange messages would each wait
/// for the pause of the other, and both pauses would grow to the longest one.
constexpr int g_partOfIdleTime = 64;

} // namespace

Courier::Courier(Transport& transport, CourierClient& client, std::vector<int> const& watched,
                 Timing const& timing)
    : _transport(transport), _client(client), _timing(timing), _watch(watched, timing) {}

Courier::~Courier() {
    stop();
}

void Courier::start() {
    _thread = std::thread([this] { run(); });
}

void Courier::stop() {
    {
        std::lock_guard<std::mutex> const lock(_mutex);
        _bEnding = true;
    }
    _posted.notify_one();
    if (_thread.joinable()) {
        _thread.join();
    }
}

void Courier::send(Parcel parcel) noexcept {
    {
        std::lock_guard<std::mutex> const lock(_mutex);
        if (_bBroken) {
            return;
        }
        try {
            _outbox.push_back(std::move(parcel));
        } catch (std::bad_alloc const&) {
            _bWithoutMemory = true;
        }
    }
    _posted.notify_one();
}

void Courier::breakSession(std::string const& reason) {
    {
        std::lock_guard<std::mutex> const lock(_mutex);
        _failure = reason;
    }
    _posted.notify_one();
}

void Courier::run() {
    std::string reason;
    try {
        auto lastBusy = Clock::now();
        while (true) {
            if (runOnce(reason)) {
                lastBusy = Clock::now();
            } else if (!reason.empty()) {
                break;
            } else if (isAtEnd()) {
                return;
            } else {
                pause(Clock::now() - lastBusy);
            }
        }
    } catch (std::exception const& exception) {
        reason = exception.what();
    }
    breakOff(reason);
}

/// Whether something was done. Without a peer that answers, `reason` says why the session cannot go on.
bool Courier::runOnce(std::string& reason) {
    bool bBusy = sendPosted();
    bBusy = endSends() || bBusy;
    bBusy = receiveHeaders() || bBusy;
    bBusy = endReceives() || bBusy;
    if (_transport.isAborted()) {
        reason = "The job was ended by another rank";
        return false;
    }
    _watch.tick();
    keepAlive();
    for (int const peer : _watch.getPeers()) {
        while (auto const lost = _watch.takeLost(peer)) {
            _client.onLost(peer, *lost);
        }
    }
    if (auto const silent = _watch.findSilent()) {
        reason = _client.describe(*silent) + " does not answer";
        return false;
    }
    return bBusy || !_sends.empty() || !_receives.empty();
}

bool Courier::isAtEnd() {
    std::lock_guard<std::mutex> const lock(_mutex);
    return _bEnding && _outbox.empty();
}

void Courier::breakOff(std::string const& reason) {
    {
        std::lock_guard<std::mutex> const lock(_mutex);
        _bBroken = true;
        _outbox.clear();
    }
    _transport.abort(reason);
    _client.onBroken(reason);
    _receives.clear();
    _sends.clear();
}

bool Courier::sendPosted() {
    std::deque<Parcel> parcels;
    {
        std::lock_guard<std::mutex> const lock(_mutex);
        parcels.swap(_outbox);
        if (_bWithoutMemory) {
            throw std::bad_alloc();
        }
        if (!_failure.empty()) {
            throw std::runtime_error(_failure);
        }
    }
    for (Parcel& parcel : parcels) {
        post(std::move(parcel));
    }
    return !parcels.empty();
}

void Courier::post(Parcel parcel) {
    Header& header = parcel.header;
    header.sequence = _watch.takeSequence(parcel.peer);
    if (_transport.damagesPayloads()) {
        header.payloadSum = sumBytes(parcel.pPayload, header.nbPayload);
    }
    _client.onLeaving(parcel.peer, header);
    try {
        TransferId const transfer = _transport.startSend(parcel.peer, header, parcel.pPayload);
        _sends.push_back({transfer, std::move(parcel)});
    } catch (std::bad_alloc const&) {
        // The receiver notices that the number of the message is missing.
    }
}

bool Courier::endSends() {
    auto const nbBefore = _sends.size();
    _sends.remove_if([this](Sending const& sending) { return _transport.isDone(sending.transfer); });
    return _sends.size() != nbBefore;
}

bool Courier::receiveHeaders() {
    Arrival arrival;
    bool bAny = false;
    while (_transport.receiveHeader(arrival)) {
        bAny = true;
        take(arrival);
    }
    return bAny;
}

void Courier::take(Arrival const& arrival) {
    if (!_watch.knows(arrival.peer)) {
        return;
    }
    _watch.hear(arrival.peer);
    auto const header = decodeHeader(arrival.header);
    if (!header) {
        _transport.discardPayload(arrival.peer, Header()); // its number is missing from now on
        return;
    }
    if (!_watch.accept(arrival.peer, header->sequence)) {
        _transport.discardPayload(arrival.peer, *header);
        return;
    }
    if (header->nbPayload == 0) {
        _client.onMessage(arrival.peer, *header, {}, true);
        return;
    }
    Landing const landing = _client.findLanding(arrival.peer, *header);
    if (landing.pBytes == nullptr) {
        _transport.discardPayload(arrival.peer, *header);
        _client.onMessage(arrival.peer, *header, landing, false);
        return;
    }
    TransferId const transfer = _transport.startReceive(arrival.peer, *header, landing.pBytes);
    _receives.push_back({transfer, arrival.peer, *header, landing});
}

bool Courier::endReceives() {
    std::list<Receiving> done;
    for (auto place = _receives.begin(); place != _receives.end();) {
        auto const next = std::next(place);
        if (_transport.isDone(place->transfer)) {
            done.splice(done.end(), _receives, place);
        }
        place = next;
    }
    for (Receiving const& receiving : done) {
        _watch.hear(receiving.peer);
        bool const bIntact =
            !_transport.damagesPayloads() ||
            receiving.header.payloadSum == sumBytes(receiving.landing.pBytes, receiving.header.nbPayload);
        _client.onMessage(receiving.peer, receiving.header, receiving.landing, bIntact);
    }
    return !done.empty();
}

void Courier::keepAlive() {
    if (!_watch.takeAliveDue()) {
        return;
    }
    for (int const peer : _watch.getPeers()) {
        Parcel parcel;
        parcel.peer = peer;
        parcel.header.message = eMessage::Alive;
        post(std::move(parcel));
    }
}

/// Waits for a part of the time that has passed since the last message, or until this rank sends one.
void Courier::pause(Clock::duration idle) {
    if (idle < g_busyTime) {
        std::this_thread::yield();
        return;
    }
    std::unique_lock<std::mutex> lock(_mutex);
    _posted.wait_for(lock, std::min<Clock::duration>(idle / g_partOfIdleTime, _timing.longestPause),
                     [this] { return _bEnding || !_failure.empty() || !_outbox.empty(); });
}

} // namespace velmo::image::mpi
