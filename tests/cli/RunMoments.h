// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "ToolProcess.h"

#include <algorithm>
#include <cstdlib>
#include <gtest/gtest.h>
#include <iostream>
#include <random>
#include <thread>

namespace velmo {
namespace test {

/// VELMO_TEST_SEED, or a number that is another in each run; told, so that a failure can be had again.
inline unsigned int getSeed() {
    char const* const text = std::getenv("VELMO_TEST_SEED");
    unsigned int const seed =
        text != nullptr ? static_cast<unsigned int>(std::strtoul(text, nullptr, 10)) : std::random_device{}();
    std::cout << "VELMO_TEST_SEED=" << seed << std::endl;
    return seed;
}

/// Sends signals to runs of one command, at moments drawn over the time that it takes undisturbed.
class RunMoments {
  public:
    using Clock = std::chrono::steady_clock;

    RunMoments(Arguments arguments, unsigned int seed) : _arguments(std::move(arguments)), _random(seed) {
        for (int time = 0; time < 3; ++time) {
            Clock::time_point const begin = Clock::now();
            EXPECT_EQ(0, runTool(_arguments).status);
            _duration = std::min(_duration, Clock::now() - begin);
        }
    }

    ToolResult runUntil(int signal) {
        std::uniform_real_distribution<double> part(0.0, 1.0);
        Clock::duration const moment = std::chrono::duration_cast<Clock::duration>(_duration * part(_random));
        ToolProcess process(_arguments);
        std::this_thread::sleep_for(moment);
        process.send(signal);
        return process.wait();
    }

  private:
    Arguments const _arguments;
    std::mt19937 _random;
    Clock::duration _duration = std::chrono::hours(1);
};

} // namespace test
} // namespace velmo
