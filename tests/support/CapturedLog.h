// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <log4cplus/logger.h>
#include <string>
#include <vector>

namespace velmo::test {

/// What one logger, and the loggers below it, write while this object lives.
class CapturedLog {
  public:
    struct Record {
        std::string logger;
        int level;
        std::string message;
        std::string file;
        int line;
    };

    explicit CapturedLog(log4cplus::Logger const& logger);
    ~CapturedLog();
    CapturedLog(CapturedLog const&) = delete;
    CapturedLog& operator=(CapturedLog const&) = delete;

    std::vector<Record> getRecords() const;

  private:
    class Appender;

    log4cplus::Logger _logger;
    log4cplus::SharedAppenderPtr _pAppender;
};

} // namespace velmo::test
