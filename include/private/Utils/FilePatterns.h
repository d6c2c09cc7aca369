// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOUtil/Types.h>
#include <optional>
#include <string>
#include <vector>

namespace velmo {
namespace image {
namespace file {

/// One pattern, compiled. A test takes at most a step for each token and position of the name.
class FilePattern {
  public:
    /// A pattern that reads more than one number is raised as VELMOImageFileException.
    explicit FilePattern(std::string const& pattern);

    /// The digits that `<INDEX>` matched, empty where the pattern has none; nothing where it does not match.
    std::optional<std::string> match(std::string const& fileName);

  private:
    enum class eToken { Literal, AnyChar, AnySequence, Index };
    struct Token {
        eToken kind;
        std::string text; ///< of a literal
    };

    void tokenize(std::string const& pattern);
    void append(eToken kind, std::string& literal);
    void normalizeWildcards();
    void findStops();
    void fillRows(std::string const& fileName);
    void fillRow(std::size_t token, std::string const& fileName);
    bool canRun(std::size_t token, std::size_t position) const {
        return _rows[token * _rowSize + position] != 0;
    }
    std::size_t endOfDigits(std::size_t token, std::size_t position, std::string const& fileName) const;

    std::vector<Token> _tokens;
    std::vector<std::size_t>
        _stops;             ///< for each token, the next literal or index; the number of tokens without
    bool _bOpenEnd = false; ///< the pattern ends in a star, which is no token of its own
    std::size_t _rowSize = 0;
    std::vector<char> _rows; ///< for each token and position, whether the tokens from there on can be run
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

} // namespace file
} // namespace image
} // namespace velmo
