// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <log4cplus/logger.h>

namespace velmo::test {

/// The threshold of a logger for as long as this object lives.
class Threshold {
  public:
    Threshold(log4cplus::Logger const& logger, log4cplus::LogLevel level)
        : _logger(logger), _former(logger.getLogLevel()) {
        _logger.setLogLevel(level);
    }
    ~Threshold() { _logger.setLogLevel(_former); }
    Threshold(Threshold const&) = delete;
    Threshold& operator=(Threshold const&) = delete;

  private:
    log4cplus::Logger _logger;
    log4cplus::LogLevel _former;
};

} // namespace velmo::test
