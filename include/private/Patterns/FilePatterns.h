// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOUtil/Types.h>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace velmo::image::file {

/// The keyword of a pattern for a number.
constexpr std::string_view g_indexKeyword = "<INDEX>";

/// A compiled pattern. Matching takes at most one step for each token and position of the name. Not
/// thread-safe.
class FilePattern {
  public:
    /// Compiles a pattern. A pattern with more than one number is raised as VELMOImageFileException.
    explicit FilePattern(std::string const& pattern);

    /// Matches a name. Returns the digits that `<INDEX>` matched, which are empty if the pattern has no
    /// `<INDEX>`, or nothing if the name does not match.
    std::optional<std::string_view> match(std::string_view fileName);

  private:
    enum class eToken { Literal, AnyChar, AnySequence, Index };
    struct Token {
        eToken kind;
        std::string text;     ///< of a literal
        std::size_t stop = 0; ///< the next literal or index; the number of tokens if there is none
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
    bool _bOpenEnd = false;      ///< whether the pattern ends in a star, which has no token
    std::size_t _fixedBegin = 0; ///< from this token on, each token matches a fixed number of bytes
    bool _bNeedsRows = false;

    // State of the name that is matched.
    std::string_view _name;
    /// For each position and each token before `_fixedBegin`: whether the tokens from this one on can match
    /// from the position on.
    std::vector<char> _rows;
};

/// The patterns of a pattern string, compiled once for all names of a folder. Not thread-safe.
class FilePatterns {
  public:
    /// Splits the string. A string that mixes patterns with and without `<INDEX>` is raised as
    /// VELMOImageFileException.
    explicit FilePatterns(std::string const& patterns);

    /// Like testFilePatternMatching. Patterns after the first match are not evaluated.
    bool test(std::string const& fileName, vlUInt64& index);

  private:
    struct Entry {
        std::string text;
        std::optional<FilePattern> compiled; ///< set at the first use of the pattern
    };
    std::vector<Entry> _entries;
};

} // namespace velmo::image::file
