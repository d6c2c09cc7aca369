// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "transport/LoopbackTransport.h"

#include <random>

namespace velmo::test {

/// Faults of messages between the ranks of a LoopbackJob; equal for equal seeds and equal messages. Each seed
/// has its own mixture: some have none, some only late messages, some lose, damage or shorten messages, some
/// kill a rank or have no memory.
class FaultyNetwork {
  public:
    FaultyNetwork(unsigned int seed, int nbRanks);

    /// A LoopbackFault.
    bool operator()(int from, int to, image::mpi::LoopbackMessage& message);

    /// Whether the seed has no faults, or only late messages in another order: then everything must succeed.
    bool isHarmless() const { return _bHarmless; }

  private:
    bool happens(double probability);
    void damage(image::mpi::LoopbackMessage& message);

    std::mt19937 _random;
    bool _bHarmless = true;
    double _dropped = 0;
    double _late = 0;
    double _damaged = 0;
    double _withoutMemory = 0;
    int _killed = -1; ///< rank
    int _nbBeforeKill = 0;
};

} // namespace velmo::test
