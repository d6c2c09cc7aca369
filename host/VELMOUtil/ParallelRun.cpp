// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOUtil/ParallelRun.h"

#include <algorithm>
#include <atomic>
#include <exception>
#include <mutex>
#include <new>
#include <system_error>
#include <thread>
#include <vector>

namespace velmo {

namespace {

class Run {
  public:
    Run(vlUInt64 nbUnits, ParallelWork const& work) : _nbUnits(nbUnits), _work(work), _failedUnit(nbUnits) {}

    void work(vlUInt64 thread) {
        while (!_bFailed) {
            vlUInt64 const unit = _nextUnit++;
            if (unit >= _nbUnits) {
                return;
            }
            workUnit(thread, unit);
        }
    }

    BoolResult getOutcome() const {
        if (_exception) {
            std::rethrow_exception(_exception);
        }
        return _result;
    }

  private:
    void workUnit(vlUInt64 thread, vlUInt64 unit) {
        try {
            BoolResult const result = _work(thread, unit);
            if (!result) {
                fail(unit, result, nullptr);
            }
        } catch (...) {
            fail(unit, success(), std::current_exception());
        }
    }

    void fail(vlUInt64 unit, BoolResult const& result, std::exception_ptr const& exception) {
        std::lock_guard<std::mutex> const lock(_mutex);
        _bFailed = true;
        if (unit < _failedUnit) {
            _result = result; // may throw: the unit is marked behind it
            _exception = exception;
            _failedUnit = unit;
        }
    }

    vlUInt64 _nbUnits;
    ParallelWork const& _work;
    std::atomic<vlUInt64> _nextUnit{0};
    std::atomic<bool> _bFailed{false};
    std::mutex _mutex;
    vlUInt64 _failedUnit;
    BoolResult _result = success();
    std::exception_ptr _exception;
};

} // namespace

BoolResult runParallel(vlUInt64 nbThreads, vlUInt64 nbUnits, ParallelWork const& work) {
    Run run(nbUnits, work);
    std::vector<std::thread> threads;
    vlUInt64 const nbUseful = std::min(nbThreads, nbUnits);
    try {
        threads.reserve(nbUseful);
        for (vlUInt64 thread = 1; thread < nbUseful; ++thread) {
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
    return run.getOutcome();
}

} // namespace velmo
