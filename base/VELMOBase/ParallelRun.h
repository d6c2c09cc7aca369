// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <any>
#include <condition_variable>
#include <cstdint>
#include <exception>
#include <functional>
#include <mutex>
#include <optional>
#include <type_traits>
#include <utility>

namespace velmo {

/// One unit of a run, on the thread of that index: empty for a success, else the result of the failed unit.
using ParallelUnit = std::function<std::any(std::uint64_t thread, std::uint64_t unit)>;

/// `runParallel` for results of any type. Returns the result of the failed unit of the lowest number, and
/// nothing if no unit failed.
std::any runUnits(std::uint64_t nbThreads, std::uint64_t nbUnits, ParallelUnit const& work);

/// Calls `work(thread, unit)` for the units 0 to `nbUnits` - 1. The units are started in that order, on the
/// calling thread (thread 0) and on up to `nbThreads` - 1 new threads; on fewer if the system refuses a
/// thread. Returns when all threads have ended.
///
/// `work` returns a result that converts to bool (true is a success) and can be made of `true`. After a
/// failure no further unit is started. If several units fail, the one of the lowest number counts: its result
/// is returned, or its exception is thrown.
template <class Work>
auto runParallel(std::uint64_t nbThreads, std::uint64_t nbUnits, Work const& work) {
    using Result = std::invoke_result_t<Work const&, std::uint64_t, std::uint64_t>;
    std::any failure = runUnits(nbThreads, nbUnits, [&work](std::uint64_t thread, std::uint64_t unit) {
        Result result = work(thread, unit);
        return result ? std::any() : std::any(std::move(result));
    });
    return failure.has_value() ? std::any_cast<Result>(std::move(failure)) : Result(true);
}

/// Lets the units of a run pass one after the other, in their order.
class UnitOrder {
  public:
    /// Waits until all lower units have passed. False if one of them has failed.
    bool await(std::uint64_t unit);
    /// Ends the turn of a unit. If it failed, all higher units are told so.
    void pass(bool bFailed);

  private:
    std::mutex _mutex;
    std::condition_variable _passed;
    std::uint64_t _nbPassed = 0;
    bool _bFailed = false;
};

/// Like `runParallel`, with two steps for each unit: `prepare(thread, unit)` on several threads, and then
/// `finish(unit, prepared)` with its result, for one unit after the other in their order. The run therefore
/// has the effects and the failure of one thread that does both for each unit. At most `nbThreads` units are
/// prepared and not finished.
///
/// `finish` returns a result like `work` of `runParallel`. A failure of `prepare` is an exception, or is
/// reported by `finish`.
template <class Prepare, class Finish>
auto runInOrder(std::uint64_t nbThreads, std::uint64_t nbUnits, Prepare const& prepare,
                Finish const& finish) {
    using Prepared = std::invoke_result_t<Prepare const&, std::uint64_t, std::uint64_t>;
    using Result = std::invoke_result_t<Finish const&, std::uint64_t, Prepared&>;
    UnitOrder order;
    return runParallel(nbThreads, nbUnits, [&](std::uint64_t thread, std::uint64_t unit) {
        std::optional<Prepared> prepared;
        std::exception_ptr exception;
        try {
            prepared.emplace(prepare(thread, unit));
        } catch (...) {
            exception = std::current_exception();
        }
        if (!order.await(unit)) {
            return Result(true); // the failed unit counts
        }
        try {
            if (exception) {
                std::rethrow_exception(exception);
            }
            Result result = finish(unit, *prepared);
            order.pass(!result);
            return result;
        } catch (...) {
            order.pass(true);
            throw;
        }
    });
}

} // namespace velmo
