// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Figure.h"

#include <algorithm>
#include <cmath>
#include <iomanip>
#include <iterator>
#include <sstream>
#include <utility>

namespace velmo::bench {

namespace {

double getQuantile(std::vector<double> values, double quantile) {
    std::sort(values.begin(), values.end());
    double const position = quantile * static_cast<double>(values.size() - 1);
    auto const below = static_cast<std::size_t>(position);
    std::size_t const above = std::min(below + 1, values.size() - 1);
    double const weight = position - std::floor(position);
    return values[below] * (1 - weight) + values[above] * weight;
}

/// Formats with four digits, or more if the integer part needs them.
std::string toText(double value, std::string const& unit) {
    int const nbBeforePoint = value < 1 ? 1 : static_cast<int>(std::log10(value)) + 1;
    std::ostringstream text;
    text << std::setprecision(std::max(4, nbBeforePoint)) << value << ' ' << unit;
    return text.str();
}

std::string toText(double ratio) {
    std::ostringstream text;
    text << std::fixed << std::setprecision(3) << ratio;
    return text.str();
}

std::string toText(Limit const& limit) {
    switch (limit.bound) {
    case eBound::AtMost:
        return "<= " + toText(limit.value);
    case eBound::AtLeast:
        return ">= " + toText(limit.value);
    case eBound::None:
        break;
    }
    return "-";
}

Table::value_type toLine(Figure const& figure) {
    bool const bLimited = figure.getLimit().bound != eBound::None;
    return {figure.getWork(),
            figure.getComparedWith(),
            toText(figure.getOurs(), figure.getUnit()),
            toText(figure.getOther(), figure.getUnit()),
            toText(figure.getRatio()),
            toText(figure.getRatioQuantile(0.25)) + " to " + toText(figure.getRatioQuantile(0.75)),
            toText(figure.getLimit()),
            !bLimited        ? "-"
            : figure.holds() ? "yes"
                             : "NO"};
}

} // namespace

Figure::Figure(std::string const& name, std::string unit, Limit limit)
    : _unit(std::move(unit)), _limit(limit) {
    std::string const separator = " / ";
    std::size_t const end = name.find(separator);
    _work = name.substr(0, end);
    _comparedWith = end == std::string::npos ? "" : name.substr(end + separator.size());
}

void Figure::add(double ours, double other) {
    _ours.push_back(ours);
    _others.push_back(other);
    _ratios.push_back(ours / other);
}

double Figure::getOurs() const {
    return getQuantile(_ours, 0.5);
}

double Figure::getOther() const {
    return getQuantile(_others, 0.5);
}

double Figure::getRatioQuantile(double quantile) const {
    return getQuantile(_ratios, quantile);
}

bool Figure::holds() const {
    switch (_limit.bound) {
    case eBound::AtMost:
        return getRatio() <= _limit.value;
    case eBound::AtLeast:
        return getRatio() >= _limit.value;
    case eBound::None:
        break;
    }
    return true;
}

Table toTable(std::vector<Figure> const& figures) {
    Table table = {{"work", "compared with", "ours", "other", "ratio", "quartiles", "limit", "ok"}};
    std::transform(figures.begin(), figures.end(), std::back_inserter(table), toLine);
    return table;
}

} // namespace velmo::bench
