// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "input/AxisRange.h"

#include "terminal/CheckedParsing.h"

#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>
#include <utility>

namespace velmo::tool {

AxisRange::AxisRange(std::string option, std::string const& text) : _option(std::move(option)) {
    std::vector<std::string> fields;
    boost::algorithm::split(fields, text, boost::algorithm::is_any_of(":"));
    auto const parseField = [&](std::size_t index) {
        bool const bGiven = index < fields.size() && !fields[index].empty();
        return bGiven ? std::optional(parseNumber(_option, fields[index])) : std::nullopt;
    };
    _bSingle = fields.size() == 1;
    _first = parseField(0);
    _last = _bSingle ? _first : parseField(1);
    _step = parseField(2).value_or(1);
    bool const bStepMissing = fields.size() == 3 && fields[2].empty();
    if (fields.size() > 3 || bStepMissing || _step == 0 || (_bSingle && !_first) ||
        (_first && _last && *_first > *_last)) {
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
        throw WorkFailure(_option + ' ' + std::to_string(first >= size ? first : last) +
                          " does not exist: the image has " + std::to_string(size) + ' ' + what +
                          (size == 0 ? "" : ", 0 to " + std::to_string(size - 1)));
    }
    return {first, (last - first) / _step + 1, _step, _bSingle};
}

} // namespace velmo::tool
