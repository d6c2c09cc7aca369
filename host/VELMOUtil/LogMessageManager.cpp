// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOUtil/LogMessageManager.h"

#include "VELMOUtil/BaseException.h"

#include <memory>
#include <mutex>

namespace velmo {

LogMessageManager& LogMessageManager::getInstance(std::string const& name) {
    static std::mutex mutex;
    static std::map<std::string, std::unique_ptr<LogMessageManager>> managers;
    std::lock_guard<std::mutex> const lock(mutex);
    auto& pManager = managers[name];
    if (!pManager) {
        pManager.reset(new LogMessageManager);
    }
    return *pManager;
}

void LogMessageManager::addMessage(std::string const& domainKey, int id, std::string const& text) {
    std::unique_lock<std::shared_mutex> const lock(_mutex);
    _messages[{domainKey, id}] = text;
}

std::string LogMessageManager::getMessage(std::string const& domainKey, int id) const {
    std::shared_lock<std::shared_mutex> const lock(_mutex);
    auto const found = _messages.find({domainKey, id});
    if (found == _messages.end()) {
        throw BaseException("No message with id " + std::to_string(id) + " in domain " + domainKey,
                            __PRETTY_FUNCTION__, __FILE__, __LINE__);
    }
    return found->second;
}

} // namespace velmo
