// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "FaultyNetwork.h"

#include <new>

namespace velmo::test {

using namespace image::mpi;

FaultyNetwork::FaultyNetwork(unsigned int seed, int nbRanks) : _random(seed) {
    constexpr double often = 0.1;
    constexpr double seldom = 0.01;
    double const rate = happens(0.5) ? often : seldom;
    switch (seed % 8) {
    case 0:
        break;
    case 1:
        _late = 0.3;
        break;
    case 2:
        _dropped = rate;
        break;
    case 3:
        _damaged = rate;
        break;
    case 4:
        _killed = static_cast<int>(_random() % static_cast<unsigned int>(nbRanks));
        _nbBeforeKill = static_cast<int>(_random() % 80);
        break;
    case 5:
        _withoutMemory = rate;
        break;
    default:
        _late = 0.2;
        _dropped = seldom / 2;
        _damaged = seldom / 2;
        _withoutMemory = seldom / 2;
        break;
    }
    _bHarmless = seed % 8 < 2;
}

bool FaultyNetwork::operator()(int from, int to, LoopbackMessage& message) {
    if (_killed >= 0 && (from == _killed || to == _killed) && _nbBeforeKill-- <= 0) {
        return false;
    }
    if (happens(_withoutMemory)) {
        throw std::bad_alloc();
    }
    if (happens(_late)) {
        message.arrival = std::chrono::steady_clock::now() + std::chrono::microseconds(_random() % 8000);
    }
    if (happens(_damaged)) {
        damage(message);
    }
    return !happens(_dropped);
}

bool FaultyNetwork::happens(double probability) {
    return probability > 0 && std::uniform_real_distribution<double>(0, 1)(_random) < probability;
}

void FaultyNetwork::damage(LoopbackMessage& message) {
    bool const bPayload = !message.payload.empty() && happens(0.5);
    if (bPayload && happens(0.3)) {
        message.payload.resize(_random() % message.payload.size());
    } else if (bPayload) {
        message.payload[_random() % message.payload.size()] ^= static_cast<char>(1U << (_random() % 8));
    } else if (happens(0.5)) {
        message.header[_random() % message.header.size()] ^= static_cast<std::byte>(1U << (_random() % 8));
    } else {
        for (std::byte& byte : message.header) {
            byte = static_cast<std::byte>(_random());
        }
    }
}

} // namespace velmo::test
