// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOUtil/LogMessageFormater.h"

#include "VELMOUtil/LogMessageManager.h"

#include <boost/format.hpp>
#include <limits>
#include <locale>
#include <optional>
#include <sstream>

namespace velmo {

namespace {

/// libstdc++ fills the tables of a character facet at their first use, without a lock. It happens here, at
/// load, and not in threads that fail at once.
bool fillFacetTables() {
    auto const& facet = std::use_facet<std::ctype<char>>(std::locale::classic());
    for (int code = 0; code <= std::numeric_limits<unsigned char>::max(); ++code) {
        facet.narrow(static_cast<char>(code), '\0');
        facet.widen(static_cast<char>(code));
    }
    return true;
}

bool const g_bFacetTablesFilled = fillFacetTables();

} // namespace

// Found by boost::format through its argument, hence in no unnamed namespace.
static std::ostream& operator<<(std::ostream& os, LogMessageFormater::Streamable const& value) {
    value.put(os, value.pValue);
    return os;
}

struct LogMessageFormater::Impl {
    explicit Impl(LogMessageManager const& messages) : manager(messages) {
        text.imbue(std::locale::classic());
    }

    LogMessageManager const& manager;
    std::optional<boost::format> format; ///< of the message that still has placeholders to feed
    std::ostringstream text;
    MessageIds messageIds;
};

LogMessageFormater::LogMessageFormater(LogMessageManager const& manager) : _pImpl(new Impl(manager)) {}

LogMessageFormater::~LogMessageFormater() = default;

LogMessageFormater& LogMessageFormater::setMsgId(std::string const& domainKey, int id) {
    // Numbers in messages look alike whatever the program's locale is. An assignment would lose the locale.
    _pImpl->format.emplace(_pImpl->manager.getMessage(domainKey, id), std::locale::classic());
    _pImpl->messageIds.add(MessageIds::nameDomain(domainKey), id);
    dumpWhenAllFed();
    return *this;
}

LogMessageFormater& LogMessageFormater::feedNested(BoolResult const& inner) {
    *this % inner.getMessage();
    _pImpl->messageIds.add(inner.getMessageIds());
    return *this;
}

LogMessageFormater& LogMessageFormater::feed(Streamable const& value) {
    if (!_pImpl->format) {
        throw boost::io::too_many_args(1, 0);
    }
    *_pImpl->format % value;
    dumpWhenAllFed();
    return *this;
}

void LogMessageFormater::dumpWhenAllFed() {
    if (_pImpl->format->remaining_args() == 0) {
        _pImpl->text << *_pImpl->format;
        _pImpl->format.reset();
    }
}

std::string LogMessageFormater::string() const {
    if (!_pImpl->format) {
        return _pImpl->text.str();
    }
    boost::format pending = *_pImpl->format;
    pending.exceptions(boost::io::no_error_bits);
    return _pImpl->text.str() + pending.str();
}

MessageIds const& LogMessageFormater::getMessageIds() const {
    return _pImpl->messageIds;
}

void LogMessageFormater::requireAllFed() const {
    if (_pImpl->format) {
        throw boost::io::too_few_args(static_cast<std::size_t>(_pImpl->format->fed_args()),
                                      static_cast<std::size_t>(_pImpl->format->expected_args()));
    }
}

std::ostream& LogMessageFormater::getStream() {
    return _pImpl->text;
}

BoolResult failure(LogMessageFormater const& formater) {
    return failure(formater.string(), formater.getMessageIds());
}

} // namespace velmo
