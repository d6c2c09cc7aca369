// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace velmo::bench {

enum class eBound { None, AtMost, AtLeast };

/// The limit of the ratio ours / lower bound; none with `eBound::None`.
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

/// One line of the table: pairs of measurements. The two measurements of a pair, ours and the lower bound,
/// were made one after the other.
class Figure {
  public:
    Figure(std::string name, std::string unit, Limit limit);

    void add(double ours, double lowerBound);

    std::string const& getName() const { return _name; }
    std::string const& getUnit() const { return _unit; }
    Limit const& getLimit() const { return _limit; }

    /// Medians. The figure must have at least one pair.
    double getOurs() const;
    double getLowerBound() const;
    /// Median of the ratios of the pairs. A change of the machine's speed between pairs therefore has no
    /// effect.
    double getRatio() const { return getRatioQuantile(0.5); }
    double getRatioQuantile(double quantile) const;
    bool holds() const;

  private:
    std::string _name;
    std::string _unit;
    Limit _limit;
    std::vector<double> _ours;
    std::vector<double> _lowerBounds;
    std::vector<double> _ratios;
};

/// Prints the figures as a table: figure | ours | lower bound | ratio | quartiles | limit | ok.
void print(std::ostream& out, std::vector<Figure> const& figures);

} // namespace velmo::bench
