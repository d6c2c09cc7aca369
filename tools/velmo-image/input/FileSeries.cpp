// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "input/FileSeries.h"

#include "input/FileFormat.h"
#include "terminal/Failure.h"
#include "terminal/Interrupt.h"
#include "terminal/Terminal.h"

#include <VELMOImageFile/FilePatternMatching.h>
#include <algorithm>
#include <boost/algorithm/string/case_conv.hpp>
#include <boost/algorithm/string/join.hpp>
#include <boost/filesystem/operations.hpp>
#include <boost/lexical_cast/bad_lexical_cast.hpp>

namespace velmo::tool {

namespace {

namespace fs = boost::filesystem;

/// Names left out, and stretches of missing numbers, that are told one by one.
constexpr std::size_t g_maxTold = 10;

std::string toRange(vlUInt64 first, vlUInt64 last) {
    return std::to_string(first) + (first == last ? "" : '-' + std::to_string(last));
}

std::string const g_keyword("<INDEX>");

/// What begins like the keyword, whatever the case of its letters, and is another word; empty where there is
/// none. It ends where the keyword would, or before what cannot be meant to be in it.
std::string findMistakenKeyword(std::string const& pattern) {
    std::string const beginning = "<ind";
    std::string const lowerCase = boost::algorithm::to_lower_copy(pattern);
    for (std::size_t begin = lowerCase.find(beginning); begin != std::string::npos;
         begin = lowerCase.find(beginning, begin + 1)) {
        if (pattern.compare(begin, g_keyword.size(), g_keyword) != 0) {
            std::size_t const wordEnd = lowerCase.find_first_not_of("abcdefghijklmnopqrstuvwxyz", begin + 1);
            bool const bClosed = wordEnd != std::string::npos && pattern[wordEnd] == '>';
            return pattern.substr(begin, wordEnd == std::string::npos ? wordEnd : wordEnd - begin + bClosed);
        }
    }
    return {};
}

/// A TIFF file before others, and hidden ones not at all; empty where there is none.
std::string chooseExample(FileSeries const& files) {
    std::string example;
    for (FileSeries::Entry const& entry : files.getEntries()) {
        if (entry.name.front() != '.' && chooseInputFormat(entry.name, "") == eFileFormat::Tiff) {
            return entry.name;
        }
        example = example.empty() && entry.name.front() != '.' ? entry.name : example;
    }
    return example;
}

[[noreturn]] void failToList(fs::path const& directory, fs::filesystem_error const& failure) {
    fs::path const& path = failure.path1().empty() ? directory : failure.path1();
    throw WorkFailure("cannot list " + quoted(path.string()) + ": " + failure.code().message());
}

} // namespace

FileSeries::FileSeries(std::string const& pattern)
    : _bIndices(pattern.find(g_keyword) != std::string::npos) {}

FileSeries FileSeries::findIn(fs::path const& directory, std::string const& pattern) {
    FileSeries series(pattern);
    try {
        for (fs::directory_entry const& entry : fs::directory_iterator(directory)) {
            if (fs::status(entry.path()).type() != fs::directory_file) {
                series.add(pattern, entry.path().filename().string());
            }
        }
    } catch (fs::filesystem_error const& failure) {
        failToList(directory, failure);
    }
    series.sort();
    return series;
}

FileSeries FileSeries::select(std::vector<std::string> const& names, std::string const& pattern) {
    FileSeries series(pattern);
    for (std::string const& name : names) {
        series.add(pattern, name);
    }
    series.sort();
    return series;
}

void FileSeries::add(std::string const& pattern, std::string const& name) {
    throwIfInterrupted();
    vlUInt64 index = 0;
    try {
        if (image::file::testFilePatternMatching(pattern, name, index)) {
            _entries.push_back({name, index});
        }
    } catch (boost::bad_lexical_cast const&) {
        throw WorkFailure("the number in " + quoted(name) + " is beyond 64 bits");
    }
}

void FileSeries::sort() {
    bool const bIndices = _bIndices;
    std::stable_sort(_entries.begin(), _entries.end(), [=](Entry const& left, Entry const& right) {
        return bIndices ? left.index < right.index : fs::path(left.name).compare(right.name) < 0;
    });
}

bool FileSeries::isLeftOut(std::size_t entry) const {
    return _bIndices && entry != 0 && _entries[entry].index == _entries[entry - 1].index;
}

std::vector<std::string> FileSeries::findProblems() const {
    std::vector<std::string> problems;
    if (_bIndices && !_entries.empty()) {
        findDuplicates(problems);
        findGaps(problems);
    }
    return problems;
}

void FileSeries::findDuplicates(std::vector<std::string>& problems) const {
    std::size_t nbLeftOut = 0;
    std::size_t taken = 0;
    for (std::size_t entry = 0; entry < _entries.size(); ++entry) {
        if (!isLeftOut(entry)) {
            taken = entry;
        } else if (++nbLeftOut <= g_maxTold) {
            problems.push_back(quoted(_entries[entry].name) + " is left out: it has the index " +
                               std::to_string(_entries[entry].index) + " of " + quoted(_entries[taken].name) +
                               ", which comes first");
        }
    }
    if (nbLeftOut > g_maxTold) {
        problems.push_back(std::to_string(nbLeftOut - g_maxTold) + " more are left out for the same reason");
    }
}

void FileSeries::findGaps(std::vector<std::string>& problems) const {
    std::vector<std::string> ranges;
    vlUInt64 nbUntold = 0;
    for (std::size_t entry = 1; entry < _entries.size(); ++entry) {
        vlUInt64 const before = _entries[entry - 1].index;
        vlUInt64 const index = _entries[entry].index;
        if (index - before < 2) {
            continue;
        }
        if (ranges.size() < g_maxTold) {
            ranges.push_back(toRange(before + 1, index - 1));
        } else {
            nbUntold += index - before - 1;
        }
    }
    if (!ranges.empty()) {
        problems.push_back("missing " + boost::algorithm::join(ranges, ", ") +
                           (nbUntold == 0 ? "" : " and " + std::to_string(nbUntold) + " more numbers"));
    }
}

std::string explainNoMatch(std::string const& directory, std::string const& pattern) {
    std::string const example = chooseExample(FileSeries::findIn(directory, "*"));
    bool const bKeywordHelps = pattern.find(g_keyword) == std::string::npos &&
                               example.find_first_of("0123456789") != std::string::npos;
    return "no file in " + quoted(directory) + " matches " + quoted(pattern) +
           (example.empty() ? "; there is no file" : "; there is " + quoted(example)) +
           (bKeywordHelps ? ", and a number in a name is written " + g_keyword : "");
}

void tellMistakenKeyword(std::string const& pattern) {
    std::string const mistaken = findMistakenKeyword(pattern);
    if (!mistaken.empty()) {
        printMessage("warning: the keyword for a number is \"<INDEX>\", and " + quoted(mistaken) + " in " +
                     quoted(pattern) + " stands for its own letters");
    }
}

void tellProblems(FileSeries const& series, bool bStrict) {
    std::vector<std::string> const problems = series.findProblems();
    if (bStrict && !problems.empty()) {
        throw WorkFailure(boost::algorithm::join(problems, "\n"));
    }
    for (std::string const& problem : problems) {
        printMessage("warning: " + problem);
    }
}

} // namespace velmo::tool
