// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include <gmock/gmock.h>
#include <log4cplus/logger.h>
#include <log4cplus/nullappender.h>

int main(int argc, char** argv) {
    // Records are looked at by the tests that expect them; without an appender log4cplus would complain.
    log4cplus::Logger::getRoot().addAppender(log4cplus::SharedAppenderPtr(new log4cplus::NullAppender));
    testing::InitGoogleMock(&argc, argv);
    return RUN_ALL_TESTS();
}
