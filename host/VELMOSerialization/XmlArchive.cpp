// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOSerialization/XmlArchive.h"

#include "VELMOSerialization/VELMOSerializationLog.h"
#include "VELMOUtil/Failures.h"

#include <array>
#include <charconv>
#include <cstring>
#include <istream>
#include <ostream>
#include <pugixml.hpp>

namespace velmo {

namespace {

using Message = eVELMOSerializationMessage;

constexpr char const* g_root = "archive";
constexpr char const* g_section = "section";
constexpr char const* g_item = "item";

template <class Number>
std::string toText(Number value) {
    std::array<char, 32> text{};
    auto const end = std::to_chars(text.data(), text.data() + text.size(), value);
    return std::string(text.data(), end.ptr);
}

template <class Number>
bool fromText(std::string const& text, Number& value) {
    char const* const end = text.data() + text.size();
    auto const result = std::from_chars(text.data(), end, value);
    return result.ec == std::errc() && result.ptr == end;
}

} // namespace

struct XmlOArchive::Impl {
    std::ostream& stream;
    pugi::xml_document document;
    pugi::xml_node current;
    bool bFinished = false;

    void addItem(std::string const& name, std::string const& value) {
        if (value.find('\0') != std::string::npos) {
            raiseMessage(VELMO_HERE, g_velmoSerializationRaise, Message::eVSM_XmlZeroByte, name);
        }
        pugi::xml_node item = current.append_child(g_item);
        item.append_attribute("name") = name.c_str();
        item.append_attribute("value") = value.c_str();
    }
};

XmlOArchive::XmlOArchive(std::ostream& stream) : _pImpl(new Impl{stream, {}, {}}) {
    _pImpl->current = _pImpl->document.append_child(g_root);
}

XmlOArchive::~XmlOArchive() {
    if (!_pImpl->bFinished) {
        _pImpl->document.save(_pImpl->stream);
    }
}

void XmlOArchive::finish() {
    _pImpl->bFinished = true;
    _pImpl->document.save(_pImpl->stream);
    if (!_pImpl->stream.flush()) {
        raiseMessage(VELMO_HERE, g_velmoSerializationRaise, Message::eVSM_StreamFailed, g_root);
    }
}

void XmlOArchive::openSectionDerived(std::string const& sectionName) {
    _pImpl->current = _pImpl->current.append_child(g_section);
    _pImpl->current.append_attribute("name") = sectionName.c_str();
}

void XmlOArchive::closeSectionDerived() {
    _pImpl->current = _pImpl->current.parent();
}

void XmlOArchive::writeItem(std::string const& name, int value) {
    _pImpl->addItem(name, toText(value));
}

void XmlOArchive::writeItem(std::string const& name, unsigned int value) {
    _pImpl->addItem(name, toText(value));
}

void XmlOArchive::writeItem(std::string const& name, unsigned long value) {
    _pImpl->addItem(name, toText(value));
}

void XmlOArchive::writeItem(std::string const& name, float value) {
    _pImpl->addItem(name, toText(value));
}

void XmlOArchive::writeItem(std::string const& name, std::string const& value) {
    _pImpl->addItem(name, value);
}

struct XmlIArchive::Impl {
    pugi::xml_document document;
    pugi::xml_node current; ///< the section that is open
    pugi::xml_node next;    ///< the element of it that is read next

    pugi::xml_node take(char const* kind, std::string const& name) {
        pugi::xml_node const taken = next;
        bool const bFits =
            std::strcmp(taken.name(), kind) == 0 &&
            (kind == g_section || (name == taken.attribute("name").value() && taken.attribute("value")));
        if (!bFits) {
            raiseMessage(VELMO_HERE, g_velmoSerializationRaise, Message::eVSM_XmlItemMissing, name);
        }
        next = taken.next_sibling();
        return taken;
    }

    template <class Number>
    void takeNumber(std::string const& name, Number& value) {
        std::string const text = take(g_item, name).attribute("value").value();
        Number read{};
        if (!fromText(text, read)) {
            raiseMessage(VELMO_HERE, g_velmoSerializationRaise, Message::eVSM_XmlItemInvalid, name, text);
        }
        value = read;
    }
};

XmlIArchive::XmlIArchive(std::istream& stream) : _pImpl(new Impl) {
    pugi::xml_parse_result const result = _pImpl->document.load(stream);
    _pImpl->current = _pImpl->document.child(g_root);
    if (!result || !_pImpl->current) {
        raiseMessage(VELMO_HERE, g_velmoSerializationRaise, Message::eVSM_XmlError,
                     (result ? "no element archive" : result.description()));
    }
    _pImpl->next = _pImpl->current.first_child();
}

XmlIArchive::~XmlIArchive() = default;

void XmlIArchive::openSectionDerived(std::string const& sectionName) {
    _pImpl->current = _pImpl->take(g_section, sectionName);
    _pImpl->next = _pImpl->current.first_child();
}

void XmlIArchive::closeSectionDerived() {
    _pImpl->next = _pImpl->current.next_sibling();
    _pImpl->current = _pImpl->current.parent();
}

void XmlIArchive::readItem(std::string const& name, int& value) {
    _pImpl->takeNumber(name, value);
}

void XmlIArchive::readItem(std::string const& name, unsigned int& value) {
    _pImpl->takeNumber(name, value);
}

void XmlIArchive::readItem(std::string const& name, unsigned long& value) {
    _pImpl->takeNumber(name, value);
}

void XmlIArchive::readItem(std::string const& name, float& value) {
    _pImpl->takeNumber(name, value);
}

void XmlIArchive::readItem(std::string const& name, std::string& value) {
    value = _pImpl->take(g_item, name).attribute("value").value();
}

} // namespace velmo
