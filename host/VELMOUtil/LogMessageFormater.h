// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOUtil/BaseException.h"
#include "VELMOUtil/BoolResult.h"
#include "VELMOUtil/Export.h"

#include <memory>
#include <ostream>
#include <string>
#include <type_traits>
#include <typeinfo>

namespace velmo {

class LogMessageManager;

/// Formats a message from its id and arguments. Not thread-safe.
class VELMO_HOST_EXPORT LogMessageFormater {
  public:
    /// The manager must outlive the formater.
    explicit LogMessageFormater(LogMessageManager const& manager);
    ~LogMessageFormater();
    LogMessageFormater(LogMessageFormater const&) = delete;
    LogMessageFormater& operator=(LogMessageFormater const&) = delete;

    /// Selects a message. A second message is appended to the text of the first one. Throws BaseException if
    /// the manager has no such message.
    LogMessageFormater& setMsgId(std::string const& domainKey, int id);

    /// Same as `setMsgId`, with the domain key of the enumeration.
    template <class Domain>
    LogMessageFormater& operator[](Domain id) {
        return setMsgId(typeid(Domain).name(), static_cast<int>(id));
    }

    /// Feeds the next placeholder with anything that can be streamed, or with the text of a BoolResult or of
    /// an exception, whose messages become inner ones of this text. Throws `boost::io::too_many_args` if
    /// all placeholders already have a value.
    template <class T>
    LogMessageFormater& operator%(T const& value) {
        if constexpr (std::is_same_v<T, BoolResult>) {
            return feedNested(value);
        } else if constexpr (std::is_base_of_v<std::exception, T>) {
            return feedNested(failure(value));
        } else {
            return feed(
                {&value, [](std::ostream& os, void const* pValue) { os << *static_cast<T const*>(pValue); }});
        }
    }

    /// The text so far; placeholders without a value are empty.
    std::string string() const;
    /// The messages selected so far, and the messages of the results and exceptions that were fed.
    MessageIds const& getMessageIds() const;

    /// Throws `boost::io::too_few_args` if a placeholder of the selected message has no value.
    void requireAllFed() const;

    /// The stream of the text, for text that is not in a catalogue.
    std::ostream& getStream();

    /// A value with its type erased. The caller owns the value.
    struct Streamable {
        /// @{
        /// The value, and a function that writes it to a stream.
        void const* pValue;
        void (*put)(std::ostream&, void const*);
        /// @}
    };

  private:
    LogMessageFormater& feed(Streamable const& value);
    LogMessageFormater& feedNested(BoolResult const& inner);
    void dumpWhenAllFed();

    struct Impl;
    std::unique_ptr<Impl> _pImpl;
};

/// The failed result with the text of the formater and the ids of its messages.
VELMO_HOST_EXPORT BoolResult failure(LogMessageFormater const& formater);

} // namespace velmo
