// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "input/AxisRange.h"

#include "terminal/CheckedParsing.h"

#include <array>
#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>
#include <utility>

namespace velmo::tool {

AxisRange::AxisRange(std::string option, std::string const& text) : _option(std::move(option)) {
    std::vector<std::string> fields;
    boost::algorithm::split(fields, text, boost::algorithm::is_any_of(":"));
    bool bValid = fields.size() <= 3 && (fields.size() == 2 || !fields.back().empty());
    fields.resize(3);
    std::array<std::optional<vlUInt64>, 3> numbers;
    for (std::size_t index = 0; index < numbers.size(); ++index) {
        numbers[index] = findNumber(fields[index]);
        bValid = bValid && (numbers[index] || fields[index].empty());
    }
    _bSingle = text.find(':') == std::string::npos;
    _first = numbers[0];
    _last = _bSingle ? _first : numbers[1];
    _step = numbers[2].value_or(1);
    if (!bValid || _step == 0 || (_first && _last && *_first > *_last)) {
        refuse(text);
    }
}

void AxisRange::refuse(std::string const& text) const {
    throw WrongUse(_option +
                   " must be N or A:B[:STEP] with A not above B and STEP from 1, such as 5, 10:19 or 0:90:2; "
                   "B is included; not " +
                   quoted(text));
}

AxisIndexes AxisRange::select(vlUInt64 size, std::string const& what) const {
    vlUInt64 const first = _first.value_or(0);
    vlUInt64 const last = _last.value_or(size == 0 ? 0 : size - 1);
    if (first >= size || last >= size) {
        throw WrongUse(_option + ' ' + std::to_string(first >= size ? first : last) +
                       " does not exist: the image has " + std::to_string(size) + ' ' + what +
                       (size == 0 ? "" : ", 0 to " + std::to_string(size - 1)));
    }
    return {first, (last - first) / _step + 1, _step, _bSingle};
}

} // namespace velmo::tool
