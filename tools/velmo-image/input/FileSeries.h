// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOUtil/Types.h>
#include <boost/filesystem/path.hpp>
#include <string>
#include <vector>

namespace velmo::tool {

/// The names that match a pattern, in the order in which the load of a directory takes them: by their numbers
/// where the pattern reads one, else as paths compare. Names of one number stay in the order in which they
/// were met, and of these a load takes the first alone.
class FileSeries {
  public:
    struct Entry {
        std::string name;
        vlUInt64 index; ///< 0 where the pattern reads none
    };

    /// The files of a directory itself, links followed, folders left out.
    static FileSeries findIn(boost::filesystem::path const& directory, std::string const& pattern);
    static FileSeries select(std::vector<std::string> const& names, std::string const& pattern);

    bool hasIndices() const { return _bIndices; }
    /// All matches, also those that a load leaves out.
    std::vector<Entry> const& getEntries() const { return _entries; }

    /// Names that share a number and numbers that no name has, between the lowest and the highest: a sentence
    /// each, of a bounded number and length.
    std::vector<std::string> findProblems() const;

  private:
    explicit FileSeries(std::string const& pattern);
    void add(std::string const& pattern, std::string const& name);
    void sort();
    bool isLeftOut(std::size_t entry) const;
    void findDuplicates(std::vector<std::string>& problems) const;
    void findGaps(std::vector<std::string>& problems) const;

    bool _bIndices;
    std::vector<Entry> _entries;
};

/// The message where no file of a directory matches: with the name of one that is there, and with the keyword
/// where the pattern lacks it.
std::string explainNoMatch(std::string const& directory, std::string const& pattern);

/// Prints a warning where the pattern has something that was meant as `<INDEX>` and is not: it is matched as
/// the letters that it has.
void tellMistakenKeyword(std::string const& pattern);

/// Prints the problems as warnings, or, with `bStrict`, throws them as one WorkFailure.
void tellProblems(FileSeries const& series, bool bStrict);

} // namespace velmo::tool
