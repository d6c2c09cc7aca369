// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Figure.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <iomanip>
#include <ostream>
#include <sstream>
#include <utility>

namespace velmo::bench {

namespace {

using Line = std::array<std::string, 7>;

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

Line toLine(Figure const& figure) {
    bool const bLimited = figure.getLimit().bound != eBound::None;
    return {figure.getName(),
            toText(figure.getOurs(), figure.getUnit()),
            toText(figure.getLowerBound(), figure.getUnit()),
            toText(figure.getRatio()),
            toText(figure.getRatioQuantile(0.25)) + " to " + toText(figure.getRatioQuantile(0.75)),
            toText(figure.getLimit()),
            !bLimited        ? "-"
            : figure.holds() ? "yes"
                             : "NO"};
}

} // namespace

Figure::Figure(std::string name, std::string unit, Limit limit)
    : _name(std::move(name)), _unit(std::move(unit)), _limit(limit) {}

void Figure::add(double ours, double lowerBound) {
    _ours.push_back(ours);
    _lowerBounds.push_back(lowerBound);
    _ratios.push_back(ours / lowerBound);
}

double Figure::getOurs() const {
    return getQuantile(_ours, 0.5);
}

double Figure::getLowerBound() const {
    return getQuantile(_lowerBounds, 0.5);
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

void print(std::ostream& out, std::vector<Figure> const& figures) {
    std::vector<Line> lines = {{"figure", "ours", "lower bound", "ratio", "quartiles", "limit", "ok"}};
    std::transform(figures.begin(), figures.end(), std::back_inserter(lines), toLine);
    std::array<std::size_t, std::tuple_size<Line>::value> widths{};
    for (Line const& line : lines) {
        for (std::size_t column = 0; column < line.size(); ++column) {
            widths[column] = std::max(widths[column], line[column].size());
        }
    }
    for (Line const& line : lines) {
        for (std::size_t column = 0; column < line.size(); ++column) {
            out << (column == 0 ? "" : " | ") << (column == 0 ? std::left : std::right)
                << std::setw(static_cast<int>(widths[column])) << line[column];
        }
        out << '\n';
    }
}

} // namespace velmo::bench
