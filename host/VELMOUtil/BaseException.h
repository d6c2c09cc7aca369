// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOUtil/BoolResult.h"
#include "VELMOUtil/Export.h"

#include <exception>
#include <memory>
#include <string>

namespace velmo {

/// Root of the exceptions of the framework: a message, the place of the raise, and the cause of a chained
/// one. Copies share what they hold and do not throw.
class VELMO_HOST_EXPORT BaseException : public std::exception {
  public:
    /// Without a cause. The texts are copied.
    BaseException(std::string const& message, char const* function, char const* file, unsigned int line);
    /// The cause is kept with its own place and its own cause.
    BaseException(std::string const& message, char const* function, char const* file, unsigned int line,
                  BaseException const& cause);
    /// The cause is kept by its text; it has no place.
    BaseException(std::string const& message, char const* function, char const* file, unsigned int line,
                  std::exception const& cause);

    /// The message alone, without the cause.
    char const* what() const noexcept override;
    /// Full signature of the function that raised, as the compiler spells it.
    std::string const& getFunction() const noexcept;
    /// Source file of the raise, relative to the root of its project.
    std::string const& getFile() const noexcept;
    /// Of that file.
    unsigned int getLine() const noexcept;
    /// Null where there is none. Owned by the exception and its copies.
    BaseException const* getCause() const noexcept;
    /// Domain and id of each message in the text; empty where the text is not in a catalogue.
    MessageIds const& getMessageIds() const noexcept;
    /// Replaces the ids of this object, not those of copies made before.
    void setMessageIds(MessageIds const& messageIds);

  private:
    struct Data;
    std::shared_ptr<Data const> _data;
};

/// Stands as the cause of what was thrown outside of the `std::exception` family.
class VELMO_HOST_EXPORT UnHandleException : public BaseException {
  public:
    /// As a BaseException without a cause.
    UnHandleException(std::string const& message, char const* function, char const* file, unsigned int line)
        : BaseException(message, function, file, line) {}
};

/// The failed result for a caught exception: its text, and the ids of its messages if it is a BaseException.
VELMO_HOST_EXPORT BoolResult failure(std::exception const& caught);

} // namespace velmo
