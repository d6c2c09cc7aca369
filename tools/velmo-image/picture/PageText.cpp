// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "picture/PageText.h"

#include <nlohmann/json.hpp>

namespace velmo::tool {

namespace {

using nlohmann::json;

constexpr char const* g_replacement = "\xef\xbf\xbd"; // U+FFFD

std::string toUtf8(std::string const& text) {
    return json::parse(json(text).dump(-1, ' ', false, json::error_handler_t::replace)).get<std::string>();
}

std::string escapeCharacter(char character) {
    constexpr unsigned char firstPrintable = 0x20;
    constexpr unsigned char deletion = 0x7f;
    switch (character) {
    case '&':
        return "&amp;";
    case '<':
        return "&lt;";
    case '>':
        return "&gt;";
    case '"':
        return "&quot;";
    case '\'':
        return "&#39;";
    case '\n':
    case '\t':
        return {character};
    default:
        break;
    }
    auto const byte = static_cast<unsigned char>(character);
    return byte < firstPrintable || byte == deletion ? g_replacement : std::string{character};
}

} // namespace

std::string escapeHtml(std::string const& text) {
    std::string escaped;
    for (char const character : toUtf8(text)) {
        escaped += escapeCharacter(character);
    }
    return escaped;
}

std::string escapeJson(std::string const& document) {
    std::string escaped;
    for (char const character : document) {
        escaped += character == '<' ? std::string("\\u003c") : std::string{character};
    }
    return escaped;
}

std::string encodeBase64(std::vector<unsigned char> const& bytes) {
    constexpr char const* digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    constexpr unsigned int bitsOfByte = 8;
    constexpr unsigned int bitsOfDigit = 6;
    constexpr unsigned int mask = 63;
    std::string text;
    text.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t first = 0; first < bytes.size(); first += 3) {
        unsigned int group = 0;
        for (std::size_t index = first; index < first + 3; ++index) {
            group = group << bitsOfByte | (index < bytes.size() ? bytes[index] : 0U);
        }
        std::size_t const nbDigits = std::min<std::size_t>(3, bytes.size() - first) + 1;
        for (std::size_t index = 0; index < 4; ++index) {
            auto const shift = static_cast<unsigned int>(3 - index) * bitsOfDigit;
            text += index < nbDigits ? digits[group >> shift & mask] : '=';
        }
    }
    return text;
}

} // namespace velmo::tool
