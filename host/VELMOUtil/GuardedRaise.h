// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOUtil/Export.h"

#include <string>
#include <type_traits>

namespace log4cplus {
class Logger;
}

namespace velmo {

class LogMessageFormater;
class LogMessageManager;
class MessageIds;

/// The place where an error is raised. The texts must outlive it; those of VELMO_HERE are static.
struct RaiseSite {
    /// @{
    /// Signature, path and line as the compiler writes them.
    char const* function;
    char const* file;
    unsigned int line;
    /// @}
};

/// A RaiseSite of the current line.
#define VELMO_HERE                                                                                           \
    ::velmo::RaiseSite {                                                                                     \
        __PRETTY_FUNCTION__, __FILE__, static_cast<unsigned int>(__LINE__)                                   \
    }

/// Message manager, logger and exception class of one library.
struct RaiseKind {
    /// @{
    /// Called at each raise. `throwAs` must not return.
    LogMessageManager& (*getManager)();
    log4cplus::Logger& (*getLogger)();
    void (*throwAs)(std::string const& message, RaiseSite const& site, MessageIds const& messageIds);
    /// @}
};

/// `RaiseKind::throwAs` for one exception class.
template <class Exception>
[[noreturn]] void throwAs(std::string const& message, RaiseSite const& site, MessageIds const& messageIds) {
    Exception exception(message, site.function, site.file, site.line);
    exception.setMessageIds(messageIds);
    throw exception; // NOLINT(misc-throw-by-value-catch-by-reference): the ids are set before
}

/// Reference to a function object that takes a `LogMessageFormater&`, selects a message and feeds its
/// arguments. Does not own the function object.
class FeedRef {
  public:
    /// `feed` must outlive this object.
    template <class Feed, class = std::enable_if_t<!std::is_same_v<std::decay_t<Feed>, FeedRef>>>
    FeedRef(Feed const& feed)
        : _pFeed(&feed), _call([](void const* pFeed, LogMessageFormater& formater) {
              (*static_cast<Feed const*>(pFeed))(formater);
          }) {}
    /// Calls the function object.
    void operator()(LogMessageFormater& formater) const { _call(_pFeed, formater); }

  private:
    void const* _pFeed;
    void (*_call)(void const*, LogMessageFormater&);
};

/// Formats a message, logs it at ERROR to the logger of `kind` if that level is enabled, and throws it as the
/// exception of `kind` with the place `site`. It is not logged while the thread has an UnloggedRaises.
///
/// If formatting or logging fails (unregistered message, wrong number of arguments, appender that throws), a
/// plain BaseException "Exception thrown while processing message" is logged to the base logger and thrown,
/// with the failure as its cause. Thread-safe.
[[noreturn]] VELMO_HOST_EXPORT void raiseGuarded(RaiseSite const& site, RaiseKind const& kind, FeedRef feed);

/// Exceptions that its thread raises are thrown but not logged while an object of this class exists. For code
/// that catches every exception and reports it in another way, so that one error is logged once. Objects may
/// be nested.
class VELMO_HOST_EXPORT UnloggedRaises {
  public:
    /// Applies to the calling thread, which must also destroy the object.
    UnloggedRaises();
    ~UnloggedRaises();
    UnloggedRaises(UnloggedRaises const&) = delete;
    UnloggedRaises& operator=(UnloggedRaises const&) = delete;
};

/// Formats a message and logs it to the logger of `kind` if `level` (of log4cplus) is enabled; otherwise
/// nothing is formatted. If formatting or logging fails, it throws as `raiseGuarded` does. Thread-safe.
VELMO_HOST_EXPORT void logGuarded(RaiseSite const& site, RaiseKind const& kind, int level, FeedRef feed);

} // namespace velmo
