// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "picture/Colours.h"

#include <cmath>

namespace velmo::tool {

namespace {

using namespace image;

template <class GetColour>
std::vector<unsigned char> colour(std::vector<double> const& values, GetColour const& getColour) {
    std::vector<unsigned char> levels;
    levels.reserve(3 * values.size());
    for (double const value : values) {
        Colour const shown = value >= 0 ? getColour(static_cast<vlUInt64>(value)) : Colour{0, 0, 0};
        levels.insert(levels.end(), shown.begin(), shown.end());
    }
    return levels;
}

/// A hue from 0 to 1 in its strongest colour: one of the three parts rises and falls around its own hue.
Colour mix(double hue, double saturation, double brightness) {
    constexpr double sextants = 6;
    Colour result{};
    for (std::size_t part = 0; part < result.size(); ++part) {
        double const distance = std::abs(std::remainder(hue - static_cast<double>(part) / 3, 1.0));
        double const strength = std::min(1.0, std::max(0.0, 2 - sextants * distance));
        result[part] =
            static_cast<unsigned char>(std::lround(255 * brightness * (1 - saturation * (1 - strength))));
    }
    return result;
}

} // namespace

bool isLabel(eImageBufferType type) {
    return type == eIBT_Label8 || type == eIBT_Label16 || type == eIBT_Label32;
}

/// The golden ratio spreads the hues of successive labels; three saturations and two brightnesses take turns.
Colour getLabelColour(vlUInt64 label) {
    constexpr double goldenRatio = 0.6180339887498949;
    constexpr std::array<double, 3> saturations = {0.85, 0.5, 0.68};
    constexpr std::array<double, 2> brightnesses = {1.0, 0.72};
    if (label == 0) {
        return {0, 0, 0};
    }
    double const turns = static_cast<double>(label) * goldenRatio;
    return mix(turns - std::floor(turns), saturations[label % saturations.size()],
               brightnesses[label / saturations.size() % brightnesses.size()]);
}

std::vector<unsigned char> toLabelColours(std::vector<double> const& values) {
    return colour(values, getLabelColour);
}

std::vector<unsigned char> toPaletteColours(std::vector<double> const& values,
                                            std::vector<Colour> const& palette) {
    return colour(values, [&](vlUInt64 index) {
        return index < palette.size() ? palette[index] : Colour{0, 0, 0};
    });
}

} // namespace velmo::tool
