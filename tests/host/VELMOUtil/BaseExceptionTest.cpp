// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include <VELMOUtil/BaseException.h>

#include <gtest/gtest.h>
#include <stdexcept>
#include <type_traits>

namespace velmo::test {

namespace {

BaseException makeInner() {
    return BaseException("inner", "void inner()", "inner.cpp", 1);
}

} // namespace

TEST(BaseException, CarriesItsMessageAndThePlaceOfTheRaise) {
    BaseException const exception("what went wrong", "void raiser(int)", "src/Raiser.cpp", 42);
    EXPECT_STREQ(exception.what(), "what went wrong");
    EXPECT_EQ(exception.getFunction(), "void raiser(int)");
    EXPECT_EQ(exception.getFile(), "src/Raiser.cpp");
    EXPECT_EQ(exception.getLine(), 42U);
    EXPECT_EQ(exception.getCause(), nullptr);
}

TEST(BaseException, ACauseIsChainedAndStaysOutOfTheText) {
    BaseException const exception("outer", "void outer()", "outer.cpp", 2, makeInner());
    EXPECT_STREQ(exception.what(), "outer");
    EXPECT_EQ(exception.getLine(), 2U);
    ASSERT_NE(exception.getCause(), nullptr);
    EXPECT_STREQ(exception.getCause()->what(), "inner");
    EXPECT_EQ(exception.getCause()->getFunction(), "void inner()");
    EXPECT_EQ(exception.getCause()->getFile(), "inner.cpp");
    EXPECT_EQ(exception.getCause()->getLine(), 1U);
    EXPECT_EQ(exception.getCause()->getCause(), nullptr);
}

TEST(BaseException, AChainOfCausesIsKeptToItsEnd) {
    BaseException const middle("middle", "", "", 2, makeInner());
    BaseException const outer("outer", "", "", 3, middle);
    ASSERT_NE(outer.getCause(), nullptr);
    ASSERT_NE(outer.getCause()->getCause(), nullptr);
    EXPECT_STREQ(outer.getCause()->getCause()->what(), "inner");
}

TEST(BaseException, AStandardExceptionIsChainedByItsTextWithoutAPlace) {
    BaseException const exception("outer", "void outer()", "outer.cpp", 2, std::out_of_range("too far"));
    ASSERT_NE(exception.getCause(), nullptr);
    EXPECT_STREQ(exception.getCause()->what(), "too far");
    EXPECT_EQ(exception.getCause()->getFunction(), "");
    EXPECT_EQ(exception.getCause()->getFile(), "");
    EXPECT_EQ(exception.getCause()->getLine(), 0U);
}

TEST(BaseException, ACopyOutlivesTheOriginalAndItsCause) {
    BaseException const copy = [] {
        BaseException const outer("outer", "void outer()", "outer.cpp", 2, makeInner());
        return BaseException(outer);
    }();
    EXPECT_STREQ(copy.what(), "outer");
    ASSERT_NE(copy.getCause(), nullptr);
    EXPECT_STREQ(copy.getCause()->what(), "inner");
}

TEST(BaseException, CopiesDoNotThrow) {
    EXPECT_TRUE(std::is_nothrow_copy_constructible_v<BaseException>);
    EXPECT_TRUE(std::is_nothrow_copy_assignable_v<BaseException>);
}

TEST(BaseException, AnUnHandleExceptionIsABaseException) {
    UnHandleException const exception("unknown", "void raiser()", "raiser.cpp", 7);
    BaseException const& base = exception;
    EXPECT_STREQ(base.what(), "unknown");
    EXPECT_EQ(base.getFunction(), "void raiser()");
    EXPECT_EQ(base.getFile(), "raiser.cpp");
    EXPECT_EQ(base.getLine(), 7U);
}

} // namespace velmo::test
