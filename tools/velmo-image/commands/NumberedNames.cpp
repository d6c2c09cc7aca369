// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/NumberedNames.h"

#include "input/FileFormat.h"
#include "input/FileSeries.h"
#include "terminal/Failure.h"

#include <algorithm>

namespace velmo::tool {

namespace {

std::string const g_numberKeyword("<INDEX>");

} // namespace

NumberedNames::NumberedNames(std::string const& pattern) : _pattern(pattern) {
    std::size_t const place = pattern.find(g_numberKeyword);
    if (place == std::string::npos || pattern.find(g_numberKeyword, place + 1) != std::string::npos) {
        throw WrongUse("PATTERN must have one <INDEX>, which stands for the number of a file, such as "
                       "'z<INDEX>.tif', not " +
                       quoted(pattern));
    }
    if (pattern.find_first_of("?*|/") != std::string::npos) {
        throw WrongUse("PATTERN must be a file name without the characters ? * | and /, not " +
                       quoted(pattern));
    }
    _beginning = pattern.substr(0, place);
    _end = pattern.substr(place + g_numberKeyword.size());
    if (chooseInputFormat(_beginning + '0' + _end, "") != eFileFormat::Tiff) {
        throw WrongUse("PATTERN must end in .tif or .tiff, since the files are TIFF files, not " +
                       quoted(pattern));
    }
}

std::vector<std::string> NumberedNames::list(vlUInt64 count, vlUInt64 nbDigits) const {
    std::size_t const length =
        nbDigits != 0 ? nbDigits : std::to_string(std::max<vlUInt64>(count, 1) - 1).size();
    std::vector<std::string> names;
    names.reserve(count);
    for (vlUInt64 number = 0; number < count; ++number) {
        std::string digits = std::to_string(number);
        digits.insert(0, length - std::min(length, digits.size()), '0');
        names.push_back(_beginning + digits + _end);
    }
    auto const files = selectSeries(names, _pattern).files;
    bool const bSame =
        std::equal(files.begin(), files.end(), names.begin(), names.end(),
                   [](auto const& file, std::string const& name) { return file.path == name; });
    if (!bSame) {
        throw WrongUse("PATTERN " + quoted(_pattern) + " does not match its own files in their order");
    }
    return names;
}

} // namespace velmo::tool
