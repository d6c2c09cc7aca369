// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CapturedLog.h"

#include <log4cplus/appender.h>
#include <log4cplus/spi/loggingevent.h>
#include <mutex>

namespace velmo::test {

class CapturedLog::Appender : public log4cplus::Appender {
  public:
    ~Appender() override { destructorImpl(); }
    void close() override {}

    std::vector<Record> getRecords() const {
        std::lock_guard<std::mutex> const lock(_mutex);
        return _records;
    }

  protected:
    void append(log4cplus::spi::InternalLoggingEvent const& event) override {
        std::lock_guard<std::mutex> const lock(_mutex);
        _records.push_back({event.getLoggerName(), event.getLogLevel(), event.getMessage(), event.getFile(),
                            event.getLine()});
    }

  private:
    mutable std::mutex _mutex;
    std::vector<Record> _records;
};

CapturedLog::CapturedLog(log4cplus::Logger const& logger) : _logger(logger), _pAppender(new Appender) {
    _logger.addAppender(_pAppender);
}

CapturedLog::~CapturedLog() {
    _logger.removeAppender(_pAppender);
}

std::vector<CapturedLog::Record> CapturedLog::getRecords() const {
    return static_cast<Appender&>(*_pAppender).getRecords();
}

} // namespace velmo::test
