// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "ThrownText.h"

#include <VELMOBase/ParallelRun.h>
#include <VELMOUtil/BoolResult.h>
#include <VELMOUtil/Types.h>
#include <atomic>
#include <gtest/gtest.h>
#include <map>
#include <mutex>
#include <numeric>
#include <set>
#include <stdexcept>
#include <thread>
#include <vector>

namespace velmo::test {

namespace {

/// What the units of a run saw; filled from all its threads.
class Witness {
  public:
    void see(vlUInt64 thread, vlUInt64 unit) {
        std::lock_guard<std::mutex> const lock(_mutex);
        _units.push_back(unit);
        _threads[thread].insert(std::this_thread::get_id());
    }
    /// Each unit begun, in the order of the beginnings.
    std::vector<vlUInt64> const& getUnits() const { return _units; }
    std::map<vlUInt64, std::set<std::thread::id>> const& getThreads() const { return _threads; }

  private:
    std::mutex _mutex;
    std::vector<vlUInt64> _units;
    std::map<vlUInt64, std::set<std::thread::id>> _threads;
};

std::vector<vlUInt64> countTo(vlUInt64 nbUnits) {
    std::vector<vlUInt64> units(nbUnits);
    std::iota(units.begin(), units.end(), 0);
    return units;
}

void waitUntil(std::atomic<bool> const& bReached) {
    while (!bReached) {
        std::this_thread::yield();
    }
}

/// A run whose units only say that they have begun.
void runWith(Witness& witness, vlUInt64 nbThreads, vlUInt64 nbUnits) {
    EXPECT_TRUE(runParallel(nbThreads, nbUnits, [&](vlUInt64 thread, vlUInt64 unit) {
        witness.see(thread, unit);
        std::this_thread::yield();
        return success();
    }));
}

} // namespace

TEST(ParallelRun, RunsEachUnitOnceOnNoMoreThreadsThanAskedForEachWithItsIndex) {
    for (vlUInt64 const nbThreads : {0UL, 1UL, 2UL, 3UL, 7UL, 64UL}) {
        for (vlUInt64 const nbUnits : {0UL, 1UL, 5UL, 500UL}) {
            Witness witness;
            runWith(witness, nbThreads, nbUnits);
            std::multiset<vlUInt64> const units(witness.getUnits().begin(), witness.getUnits().end());
            EXPECT_EQ(std::vector<vlUInt64>(units.begin(), units.end()), countTo(nbUnits));
            EXPECT_LE(witness.getThreads().size(), std::max(1UL, nbThreads));
            std::set<std::thread::id> all;
            for (auto const& [thread, ids] : witness.getThreads()) {
                EXPECT_LT(thread, std::max(1UL, nbThreads));
                EXPECT_EQ(ids.size(), 1U);
                all.insert(ids.begin(), ids.end());
            }
            EXPECT_EQ(all.size(), witness.getThreads().size());
        }
    }
}

TEST(ParallelRun, OnOneThreadAllIsDoneByTheCallerInOrder) {
    Witness witness;
    runWith(witness, 1, 20);
    EXPECT_EQ(witness.getUnits(), countTo(20));
    ASSERT_EQ(witness.getThreads().size(), 1U);
    EXPECT_EQ(witness.getThreads().at(0), std::set<std::thread::id>{std::this_thread::get_id()});
}

TEST(ParallelRun, TheCallingThreadIsThreadZeroAndWorksBesideTheOthers) {
    // Each of four units waits for the three others: only four threads, the caller among them, get past.
    Witness witness;
    std::atomic<int> nbBegun{0};
    runParallel(4, 4, [&](vlUInt64 thread, vlUInt64 unit) {
        witness.see(thread, unit);
        for (++nbBegun; nbBegun < 4;) {
            std::this_thread::yield();
        }
        return success();
    });
    ASSERT_EQ(witness.getThreads().size(), 4U);
    EXPECT_EQ(witness.getThreads().at(0), std::set<std::thread::id>{std::this_thread::get_id()});
}

TEST(ParallelRun, AfterAFailureNoFurtherUnitIsBegun) {
    Witness witness;
    BoolResult const result = runParallel(1, 100, [&](vlUInt64 thread, vlUInt64 unit) {
        witness.see(thread, unit);
        return unit == 3 ? failure("unit 3") : success();
    });
    EXPECT_FALSE(result);
    EXPECT_EQ(result.getMessage(), "unit 3");
    EXPECT_EQ(witness.getUnits(), countTo(4));
}

TEST(ParallelRun, AFailureStopsTheOtherThreadsToo) {
    constexpr vlUInt64 nbUnits = 1000000;
    std::atomic<vlUInt64> nbBegun{0};
    BoolResult const result = runParallel(4, nbUnits, [&](vlUInt64, vlUInt64 unit) {
        ++nbBegun;
        std::this_thread::sleep_for(std::chrono::microseconds(50));
        return unit == 10 ? failure("unit 10") : success();
    });
    EXPECT_FALSE(result);
    EXPECT_LT(nbBegun, nbUnits / 2);
}

TEST(ParallelRun, TheFailureOfTheLowestUnitCountsAlsoWhenItComesLast) {
    std::atomic<bool> bHigherFailed{false};
    BoolResult const result = runParallel(2, 2, [&](vlUInt64, vlUInt64 unit) {
        if (unit == 0) {
            waitUntil(bHigherFailed);
            std::this_thread::sleep_for(std::chrono::milliseconds(20));
            return failure("unit 0");
        }
        bHigherFailed = true;
        return failure("unit 1");
    });
    EXPECT_FALSE(result);
    EXPECT_EQ(result.getMessage(), "unit 0");
}

TEST(ParallelRun, AFailureOfALowerUnitCountsBeforeAnExceptionOfAHigherOne) {
    std::atomic<bool> bHigherBegun{false};
    BoolResult const result = runParallel(2, 2, [&](vlUInt64, vlUInt64 unit) {
        if (unit == 1) {
            bHigherBegun = true;
            throw std::runtime_error("unit 1");
        }
        waitUntil(bHigherBegun);
        return failure("unit 0");
    });
    EXPECT_EQ(result.getMessage(), "unit 0");
}

TEST(ParallelRun, AnExceptionComesOutWithItsType) {
    for (vlUInt64 const nbThreads : {1UL, 4UL}) {
        auto const run = [&] {
            runParallel(nbThreads, 8, [](vlUInt64, vlUInt64 unit) {
                if (unit == 2) {
                    throw std::out_of_range("unit 2");
                }
                return success();
            });
        };
        EXPECT_EQ(thrownText<std::out_of_range>(run), "unit 2");
    }
    EXPECT_THROW(runParallel(2, 2, [](vlUInt64, vlUInt64) -> BoolResult { throw 42; }), int);
}

TEST(ParallelRun, AnExceptionLeavesNoThreadBehind) {
    std::atomic<int> nbInside{0};
    std::atomic<bool> bThrown{false};
    auto const work = [&](vlUInt64, vlUInt64 unit) {
        ++nbInside;
        if (unit == 0) {
            bThrown = true;
            --nbInside;
            throw std::runtime_error("unit 0");
        }
        waitUntil(bThrown);
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        --nbInside;
        return success();
    };
    EXPECT_THROW(runParallel(4, 4, work), std::runtime_error);
    EXPECT_EQ(nbInside, 0);
}

TEST(RunInOrder, PreparesOnThreadsAndFinishesInOrder) {
    std::atomic<bool> bOther{false};
    std::vector<vlUInt64> finished;
    EXPECT_TRUE(runInOrder(
        2, 50,
        [&](vlUInt64 /*thread*/, vlUInt64 unit) {
            bOther = bOther || unit == 1;
            if (unit == 0) {
                waitUntil(bOther); // unit 1 is prepared first
            }
            return unit * unit;
        },
        [&](vlUInt64 unit, vlUInt64 prepared) {
            EXPECT_EQ(prepared, unit * unit);
            finished.push_back(unit);
            return success();
        }));
    EXPECT_EQ(finished, countTo(50));
}

TEST(RunInOrder, AFailureEndsTheRunAfterTheUnitsBefore) {
    for (vlUInt64 const nbThreads : {1U, 2U, 8U}) {
        std::vector<vlUInt64> finished;
        BoolResult const result = runInOrder(
            nbThreads, 100, [](vlUInt64 /*thread*/, vlUInt64 unit) { return unit; },
            [&](vlUInt64 unit, vlUInt64 /*prepared*/) {
                finished.push_back(unit);
                return unit >= 20 ? failure("unit " + std::to_string(unit)) : success();
            });
        EXPECT_EQ(result.getMessage(), "unit 20");
        EXPECT_EQ(finished, countTo(21));
    }
}

// The exception of a higher unit comes first, and waits.
TEST(RunInOrder, AnExceptionOfAPreparationCountsInItsOrder) {
    for (vlUInt64 const nbThreads : {1U, 2U, 8U}) {
        std::atomic<bool> bThrown{nbThreads == 1};
        std::vector<vlUInt64> finished;
        auto const run = [&] {
            static_cast<void>(runInOrder(
                nbThreads, 100,
                [&](vlUInt64 /*thread*/, vlUInt64 unit) -> vlUInt64 {
                    if (unit == 4) {
                        waitUntil(bThrown);
                    }
                    if (unit == 5) {
                        bThrown = true;
                    }
                    if (unit >= 4) {
                        throw std::runtime_error("unit " + std::to_string(unit));
                    }
                    return unit;
                },
                [&](vlUInt64 unit, vlUInt64 /*prepared*/) {
                    finished.push_back(unit);
                    return success();
                }));
        };
        EXPECT_EQ(thrownText<std::runtime_error>(run), "unit 4");
        EXPECT_EQ(finished, countTo(4));
    }
}

} // namespace velmo::test
