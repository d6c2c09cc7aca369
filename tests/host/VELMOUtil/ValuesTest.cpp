// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include <VELMOBase/CheckedArithmetic.h>
#include <VELMOUtil/BaseException.h>
#include <VELMOUtil/BoolResult.h>
#include <VELMOUtil/Chrono.h>
#include <VELMOUtil/LastError.h>
#include <VELMOUtil/Types.h>

#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdexcept>
#include <thread>
#include <type_traits>
#include <unistd.h>

namespace velmo::test {

namespace {

constexpr vlUInt64 g_max = NumericLimits<vlUInt64>::s_max;
constexpr vlUInt64 g_half = vlUInt64{1} << 32;

struct Operation {
    vlUInt64 a;
    vlUInt64 b;
    std::optional<vlUInt64> result;
};

} // namespace

TEST(CheckedArithmetic, AProductOrASumThatDoesNotFitIsEmpty) {
    Operation const products[] = {{0, 0, 0},
                                  {0, g_max, 0},
                                  {6, 7, 42},
                                  {1, g_max, g_max},
                                  {2, g_max / 2, g_max - 1},
                                  {2, g_max / 2 + 1, std::nullopt},
                                  {3, g_max / 3, g_max},
                                  {3, g_max / 3 + 1, std::nullopt},
                                  {g_half - 1, g_half + 1, g_max},
                                  {g_half, g_half, std::nullopt},
                                  {g_max, g_max, std::nullopt}};
    for (Operation const& row : products) {
        EXPECT_EQ(checkedMultiply(row.a, row.b), row.result) << row.a << " * " << row.b;
        EXPECT_EQ(checkedMultiply(row.b, row.a), row.result) << row.b << " * " << row.a;
    }
    Operation const sums[] = {{0, 0, 0},
                              {1, 2, 3},
                              {0, g_max, g_max},
                              {1, g_max - 1, g_max},
                              {1, g_max, std::nullopt},
                              {g_max, g_max, std::nullopt},
                              {g_max / 2, g_max / 2 + 1, g_max},
                              {g_max / 2 + 1, g_max / 2 + 1, std::nullopt}};
    for (Operation const& row : sums) {
        EXPECT_EQ(checkedAdd(row.a, row.b), row.result) << row.a << " + " << row.b;
        EXPECT_EQ(checkedAdd(row.b, row.a), row.result) << row.b << " + " << row.a;
    }
}

TEST(BoolResult, IsTestedByItsBoolAndNotByItsMessage) {
    EXPECT_TRUE(success());
    EXPECT_TRUE(success().getValue());
    EXPECT_EQ(success().getMessage(), "");
    BoolResult const result = failure("why\nit failed");
    EXPECT_FALSE(result);
    EXPECT_FALSE(result.getValue());
    EXPECT_EQ(result.getMessage(), "why\nit failed");
    EXPECT_FALSE(BoolResult(false));
    EXPECT_TRUE(BoolResult(true, "a remark"));
    EXPECT_FALSE((std::is_convertible_v<BoolResult, bool>));
}

TEST(ProcessingResult, CarriesAnyValue) {
    ProcessingResult<int> const result(12, "twelve");
    EXPECT_EQ(result.getValue(), 12);
    EXPECT_EQ(result.getMessage(), "twelve");
    EXPECT_FALSE(ProcessingResult<int>(0));
}

TEST(LastError, IsTheSystemsTextOfTheThreadsErrno) {
    errno = ENOSPC;
    EXPECT_EQ(getLastError(), "No space left on device");
    EXPECT_EQ(open("/nowhere/at/all", O_RDONLY), -1);
    EXPECT_EQ(getLastError(), "No such file or directory");
    std::string other;
    std::thread([&other] {
        errno = EISDIR;
        other = getLastError();
    }).join();
    EXPECT_EQ(other, "Is a directory");
    EXPECT_EQ(getLastError(), "No such file or directory");
}

TEST(NumericLimits, AreTheExtremesOfEachType) {
    EXPECT_EQ(NumericLimits<unsigned long>::s_max, 18446744073709551615UL);
    EXPECT_EQ(NumericLimits<unsigned long>::s_min, 0UL);
    EXPECT_EQ(NumericLimits<int>::s_max, 2147483647);
    EXPECT_EQ(NumericLimits<int>::s_min, -2147483647 - 1);
    EXPECT_EQ(NumericLimits<short>::s_min, -32768);
    EXPECT_EQ(NumericLimits<unsigned char>::s_max, 255);
    EXPECT_EQ(NumericLimits<float>::s_max, 3.40282347e+38F);
    EXPECT_EQ(NumericLimits<float>::s_min, -3.40282347e+38F); // the lowest, not the least positive one
}

namespace {

/// Message, function, file, line, and those of the causes behind.
std::string describe(BaseException const& exception) {
    std::string const own = std::string(exception.what()) + " in " + exception.getFunction() + " at " +
                            exception.getFile() + ":" + std::to_string(exception.getLine());
    return exception.getCause() == nullptr ? own : own + " <- " + describe(*exception.getCause());
}

} // namespace

TEST(BaseException, CarriesItsMessageThePlaceOfTheRaiseAndTheChainOfItsCauses) {
    BaseException const copy = [] {
        BaseException const inner("inner", "void inner()", "inner.cpp", 1);
        BaseException const middle("middle", "middle()", "middle.cpp", 2, inner);
        BaseException const outer("outer", "outer()", "outer.cpp", 3, middle);
        EXPECT_EQ(describe(inner), "inner in void inner() at inner.cpp:1");
        EXPECT_STREQ(outer.what(), "outer");
        return BaseException(outer);
    }();
    EXPECT_EQ(describe(copy), "outer in outer() at outer.cpp:3 <- middle in middle() at middle.cpp:2 <- "
                              "inner in void inner() at inner.cpp:1");
    EXPECT_TRUE(std::is_nothrow_copy_constructible_v<BaseException>);
    EXPECT_TRUE(std::is_nothrow_copy_assignable_v<BaseException>);
}

TEST(BaseException, AStandardExceptionIsChainedByItsTextWithoutAPlace) {
    EXPECT_EQ(describe(BaseException("outer", "outer()", "outer.cpp", 2, std::out_of_range("too far"))),
              "outer in outer() at outer.cpp:2 <- too far in  at :0");
}

TEST(BaseException, AnUnHandleExceptionIsABaseException) {
    EXPECT_EQ(describe(UnHandleException("unknown", "void raiser()", "raiser.cpp", 7)),
              "unknown in void raiser() at raiser.cpp:7");
}

TEST(Chrono, CountsSecondsSinceItsLastStartAndNeverRunsBackwards) {
    using Clock = std::chrono::steady_clock;
    Chrono chrono;
    for (int start = 0; start < 2; ++start) {
        auto const before = Clock::now();
        chrono.start();
        double last = chrono.getElapsed();
        EXPECT_LE(last, std::chrono::duration<double>(Clock::now() - before).count());
        std::this_thread::sleep_for(std::chrono::milliseconds(20));
        last = chrono.getElapsed();
        EXPECT_GE(last, 0.020);
        for (int round = 0; round < 1000; ++round) {
            double const elapsed = chrono.getElapsed();
            ASSERT_GE(elapsed, last);
            last = elapsed;
        }
    }
}

} // namespace velmo::test
