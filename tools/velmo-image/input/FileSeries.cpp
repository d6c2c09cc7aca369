// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "input/FileSeries.h"

#include "input/FileFormat.h"
#include "terminal/Failure.h"
#include "terminal/Interrupt.h"
#include "terminal/Terminal.h"

#include <algorithm>
#include <boost/algorithm/string/case_conv.hpp>
#include <boost/algorithm/string/join.hpp>
#include <boost/filesystem/operations.hpp>
#include <boost/lexical_cast/bad_lexical_cast.hpp>

namespace velmo::tool {

namespace {

namespace fs = boost::filesystem;
using image::file::TiffFileSeries;
using Files = std::vector<TiffFileSeries::File>;

/// Duplicates, and ranges of missing numbers, that are listed one by one.
constexpr std::size_t g_maxListed = 10;

std::string const g_keyword("<INDEX>");

/// A word that begins like the keyword, in upper or lower case, and is another one, up to its ">" or the
/// first character that is no letter; empty where there is none.
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

/// The name of a file of the directory, preferably a TIFF file, never a hidden one; empty where there is
/// none.
std::string chooseExample(fs::path const& directory) {
    std::string example;
    for (TiffFileSeries::File const& file : findSeries(directory, "*").files) {
        std::string name = file.path.filename().string();
        if (name.front() != '.' && chooseInputFormat(name, "") == eFileFormat::Tiff) {
            return name;
        }
        example = example.empty() && name.front() != '.' ? name : example;
    }
    return example;
}

[[noreturn]] void failToList(fs::path const& directory, fs::filesystem_error const& failure) {
    fs::path const& path = failure.path1().empty() ? directory : failure.path1();
    throw WorkFailure("cannot list " + quoted(path.string()) + ": " + failure.code().message());
}

bool hasLowerNumber(TiffFileSeries::File const& left, TiffFileSeries::File const& right) {
    return left.number < right.number;
}

void addDuplicates(TiffFileSeries const& series, std::vector<std::string>& problems) {
    std::size_t const nbListed = std::min(series.duplicates.size(), g_maxListed);
    for (std::size_t index = 0; index < nbListed; ++index) {
        TiffFileSeries::File const& duplicate = series.duplicates[index];
        auto const first =
            std::lower_bound(series.files.begin(), series.files.end(), duplicate, hasLowerNumber);
        problems.push_back("ignored " + quoted(duplicate.path.filename().string()) + ": it has the number " +
                           std::to_string(*duplicate.number) + " of " +
                           quoted(first->path.filename().string()));
    }
    if (nbListed < series.duplicates.size()) {
        problems.push_back("ignored " + std::to_string(series.duplicates.size() - nbListed) +
                           " more files with duplicate numbers");
    }
}

void addGaps(TiffFileSeries const& series, std::vector<std::string>& problems) {
    std::vector<std::string> ranges;
    vlUInt64 nbUnlisted = 0;
    for (TiffFileSeries::Gap const& gap : series.gaps) {
        if (ranges.size() < g_maxListed) {
            ranges.push_back(std::to_string(gap.first) +
                             (gap.first == gap.last ? "" : '-' + std::to_string(gap.last)));
        } else {
            nbUnlisted += gap.last - gap.first + 1;
        }
    }
    if (!ranges.empty()) {
        problems.push_back("missing " + boost::algorithm::join(ranges, ", ") +
                           (nbUnlisted == 0 ? "" : " and " + std::to_string(nbUnlisted) + " more numbers"));
    }
}

} // namespace

TiffFileSeries findSeries(fs::path const& directory, std::string const& pattern) {
    PromptInterrupts const prompt;
    try {
        return image::file::findTiffFiles(directory, pattern);
    } catch (fs::filesystem_error const& failure) {
        failToList(directory, failure);
    } catch (boost::bad_lexical_cast const& failure) {
        throw WorkFailure(failure.what());
    }
}

TiffFileSeries selectSeries(std::vector<std::string> const& names, std::string const& pattern) {
    try {
        return image::file::selectTiffFiles(names, pattern);
    } catch (boost::bad_lexical_cast const& failure) {
        throw WorkFailure(failure.what());
    }
}

Files listMatches(TiffFileSeries const& series) {
    Files matches = series.files;
    matches.insert(matches.end(), series.duplicates.begin(), series.duplicates.end());
    std::stable_sort(matches.begin(), matches.end(), hasLowerNumber);
    return matches;
}

std::string explainNoMatch(std::string const& directory, std::string const& pattern) {
    std::string const example = chooseExample(directory);
    bool const bKeywordHelps = pattern.find(g_keyword) == std::string::npos &&
                               example.find_first_of("0123456789") != std::string::npos;
    return "no file in " + quoted(directory) + " matches " + quoted(pattern) +
           (example.empty() ? "; the directory has no files" : "; one of its files is " + quoted(example)) +
           (bKeywordHelps ? "; " + g_keyword + " stands for the number in a name" : "");
}

void warnOfMistakenKeyword(std::string const& pattern) {
    std::string const mistaken = findMistakenKeyword(pattern);
    if (!mistaken.empty()) {
        printMessage("warning: " + quoted(mistaken) + " in " + quoted(pattern) +
                     " matches its own letters; the keyword for a number is \"<INDEX>\"");
    }
}

void reportProblems(TiffFileSeries const& series, bool bStrict) {
    std::vector<std::string> problems;
    addDuplicates(series, problems);
    addGaps(series, problems);
    if (bStrict && !problems.empty()) {
        throw WorkFailure(boost::algorithm::join(problems, "\n"));
    }
    for (std::string const& problem : problems) {
        printMessage("warning: " + problem);
    }
}

} // namespace velmo::tool
