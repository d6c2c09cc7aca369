// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/NumberText.h"

#include <array>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <nlohmann/json.hpp>

namespace velmo::tool {

namespace {

bool isShortWhole(double value) {
    constexpr double limit = 1e15;
    return std::abs(value) < limit && value == std::trunc(value);
}

template <class... Format>
std::string toChars(Format const&... format) {
    std::array<char, 64> text{};
    auto const end = std::to_chars(text.data(), text.data() + text.size(), format...);
    return std::string(text.data(), end.ptr);
}

} // namespace

std::string toText(double value, int nbDigits) {
    return isShortWhole(value) ? toChars(static_cast<std::int64_t>(value))
                               : toChars(value, std::chars_format::general, nbDigits);
}

std::string toExactText(double value) {
    return isShortWhole(value) ? toChars(static_cast<std::int64_t>(value)) : toChars(value);
}

nlohmann::ordered_json toJsonNumber(double value) {
    if (!std::isfinite(value)) {
        return nullptr;
    }
    return isShortWhole(value) ? nlohmann::ordered_json(static_cast<std::int64_t>(value))
                               : nlohmann::ordered_json(value);
}

} // namespace velmo::tool
