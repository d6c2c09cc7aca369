// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOUtil/LogMessageFormater.h"

#include "VELMOUtil/LogMessageManager.h"

#include <boost/format.hpp>
#include <sstream>

namespace velmo {

// Found by boost::format through its argument, hence in no unnamed namespace.
static std::ostream& operator<<(std::ostream& os, LogMessageFormater::Streamable const& value) {
    value.put(os, value.pValue);
    return os;
}

struct LogMessageFormater::Impl {
    explicit Impl(LogMessageManager const& messages) : manager(messages) {}

    LogMessageManager const& manager;
    boost::format format;
    std::ostringstream text;
};

LogMessageFormater::LogMessageFormater(LogMessageManager const& manager) : _pImpl(new Impl(manager)) {}

LogMessageFormater::~LogMessageFormater() = default;

LogMessageFormater& LogMessageFormater::setMsgId(std::string const& domainKey, int id) {
    _pImpl->format = boost::format(_pImpl->manager.getMessage(domainKey, id));
    dumpWhenAllFed();
    return *this;
}

LogMessageFormater& LogMessageFormater::feed(Streamable const& value) {
    _pImpl->format % value;
    dumpWhenAllFed();
    return *this;
}

void LogMessageFormater::dumpWhenAllFed() {
    if (_pImpl->format.remaining_args() == 0) {
        _pImpl->text << _pImpl->format;
        _pImpl->format = boost::format();
    }
}

std::string LogMessageFormater::string() const {
    boost::format pending = _pImpl->format;
    pending.exceptions(boost::io::no_error_bits);
    return _pImpl->text.str() + pending.str();
}

void LogMessageFormater::requireAllFed() const {
    if (_pImpl->format.remaining_args() != 0) {
        throw boost::io::too_few_args(static_cast<std::size_t>(_pImpl->format.fed_args()),
                                      static_cast<std::size_t>(_pImpl->format.expected_args()));
    }
}

std::ostream& LogMessageFormater::getStream() {
    return _pImpl->text;
}

} // namespace velmo
