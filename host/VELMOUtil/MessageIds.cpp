// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOUtil/MessageIds.h"

#include <algorithm>
#include <cstdlib>
#include <cxxabi.h>

namespace velmo {

namespace {

MessageId const& getNoMessage() noexcept {
    static MessageId const none;
    return none;
}

std::string demangle(std::string const& typeName) {
    int status = 0;
    std::unique_ptr<char, void (*)(void*)> const pName(
        abi::__cxa_demangle(typeName.c_str(), nullptr, nullptr, &status), std::free);
    return status == 0 ? pName.get() : typeName;
}

/// Removes the last component of a qualified name and returns it.
std::string takeLast(std::string& name) {
    auto const separator = name.rfind("::");
    bool const bOnly = separator == std::string::npos;
    std::string last = bOnly ? name : name.substr(separator + 2);
    name.resize(bOnly ? 0 : separator);
    return last;
}

} // namespace

std::vector<MessageId> const& MessageIds::getAll() const noexcept {
    static std::vector<MessageId> const none;
    return _pIds ? *_pIds : none;
}

MessageId const& MessageIds::getOutermost() const noexcept {
    return _pIds ? _pIds->front() : getNoMessage();
}

MessageId const& MessageIds::getInnermost() const noexcept {
    return _pIds ? _pIds->back() : getNoMessage();
}

bool MessageIds::contains(std::string const& domain, int id) const noexcept {
    auto const& ids = getAll();
    return std::any_of(ids.begin(), ids.end(),
                       [&](MessageId const& one) { return one.id == id && one.domain == domain; });
}

void MessageIds::add(std::string const& domain, int id) {
    auto pIds = std::make_shared<std::vector<MessageId>>(getAll());
    pIds->push_back({domain, id});
    _pIds = std::move(pIds);
}

void MessageIds::add(MessageIds const& inner) {
    if (!inner._pIds) {
        return;
    }
    auto pIds = std::make_shared<std::vector<MessageId>>(getAll());
    pIds->insert(pIds->end(), inner._pIds->begin(), inner._pIds->end());
    _pIds = std::move(pIds);
}

std::string MessageIds::nameDomain(std::string const& domainKey) {
    std::string name = demangle(domainKey);
    std::string const last = takeLast(name);
    return last == "domain" && !name.empty() ? takeLast(name) : last;
}

} // namespace velmo
