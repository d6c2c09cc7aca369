// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <any>
#include <cstdint>
#include <functional>
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

} // namespace velmo
