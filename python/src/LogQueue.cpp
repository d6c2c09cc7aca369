// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "LogQueue.h"

#include "Text.h"

#include <VELMOUtil/Logging.h>
#include <atomic>
#include <chrono>
#include <log4cplus/appender.h>
#include <log4cplus/spi/loggingevent.h>
#include <mutex>
#include <string>
#include <vector>

namespace velmo::python {

namespace py = pybind11;

namespace {

/// Records beyond this number are counted and dropped, so that a process that never calls the module again
/// does not grow.
constexpr std::size_t g_maxRecords = 10000;

struct LogRecord {
    int level; ///< of log4cplus: 1,000 times the level of Python
    std::string message;
    std::string file;
    int line;
    double time; ///< seconds since 1970
};

struct LogRecords {
    std::vector<LogRecord> records;
    std::size_t nbDropped = 0;
};

class LogQueue {
  public:
    void push(LogRecord&& record) {
        std::lock_guard const lock(_mutex);
        if (_queued.records.size() < g_maxRecords) {
            _queued.records.push_back(std::move(record));
        } else {
            ++_queued.nbDropped;
        }
        _bEmpty = false;
    }

    bool isEmpty() const { return _bEmpty; }

    LogRecords takeAll() {
        std::lock_guard const lock(_mutex);
        _bEmpty = true;
        return std::exchange(_queued, {});
    }

  private:
    std::mutex _mutex;
    std::atomic<bool> _bEmpty{true};
    LogRecords _queued;
};

/// Never destroyed: other threads may log until the process ends.
LogQueue& getQueue() {
    static auto* const pQueue = new LogQueue();
    return *pQueue;
}

class QueueAppender : public log4cplus::Appender {
  public:
    ~QueueAppender() override { destructorImpl(); }
    void close() override { closed = true; }

  protected:
    void append(log4cplus::spi::InternalLoggingEvent const& event) override {
        auto const time = event.getTimestamp().time_since_epoch();
        getQueue().push({event.getLogLevel(), event.getMessage(), event.getFile(), event.getLine(),
                         std::chrono::duration<double>(time).count()});
    }
};

void deliver(LogRecords const& taken) {
    py::list records;
    for (LogRecord const& record : taken.records) {
        records.append(py::make_tuple(record.level / 1000, toPython(record.message), toPython(record.file),
                                      record.line, record.time));
    }
    py::module_::import("velmo_image._log").attr("deliver")(records, taken.nbDropped);
}

} // namespace

void startLogQueue() {
    log4cplus::SharedAppenderPtr const pAppender(new QueueAppender());
    getBaseLogger().addAppender(pAppender);
}

void deliverLog() noexcept {
    if (getQueue().isEmpty()) {
        return;
    }
    try {
        deliver(getQueue().takeAll());
    } catch (py::error_already_set& error) {
        error.discard_as_unraisable("velmo_image.deliver_log");
    } catch (...) { // no memory for the records: the log is best effort
    }
}

} // namespace velmo::python
