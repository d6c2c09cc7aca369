// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOUtil/BoolResult.h"
#include "VELMOUtil/Export.h"

#include <exception>
#include <memory>
#include <string>

namespace velmo {

/// Base class of the exceptions of the framework: message, place of the raise, and optionally a cause.
/// Copying does not throw; copies share their data.
class VELMO_HOST_EXPORT BaseException : public std::exception {
  public:
    /// An exception without a cause. The texts are copied.
    BaseException(std::string const& message, char const* function, char const* file, unsigned int line);
    /// An exception with a cause, which keeps its own place and cause.
    BaseException(std::string const& message, char const* function, char const* file, unsigned int line,
                  BaseException const& cause);
    /// An exception with a cause of which only the text is kept.
    BaseException(std::string const& message, char const* function, char const* file, unsigned int line,
                  std::exception const& cause);

    /// The message, without that of the cause.
    char const* what() const noexcept override;
    /// Full signature of the function that raised the exception, as the compiler writes it.
    std::string const& getFunction() const noexcept;
    /// Source file of the raise, relative to the root of the repository.
    std::string const& getFile() const noexcept;
    /// Line of the raise in that file.
    unsigned int getLine() const noexcept;
    /// The cause; null if there is none. Owned by the exception and its copies.
    BaseException const* getCause() const noexcept;
    /// Domain and id of each message in the text; empty where the text is not in a catalogue.
    MessageIds const& getMessageIds() const noexcept;
    /// Replaces the ids of this object, not those of copies made before.
    void setMessageIds(MessageIds const& messageIds);

  private:
    struct Data;
    std::shared_ptr<Data const> _data;
};

/// Cause of an exception that was not derived from `std::exception`.
class VELMO_HOST_EXPORT UnHandleException : public BaseException {
  public:
    /// Same as a BaseException without a cause.
    UnHandleException(std::string const& message, char const* function, char const* file, unsigned int line)
        : BaseException(message, function, file, line) {}
};

/// The failed result for a caught exception: its text, and the ids of its messages if it is a BaseException.
VELMO_HOST_EXPORT BoolResult failure(std::exception const& caught);

} // namespace velmo
