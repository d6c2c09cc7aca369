// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <algorithm>
#include <chrono>
#include <ctime>

namespace velmo::test {

/// Time that the processor has spent on this thread, whatever else the machine does.
inline std::chrono::nanoseconds getCpuTime() {
    timespec time = {};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return std::chrono::seconds(time.tv_sec) + std::chrono::nanoseconds(time.tv_nsec);
}

/// Of the shortest of a few runs.
template <class Work>
std::chrono::nanoseconds measureCpuTime(Work const& work) {
    constexpr int nbRuns = 20;
    std::chrono::nanoseconds shortest = std::chrono::nanoseconds::max();
    for (int run = 0; run < nbRuns; ++run) {
        std::chrono::nanoseconds const start = getCpuTime();
        work();
        shortest = std::min(shortest, getCpuTime() - start);
    }
    return shortest;
}

} // namespace velmo::test
