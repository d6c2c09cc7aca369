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

/// Where a failure is raised. The texts live as long as the library that holds them.
struct RaiseSite {
    /// @{
    /// As the compiler spells them.
    char const* function;
    char const* file;
    unsigned int line;
    /// @}
};

/// The place where it stands, for raiseGuarded.
#define VELMO_HERE                                                                                           \
    ::velmo::RaiseSite {                                                                                     \
        __PRETTY_FUNCTION__, __FILE__, static_cast<unsigned int>(__LINE__)                                   \
    }

/// Message manager, logger and exception class that belong together.
struct RaiseKind {
    /// @{
    /// Called for each raise; `throwAs` must not return.
    LogMessageManager& (*getManager)();
    log4cplus::Logger& (*getLogger)();
    void (*throwAs)(std::string const& message, RaiseSite const& site, MessageIds const& messageIds);
    /// @}
};

/// `RaiseKind::throwAs` of one exception class.
template <class Exception>
[[noreturn]] void throwAs(std::string const& message, RaiseSite const& site, MessageIds const& messageIds) {
    Exception exception(message, site.function, site.file, site.line);
    exception.setMessageIds(messageIds);
    throw exception;
}

/// Selects a message and feeds its arguments: any function object on a `LogMessageFormater&`, referred to
/// and not owned.
class FeedRef {
  public:
    /// `feed` must outlive the reference.
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

/// Formats a message, writes it at ERROR to the logger of `kind` if that is enabled, and throws it as the
/// exception of `kind` with the place `site`. UnloggedRaises keep it out of the log.
///
/// What fails on the way (a message that is not registered, arguments that do not fit, a log that throws) is
/// written to the base logger and thrown as a plain BaseException, "Exception thrown while processing
/// message", with the true cause chained. Any thread may raise at any time.
[[noreturn]] VELMO_HOST_EXPORT void raiseGuarded(RaiseSite const& site, RaiseKind const& kind, FeedRef feed);

/// While one lives, what its thread raises is thrown but not logged: for who catches every raise and reports
/// it in another way, so that one failure makes one record. They may be nested.
class VELMO_HOST_EXPORT UnloggedRaises {
  public:
    /// For the calling thread alone, on which it must be destroyed too.
    UnloggedRaises();
    ~UnloggedRaises();
    UnloggedRaises(UnloggedRaises const&) = delete;
    UnloggedRaises& operator=(UnloggedRaises const&) = delete;
};

/// Formats a message and writes it to the logger of `kind`, if that is enabled for `level` (of log4cplus);
/// else nothing is formatted. What fails on the way is thrown as of a raise. Any thread may log at any time.
VELMO_HOST_EXPORT void logGuarded(RaiseSite const& site, RaiseKind const& kind, int level, FeedRef feed);

} // namespace velmo
