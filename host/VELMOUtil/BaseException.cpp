// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOUtil/BaseException.h"

namespace velmo {

struct BaseException::Data {
    std::string message;
    std::string function;
    std::string file;
    unsigned int line = 0;
    std::shared_ptr<BaseException const> cause;
    MessageIds messageIds;
};

BaseException::BaseException(std::string const& message, char const* function, char const* file,
                             unsigned int line)
    : _data(std::make_shared<Data const>(Data{message, function, file, line, nullptr, {}})) {}

BaseException::BaseException(std::string const& message, char const* function, char const* file,
                             unsigned int line, BaseException const& cause)
    : _data(std::make_shared<Data const>(
          Data{message, function, file, line, std::make_shared<BaseException const>(cause), {}})) {}

BaseException::BaseException(std::string const& message, char const* function, char const* file,
                             unsigned int line, std::exception const& cause)
    : BaseException(message, function, file, line, BaseException(cause.what(), "", "", 0)) {}

char const* BaseException::what() const noexcept {
    return _data->message.c_str();
}

std::string const& BaseException::getFunction() const noexcept {
    return _data->function;
}

std::string const& BaseException::getFile() const noexcept {
    return _data->file;
}

unsigned int BaseException::getLine() const noexcept {
    return _data->line;
}

BaseException const* BaseException::getCause() const noexcept {
    return _data->cause.get();
}

MessageIds const& BaseException::getMessageIds() const noexcept {
    return _data->messageIds;
}

void BaseException::setMessageIds(MessageIds const& messageIds) {
    auto data = std::make_shared<Data>(*_data);
    data->messageIds = messageIds;
    _data = std::move(data);
}

BoolResult failure(std::exception const& caught) {
    auto const* const pOurs = dynamic_cast<BaseException const*>(&caught);
    return failure(caught.what(), pOurs == nullptr ? MessageIds() : pOurs->getMessageIds());
}

} // namespace velmo
