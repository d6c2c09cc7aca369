// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include <VELMOImageFile/FilePatternMatching.h>

#include "Utils/FailureText.h"
#include "Utils/FilePatterns.h"

#include <VELMOImageFile/ImageFileUtilsMessage.h>
#include <algorithm>
#include <boost/lexical_cast.hpp>

namespace velmo {
namespace image {
namespace file {

namespace {

std::string const g_indexKeyword = "<INDEX>";
constexpr char g_anyCharKeyword = '?';
constexpr char g_anySequenceKeyword = '*';
constexpr char g_separator = '|';

bool isDigit(char character) {
    return character >= '0' && character <= '9';
}

bool hasIndex(std::string const& pattern) {
    return pattern.find(g_indexKeyword) != std::string::npos;
}

/// Empty pieces are patterns too.
std::vector<std::string> split(std::string const& patterns) {
    std::vector<std::string> pieces(1);
    for (char const character : patterns) {
        if (character == g_separator) {
            pieces.emplace_back();
        } else {
            pieces.back() += character;
        }
    }
    return pieces;
}

} // namespace

FilePattern::FilePattern(std::string const& pattern) {
    tokenize(pattern);
    normalizeWildcards();
    auto const isIndex = [](Token const& token) { return token.kind == eToken::Index; };
    if (std::count_if(_tokens.begin(), _tokens.end(), isIndex) > 1) {
        raise(VELMO_HERE, eImageFileUtilsMessage::eIFUM_MultipleIndexKeywords, pattern);
    }
    // An empty pattern takes everything, as a single star does.
    _bOpenEnd = _tokens.empty() || _tokens.back().kind == eToken::AnySequence;
    if (!_tokens.empty() && _bOpenEnd) {
        _tokens.pop_back();
    }
    findStops();
}

void FilePattern::tokenize(std::string const& pattern) {
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
        _tokens.push_back({eToken::Literal, literal});
    }
}

/// Appends a keyword behind the literal before it, which becomes empty.
void FilePattern::append(eToken kind, std::string& literal) {
    if (!literal.empty()) {
        _tokens.push_back({eToken::Literal, literal});
        literal.clear();
    }
    _tokens.push_back({kind, {}});
}

/// From a star on, a run of wildcards becomes its "?" and one star behind them.
void FilePattern::normalizeWildcards() {
    auto const isWildcard = [](Token const& token) {
        return token.kind == eToken::AnyChar || token.kind == eToken::AnySequence;
    };
    auto const isStar = [](Token const& token) { return token.kind == eToken::AnySequence; };
    for (auto next = std::find_if(_tokens.begin(), _tokens.end(), isStar); next != _tokens.end();
         next = std::find_if(next, _tokens.end(), isStar)) {
        auto const end = std::find_if_not(next, _tokens.end(), isWildcard);
        auto const star = std::remove_if(next, end, isStar);
        *star = {eToken::AnySequence, {}};
        next = _tokens.erase(star + 1, end);
    }
}

void FilePattern::findStops() {
    _stops.assign(_tokens.size() + 1, _tokens.size());
    for (std::size_t token = _tokens.size(); token-- > 1;) {
        bool const bStop = _tokens[token].kind == eToken::Literal || _tokens[token].kind == eToken::Index;
        _stops[token - 1] = bStop ? token : _stops[token];
    }
}

std::optional<std::string> FilePattern::match(std::string const& fileName) {
    std::string digits;
    std::size_t position = 0;
    _rowSize = 0;
    for (std::size_t token = 0; token < _tokens.size(); ++token) {
        eToken const kind = _tokens[token].kind;
        if (kind == eToken::Literal) {
            std::string const& text = _tokens[token].text;
            if (fileName.compare(position, text.size(), text) != 0) {
                return std::nullopt;
            }
            position += text.size();
            continue;
        }
        if (kind == eToken::AnyChar) {
            if (position == fileName.size()) {
                return std::nullopt;
            }
            ++position;
            continue;
        }
        if (_rowSize == 0) {
            fillRows(fileName);
        }
        if (kind == eToken::AnySequence) {
            while (position < fileName.size() && !canRun(token + 1, position)) {
                ++position;
            }
            continue;
        }
        std::size_t const end = endOfDigits(token, position, fileName);
        if (end == position) {
            return std::nullopt;
        }
        digits = fileName.substr(position, end - position);
        position = end;
    }
    return _bOpenEnd || position == fileName.size() ? std::optional(digits) : std::nullopt;
}

/// Digits end where the pattern can go on, if something of it is left that can be a stop.
std::size_t FilePattern::endOfDigits(std::size_t token, std::size_t position,
                                     std::string const& fileName) const {
    std::size_t const stop = _stops[token];
    bool const bHasStop = stop < _tokens.size();
    while (position < fileName.size() && isDigit(fileName[position]) &&
           !(bHasStop && canRun(stop, position))) {
        ++position;
    }
    return position;
}

void FilePattern::fillRows(std::string const& fileName) {
    _rowSize = fileName.size() + 1;
    _rows.assign((_tokens.size() + 1) * _rowSize, 0);
    std::fill(_rows.end() - static_cast<std::ptrdiff_t>(_rowSize), _rows.end(), 1);
    for (std::size_t token = _tokens.size(); token-- > 0;) {
        fillRow(token, fileName);
    }
}

void FilePattern::fillRow(std::size_t token, std::string const& fileName) {
    char* const pRow = _rows.data() + token * _rowSize;
    std::string const& text = _tokens[token].text;
    std::size_t end = fileName.size(); // of the digits from a position on
    for (std::size_t position = _rowSize; position-- > 0;) {
        bool const bAtEnd = position == fileName.size();
        bool bRuns = false;
        switch (_tokens[token].kind) {
        case eToken::Literal:
            bRuns = fileName.compare(position, text.size(), text) == 0 &&
                    canRun(token + 1, position + text.size());
            break;
        case eToken::AnyChar:
            bRuns = !bAtEnd && canRun(token + 1, position + 1);
            break;
        case eToken::AnySequence:
            bRuns = canRun(token + 1, position) || (!bAtEnd && pRow[position + 1] != 0);
            break;
        case eToken::Index: {
            bool const bStops = _stops[token] < _tokens.size() && canRun(_stops[token], position);
            end = !bAtEnd && isDigit(fileName[position]) && !bStops ? end : position;
            bRuns = end != position && canRun(token + 1, end);
            break;
        }
        }
        pRow[position] = bRuns ? 1 : 0;
    }
}

FilePatterns::FilePatterns(std::string const& patterns) {
    for (std::string& text : split(patterns)) {
        _entries.push_back({std::move(text), std::nullopt});
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
            index = digits->empty() ? index : boost::lexical_cast<vlUInt64>(*digits);
            return true;
        }
    }
    return false;
}

bool testFilePatternMatching(std::string const& patterns, std::string const& fileName, vlUInt64& index) {
    return FilePatterns(patterns).test(fileName, index);
}

} // namespace file
} // namespace image
} // namespace velmo
