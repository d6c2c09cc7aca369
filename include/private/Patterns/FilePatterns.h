// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOUtil/Types.h>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velmo::image::file {

/// What stands in a pattern for a number.
constexpr std::string_view g_indexKeyword = "<INDEX>";

/// One pattern, compiled. A test takes at most a step for each token and position of the name. For one thread
/// at a time.
class FilePattern {
  public:
    /// A pattern that reads more than one number is raised as VELMOImageFileException.
    explicit FilePattern(std::string const& pattern);

    /// The digits of the name that `<INDEX>` matched, empty where the pattern has none; nothing where it does
    /// not match.
    std::optional<std::string_view> match(std::string_view fileName);

  private:
    enum class eToken { Literal, AnyChar, AnySequence, Index };
    struct Token {
        eToken kind;
        std::string text;     ///< of a literal
        std::size_t stop = 0; ///< the next literal or index; the number of tokens without
    };

    void tokenize(std::string const& pattern);
    void append(eToken kind, std::string& literal);
    void normalizeWildcards();
    void findStops();

    bool canMatchRest(std::size_t token, std::size_t position) const;
    bool canMatchFixedRest(std::size_t token, std::size_t position) const;
    bool hasLiteral(Token const& token, std::size_t position) const;
    std::size_t endOfDigits(Token const& token, std::size_t position) const;
    void fillRows();
    void fillRow(std::size_t token);

    std::vector<Token> _tokens;
    bool _bOpenEnd = false;      ///< the pattern ends in a star, which is no token of its own
    std::size_t _fixedBegin = 0; ///< from this token on all take as many bytes whatever the name
    bool _bNeedsRows = false;

    // Of the name under test
    std::string_view _name;
    /// For each position and token before the fixed ones, whether the tokens from there on can be run.
    std::vector<char> _rows;
};

/// The patterns of a pattern string, compiled once for the names of one scan. For one thread at a time.
class FilePatterns {
  public:
    /// Patterns with and without `<INDEX>` in one string are raised as VELMOImageFileException.
    explicit FilePatterns(std::string const& patterns);

    /// As testFilePatternMatching: patterns behind the first that matches are not looked at.
    bool test(std::string const& fileName, vlUInt64& index);

  private:
    struct Entry {
        std::string text;
        std::optional<FilePattern> compiled; ///< once the pattern was tried
    };
    std::vector<Entry> _entries;
};

} // namespace velmo::image::file
