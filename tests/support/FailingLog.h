// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <functional>
#include <log4cplus/appender.h>
#include <log4cplus/logger.h>

namespace velmo::test {

/// A log that fails: throws at each record of a logger while it lives.
class FailingLog {
  public:
    FailingLog(log4cplus::Logger const& logger, std::function<void()> fail)
        : _logger(logger), _pAppender(new Appender(std::move(fail))) {
        _logger.addAppender(_pAppender);
    }
    ~FailingLog() { _logger.removeAppender(_pAppender); }
    FailingLog(FailingLog const&) = delete;
    FailingLog& operator=(FailingLog const&) = delete;

  private:
    class Appender : public log4cplus::Appender {
      public:
        explicit Appender(std::function<void()> fail) : _fail(std::move(fail)) {}
        ~Appender() override { destructorImpl(); }
        void close() override {}

      protected:
        void append(log4cplus::spi::InternalLoggingEvent const& /*event*/) override { _fail(); }

      private:
        std::function<void()> _fail;
    };

    log4cplus::Logger _logger;
    log4cplus::SharedAppenderPtr _pAppender;
};

} // namespace velmo::test
