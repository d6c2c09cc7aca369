// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <atomic>
#include <cstring>
#include <iostream>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace velmo::test {

/// Runs `work` with 0 to `nbThreads` - 1 on threads that all set off at the same moment, closer together than
/// a lock would let them go.
template <class Work>
void raceThreads(unsigned int nbThreads, Work const& work) {
    std::atomic<unsigned int> nbMissing{nbThreads};
    std::vector<std::thread> threads;
    for (unsigned int index = 0; index < nbThreads; ++index) {
        threads.emplace_back([&work, &nbMissing, index] {
            --nbMissing;
            while (nbMissing != 0) {
                std::this_thread::yield();
            }
            work(index);
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
}

/// What a program found to be wrong, told on the standard output from any thread.
class Complaints {
  public:
    void expect(bool bRight, std::string const& complaint) {
        if (!bRight) {
            std::lock_guard<std::mutex> const lock(_mutex);
            std::cout << complaint << std::endl;
            _bAny = true;
        }
    }
    /// Whatever `work` throws is one more.
    template <class Work>
    void guard(Work const& work) {
        try {
            work();
        } catch (std::exception const& exception) {
            expect(false, std::string("thrown: ") + exception.what());
        }
    }
    int getStatus() const { return _bAny ? 1 : 0; }

  private:
    std::mutex _mutex;
    bool _bAny = false;
};

} // namespace velmo::test
