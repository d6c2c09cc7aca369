// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include <VELMOImageFile/FilePatternMatching.h>

#include "Frame/FailureText.h"
#include "Patterns/FilePatterns.h"

#include <VELMOImageFile/ImageFileUtilsMessage.h>
#include <algorithm>
#include <boost/lexical_cast/bad_lexical_cast.hpp>
#include <charconv>
#include <cstring>

namespace velmo::image::file {

namespace {

constexpr char g_anyCharKeyword = '?';
constexpr char g_anySequenceKeyword = '*';
constexpr char g_separator = '|';

bool isDigit(char character) {
    return character >= '0' && character <= '9';
}

bool hasIndex(std::string const& pattern) {
    return pattern.find(g_indexKeyword) != std::string::npos;
}

/// A number that overflows 64 bits throws boost::bad_lexical_cast.
vlUInt64 toNumber(std::string_view digits) {
    vlUInt64 number = 0;
    char const* const end = digits.data() + digits.size();
    if (std::from_chars(digits.data(), end, number).ec != std::errc()) {
        throw boost::bad_lexical_cast(typeid(std::string), typeid(vlUInt64));
    }
    return number;
}

} // namespace

FilePattern::FilePattern(std::string const& pattern) {
    tokenize(pattern);
    normalizeWildcards();
    auto const isIndex = [](Token const& token) { return token.kind == eToken::Index; };
    if (std::count_if(_tokens.begin(), _tokens.end(), isIndex) > 1) {
        raise(VELMO_HERE, eImageFileUtilsMessage::eIFUM_MultipleIndexKeywords, pattern);
    }
    // An empty pattern matches everything, like a single star.
    _bOpenEnd = _tokens.empty() || _tokens.back().kind == eToken::AnySequence;
    if (!_tokens.empty() && _bOpenEnd) {
        _tokens.pop_back();
    }
    findStops();
}

void FilePattern::tokenize(std::string const& pattern) {
    _tokens.reserve(4);
    std::string literal;
    for (std::size_t position = 0; position < pattern.size();) {
        if (pattern.compare(position, g_indexKeyword.size(), g_indexKeyword) == 0) {
            append(eToken::Index, literal);
            position += g_indexKeyword.size();
            continue;
        }
        char const character = pattern[position++];
        if (character == g_anySequenceKeyword) {
            append(eToken::AnySequence, literal);
        } else if (character == g_anyCharKeyword) {
            append(eToken::AnyChar, literal);
        } else {
            literal += character;
        }
    }
    if (!literal.empty()) {
        _tokens.push_back({eToken::Literal, literal, 0});
    }
}

/// Appends the literal before a keyword, which is cleared, and then the keyword.
void FilePattern::append(eToken kind, std::string& literal) {
    if (!literal.empty()) {
        _tokens.push_back({eToken::Literal, literal, 0});
        literal.clear();
    }
    _tokens.push_back({kind, {}, 0});
}

/// In a run of wildcards, moves the star behind all `?`, and keeps one star.
void FilePattern::normalizeWildcards() {
    auto const isWildcard = [](Token const& token) {
        return token.kind == eToken::AnyChar || token.kind == eToken::AnySequence;
    };
    auto const isStar = [](Token const& token) { return token.kind == eToken::AnySequence; };
    for (auto next = std::find_if(_tokens.begin(), _tokens.end(), isStar); next != _tokens.end();
         next = std::find_if(next, _tokens.end(), isStar)) {
        auto const end = std::find_if_not(next, _tokens.end(), isWildcard);
        auto const star = std::remove_if(next, end, isStar);
        *star = {eToken::AnySequence, {}, 0};
        next = _tokens.erase(star + 1, end);
    }
}

void FilePattern::findStops() {
    std::size_t stop = _tokens.size();
    for (std::size_t token = _tokens.size(); token-- > 0;) {
        eToken const kind = _tokens[token].kind;
        _tokens[token].stop = stop;
        stop = kind == eToken::Literal || kind == eToken::Index ? token : stop;
    }
    auto const isRun = [](Token const& token) {
        return token.kind == eToken::AnySequence || token.kind == eToken::Index;
    };
    _fixedBegin =
        static_cast<std::size_t>(_tokens.rend() - std::find_if(_tokens.rbegin(), _tokens.rend(), isRun));
    _bNeedsRows = std::any_of(_tokens.begin(), _tokens.end(),
                              [&](Token const& token) { return isRun(token) && token.stop < _fixedBegin; });
}

std::optional<std::string_view> FilePattern::match(std::string_view fileName) {
    _name = fileName;
    _rows.clear();
    std::string_view digits;
    std::size_t position = 0;
    for (std::size_t token = 0; token < _tokens.size(); ++token) {
        Token const& current = _tokens[token];
        switch (current.kind) {
        case eToken::Literal:
            if (!hasLiteral(current, position)) {
                return std::nullopt;
            }
            position += current.text.size();
            break;
        case eToken::AnyChar:
            if (position == _name.size()) {
                return std::nullopt;
            }
            ++position;
            break;
        case eToken::AnySequence:
            fillRows();
            while (position < _name.size() && !canMatchRest(token + 1, position)) {
                ++position;
            }
            break;
        case eToken::Index:
            fillRows();
            digits = _name.substr(position, endOfDigits(current, position) - position);
            if (digits.empty()) {
                return std::nullopt;
            }
            position += digits.size();
            break;
        }
    }
    return _bOpenEnd || position == _name.size() ? std::optional(digits) : std::nullopt;
}

bool FilePattern::hasLiteral(Token const& token, std::size_t position) const {
    std::string const& text = token.text;
    return text.size() <= _name.size() - position && text.front() == _name[position] &&
           std::memcmp(text.data(), _name.data() + position, text.size()) == 0;
}

/// The end of the digits: the first place at which the rest of the pattern can match, if the rest contains a
/// stop.
std::size_t FilePattern::endOfDigits(Token const& token, std::size_t position) const {
    bool const bHasStop = token.stop < _tokens.size();
    while (position < _name.size() && isDigit(_name[position]) &&
           !(bHasStop && canMatchRest(token.stop, position))) {
        ++position;
    }
    return position;
}

/// Whether the tokens from this one on can match from a position on.
bool FilePattern::canMatchRest(std::size_t token, std::size_t position) const {
    return token < _fixedBegin ? _rows[token * (_name.size() + 1) + position] != 0
                               : canMatchFixedRest(token, position);
}

bool FilePattern::canMatchFixedRest(std::size_t token, std::size_t position) const {
    for (; token < _tokens.size(); ++token) {
        Token const& current = _tokens[token];
        if (current.kind == eToken::Literal ? !hasLiteral(current, position) : position == _name.size()) {
            return false;
        }
        position += current.kind == eToken::Literal ? current.text.size() : 1;
    }
    return true;
}

/// Fills the table, once for each name. The table is not needed if each rest that is tested has a fixed
/// length, as in a pattern with one star or number.
void FilePattern::fillRows() {
    if (_bNeedsRows && _rows.empty()) {
        _rows.resize(_fixedBegin * (_name.size() + 1));
        for (std::size_t token = _fixedBegin; token-- > 0;) {
            fillRow(token);
        }
    }
}

void FilePattern::fillRow(std::size_t token) {
    Token const& current = _tokens[token];
    char* const pRow = _rows.data() + token * (_name.size() + 1);
    std::size_t end = _name.size(); // end of the digits that start at a position
    for (std::size_t position = _name.size() + 1; position-- > 0;) {
        bool const bAtEnd = position == _name.size();
        bool bMatches = false;
        switch (current.kind) {
        case eToken::Literal:
            bMatches =
                hasLiteral(current, position) && canMatchRest(token + 1, position + current.text.size());
            break;
        case eToken::AnyChar:
            bMatches = !bAtEnd && canMatchRest(token + 1, position + 1);
            break;
        case eToken::AnySequence:
            bMatches = canMatchRest(token + 1, position) || (!bAtEnd && pRow[position + 1] != 0);
            break;
        case eToken::Index: {
            bool const bStops = current.stop < _tokens.size() && canMatchRest(current.stop, position);
            end = !bAtEnd && isDigit(_name[position]) && !bStops ? end : position;
            bMatches = end != position && canMatchRest(token + 1, end);
            break;
        }
        }
        pRow[position] = bMatches ? 1 : 0;
    }
}

FilePatterns::FilePatterns(std::string const& patterns) {
    for (std::size_t begin = 0, end = 0; end != std::string::npos;
         begin = end + 1) { // an empty alternative is a pattern too
        end = patterns.find(g_separator, begin);
        _entries.push_back({patterns.substr(begin, end - begin), std::nullopt});
    }
    bool const bIndex = hasIndex(_entries.front().text);
    bool const bMixed = std::any_of(_entries.begin(), _entries.end(),
                                    [&](Entry const& entry) { return hasIndex(entry.text) != bIndex; });
    if (bMixed) {
        raise(VELMO_HERE, eImageFileUtilsMessage::eIFUM_MixedPatterns, patterns);
    }
}

bool FilePatterns::test(std::string const& fileName, vlUInt64& index) {
    for (Entry& entry : _entries) {
        if (!entry.compiled) {
            entry.compiled.emplace(entry.text);
        }
        auto const digits = entry.compiled->match(fileName);
        if (digits) {
            index = digits->empty() ? index : toNumber(*digits);
            return true;
        }
    }
    return false;
}

bool testFilePatternMatching(std::string const& patterns, std::string const& fileName, vlUInt64& index) {
    return FilePatterns(patterns).test(fileName, index);
}

} // namespace velmo::image::file
