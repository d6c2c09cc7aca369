// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include <VELMOImageFile/TiffFileSeries.h>

#include "Patterns/FilePatterns.h"

#include <algorithm>
#include <boost/filesystem/operations.hpp>
#include <boost/lexical_cast/bad_lexical_cast.hpp>

namespace velmo::image::file {

namespace {

namespace fs = boost::filesystem;
using File = TiffFileSeries::File;
using Files = std::vector<File>;

/// The exception of the patterns, with a text that names the file.
class NumberTooLarge : public boost::bad_lexical_cast {
  public:
    explicit NumberTooLarge(std::string const& name)
        : _text("the number in \"" + name + "\" is larger than 64 bits") {}
    char const* what() const noexcept override { return _text.c_str(); }

  private:
    std::string _text;
};

/// Collects the names that match.
class Selection {
  public:
    explicit Selection(std::string const& pattern)
        : _pattern(pattern), _bNumbered(pattern.find(g_indexKeyword) != std::string::npos) {}

    void add(fs::path const& path, std::string const& name) {
        if (!_patterns) { // without a name no pattern is rejected
            _patterns.emplace(_pattern);
        }
        vlUInt64 number = 0;
        if (test(name, number)) {
            _matches.push_back({path, _bNumbered ? std::optional(number) : std::nullopt});
        }
    }

    TiffFileSeries arrange() {
        std::stable_sort(_matches.begin(), _matches.end(), [](File const& left, File const& right) {
            return left.number || right.number ? left.number < right.number
                                               : left.path.compare(right.path) < 0;
        });
        TiffFileSeries series;
        for (File const& match : _matches) {
            take(match, series);
        }
        return series;
    }

  private:
    bool test(std::string const& name, vlUInt64& number) {
        try {
            return _patterns->test(name, number);
        } catch (boost::bad_lexical_cast const&) {
            throw NumberTooLarge(name);
        }
    }

    static void take(File const& match, TiffFileSeries& series) {
        if (match.number && !series.files.empty()) {
            vlUInt64 const last = *series.files.back().number;
            if (*match.number == last) {
                series.duplicates.push_back(match);
                return;
            }
            if (*match.number - last > 1) {
                series.gaps.push_back({last + 1, *match.number - 1});
            }
        }
        series.files.push_back(match);
    }

    std::string const& _pattern;
    bool const _bNumbered;
    std::optional<FilePatterns> _patterns;
    Files _matches;
};

} // namespace

TiffFileSeries findTiffFiles(fs::path const& directory, std::string const& pattern) {
    Selection selection(pattern);
    for (fs::directory_entry const& entry : fs::directory_iterator(directory)) {
        if (fs::status(entry.path()).type() != fs::directory_file) {
            selection.add(entry.path(), entry.path().filename().string());
        }
    }
    return selection.arrange();
}

TiffFileSeries selectTiffFiles(std::vector<std::string> const& names, std::string const& pattern) {
    Selection selection(pattern);
    for (std::string const& name : names) {
        selection.add(name, name);
    }
    return selection.arrange();
}

} // namespace velmo::image::file
