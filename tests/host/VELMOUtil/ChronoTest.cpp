// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include <VELMOUtil/Chrono.h>
#include <gtest/gtest.h>
#include <thread>

namespace velmo::test {

namespace {

void wait(std::chrono::milliseconds duration) {
    std::this_thread::sleep_for(duration);
}

} // namespace

TEST(Chrono, CountsSecondsSinceItsStart) {
    Chrono chrono;
    auto const before = std::chrono::steady_clock::now();
    chrono.start();
    wait(std::chrono::milliseconds(20));
    double const elapsed = chrono.getElapsed();
    double const most = std::chrono::duration<double>(std::chrono::steady_clock::now() - before).count();
    EXPECT_GE(elapsed, 0.020);
    EXPECT_LE(elapsed, most);
}

TEST(Chrono, NeverRunsBackwards) {
    Chrono chrono;
    chrono.start();
    double last = 0;
    for (int round = 0; round < 1000; ++round) {
        double const elapsed = chrono.getElapsed();
        ASSERT_GE(elapsed, last);
        last = elapsed;
    }
}

TEST(Chrono, ASecondStartBeginsAnew) {
    Chrono chrono;
    chrono.start();
    wait(std::chrono::milliseconds(20));
    double const first = chrono.getElapsed();
    auto const before = std::chrono::steady_clock::now();
    chrono.start();
    double const second = chrono.getElapsed();
    double const most = std::chrono::duration<double>(std::chrono::steady_clock::now() - before).count();
    EXPECT_GE(first, 0.020);
    EXPECT_LE(second, most);
}

} // namespace velmo::test
