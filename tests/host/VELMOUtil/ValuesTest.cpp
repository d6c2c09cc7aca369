// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include <VELMOBase/CheckedArithmetic.h>
#include <VELMOUtil/BoolResult.h>
#include <VELMOUtil/LastError.h>
#include <VELMOUtil/Types.h>

#include <cerrno>
#include <fcntl.h>
#include <gtest/gtest.h>
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

TEST(CheckedArithmetic, AProductThatDoesNotFitIsEmpty) {
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
}

TEST(CheckedArithmetic, ASumThatDoesNotFitIsEmpty) {
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

TEST(BoolResult, SuccessIsTrueWithoutAMessage) {
    BoolResult const result = success();
    EXPECT_TRUE(result);
    EXPECT_TRUE(result.getValue());
    EXPECT_EQ(result.getMessage(), "");
}

TEST(BoolResult, FailureIsFalseWithItsMessage) {
    BoolResult const result = failure("why\nit failed");
    EXPECT_FALSE(result);
    EXPECT_FALSE(result.getValue());
    EXPECT_EQ(result.getMessage(), "why\nit failed");
}

TEST(BoolResult, IsTestedByItsBoolAndNotByItsMessage) {
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

TEST(LastError, IsTheSystemsTextOfErrno) {
    errno = ENOSPC;
    EXPECT_EQ(getLastError(), "No space left on device");
    EXPECT_EQ(open("/nowhere/at/all", O_RDONLY), -1);
    EXPECT_EQ(getLastError(), "No such file or directory");
}

TEST(LastError, BelongsToTheThread) {
    errno = EACCES;
    std::string other;
    std::thread([&other] {
        errno = EISDIR;
        other = getLastError();
    }).join();
    EXPECT_EQ(other, "Is a directory");
    EXPECT_EQ(getLastError(), "Permission denied");
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

} // namespace velmo::test
