// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOUtil/Export.h"

#include <map>
#include <shared_mutex>
#include <string>
#include <typeinfo>
#include <utility>

namespace velmo {

/// The message texts of one library, by domain key and id. Filled when the library is loaded. Thread-safe.
class VELMO_HOST_EXPORT LogMessageManager {
  public:
    /// The manager of that name, created at the first call. It exists until the process ends.
    static LogMessageManager& getInstance(std::string const& name);

    LogMessageManager(LogMessageManager const&) = delete;
    LogMessageManager& operator=(LogMessageManager const&) = delete;

    /// Registers a text. It replaces one of the same key and id.
    void addMessage(std::string const& domainKey, int id, std::string const& text);

    /// Same, with the domain key of the enumeration: the name of its `std::type_info`.
    template <class Domain>
    void addMessage(Domain id, std::string const& text) {
        addMessage(typeid(Domain).name(), static_cast<int>(id), text);
    }

    /// The registered text. Throws BaseException if there is none.
    std::string getMessage(std::string const& domainKey, int id) const;

  private:
    LogMessageManager() = default;

    mutable std::shared_mutex _mutex;
    std::map<std::pair<std::string, int>, std::string> _messages;
};

} // namespace velmo
