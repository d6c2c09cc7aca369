// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <array>
#include <string>
#include <vector>

namespace velmo::bench {

enum class eBound { None, AtMost, AtLeast };

/// The limit of the ratio ours / other; none with `eBound::None`.
struct Limit {
    eBound bound = eBound::None;
    double value = 0;
};

inline Limit atMost(double value) {
    return {eBound::AtMost, value};
}
inline Limit atLeast(double value) {
    return {eBound::AtLeast, value};
}
inline Limit noLimit() {
    return {};
}

/// One line of the table: pairs of measurements. The two measurements of a pair, ours and the other one, were
/// made one after the other.
class Figure {
  public:
    /// `name` is "work / what it is compared with".
    Figure(std::string const& name, std::string unit, Limit limit);

    void add(double ours, double other);

    std::string const& getWork() const { return _work; }
    std::string const& getComparedWith() const { return _comparedWith; }
    std::string const& getUnit() const { return _unit; }
    Limit const& getLimit() const { return _limit; }

    /// Medians. The figure must have at least one pair.
    double getOurs() const;
    double getOther() const;
    /// Median of the ratios of the pairs. A change of the machine's speed between pairs therefore has no
    /// effect.
    double getRatio() const { return getRatioQuantile(0.5); }
    double getRatioQuantile(double quantile) const;
    bool holds() const;

  private:
    std::string _work;
    std::string _comparedWith;
    std::string _unit;
    Limit _limit;
    std::vector<double> _ours;
    std::vector<double> _others;
    std::vector<double> _ratios;
};

/// Columns: work | compared with | ours | other | ratio | quartiles | limit | ok.
using Table = std::vector<std::array<std::string, 8>>;

/// The figures as texts, after a line with the names of the columns.
Table toTable(std::vector<Figure> const& figures);

} // namespace velmo::bench
