// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOBase/ParallelRun.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <new>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

namespace velmo {

namespace {

class Run {
  public:
    Run(std::uint64_t nbUnits, ParallelUnit const& work)
        : _nbUnits(nbUnits), _work(work), _failedUnit(nbUnits) {}

    void work(std::uint64_t thread) {
        while (!_bFailed) {
            std::uint64_t const unit = _nextUnit++;
            if (unit >= _nbUnits) {
                return;
            }
            workUnit(thread, unit);
        }
    }

    /// Of the failed unit of the lowest number.
    std::any takeFailure() {
        if (_exception) {
            std::rethrow_exception(_exception);
        }
        return std::move(_failure);
    }

  private:
    void workUnit(std::uint64_t thread, std::uint64_t unit) {
        try {
            std::any failure = _work(thread, unit);
            if (failure.has_value()) {
                keep(unit, std::move(failure), nullptr);
            }
        } catch (...) {
            keep(unit, {}, std::current_exception());
        }
    }

    void keep(std::uint64_t unit, std::any failure, std::exception_ptr const& exception) {
        std::lock_guard<std::mutex> const lock(_mutex);
        _bFailed = true;
        if (unit < _failedUnit) {
            _failure.swap(failure);
            _exception = exception;
            _failedUnit = unit;
        }
    }

    std::uint64_t _nbUnits;
    ParallelUnit const& _work;
    std::atomic<std::uint64_t> _nextUnit{0};
    std::atomic<bool> _bFailed{false};
    std::mutex _mutex;
    std::uint64_t _failedUnit;
    std::any _failure;
    std::exception_ptr _exception;
};

} // namespace

std::any runUnits(std::uint64_t nbThreads, std::uint64_t nbUnits, ParallelUnit const& work) {
    Run run(nbUnits, work);
    std::vector<std::thread> threads;
    std::uint64_t const nbUseful = std::min(nbThreads, nbUnits);
    try {
        threads.reserve(nbUseful);
        for (std::uint64_t thread = 1; thread < nbUseful; ++thread) {
            threads.emplace_back([&run, thread] { run.work(thread); });
        }
    } catch (std::system_error const&) {
        // The system gives no more threads: the ones that run share the work.
    } catch (std::bad_alloc const&) {
        // Nor memory for them.
    }
    run.work(0);
    for (std::thread& thread : threads) {
        thread.join();
    }
    return run.takeFailure();
}

bool UnitOrder::await(std::uint64_t unit) {
    std::unique_lock<std::mutex> lock(_mutex);
    _passed.wait(lock, [&] { return _bFailed || _nbPassed == unit; });
    return !_bFailed;
}

void UnitOrder::pass(bool bFailed) {
    {
        std::lock_guard<std::mutex> const lock(_mutex);
        ++_nbPassed;
        _bFailed = _bFailed || bFailed;
    }
    _passed.notify_all();
}

} // namespace velmo
