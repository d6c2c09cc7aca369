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

/// The message texts of one library, by domain key and id. Filled at load; every operation may be called from
/// any thread.
class VELMO_HOST_EXPORT LogMessageManager {
  public:
    /// The manager of that name, made at the first call and kept to the end of the process.
    static LogMessageManager& getInstance(std::string const& name);

    LogMessageManager(LogMessageManager const&) = delete;
    LogMessageManager& operator=(LogMessageManager const&) = delete;

    /// Registers a text; an earlier one of the same key and id is replaced.
    void addMessage(std::string const& domainKey, int id, std::string const& text);

    /// The same, under the key of the enumeration: its platform type-name string.
    template <class Domain>
    void addMessage(Domain id, std::string const& text) {
        addMessage(typeid(Domain).name(), static_cast<int>(id), text);
    }

    /// The text as registered. Throws a BaseException if there is none.
    std::string getMessage(std::string const& domainKey, int id) const;

  private:
    LogMessageManager() = default;

    mutable std::shared_mutex _mutex;
    std::map<std::pair<std::string, int>, std::string> _messages;
};

} // namespace velmo
