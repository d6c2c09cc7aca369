// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "LabColours.h"

#include <algorithm>
#include <cmath>
#include <cstring>

namespace velmo::importer {

namespace {

constexpr std::uint16_t g_bitsOfByte = 8;
constexpr std::uint16_t g_bitsOfShort = 16;

/// XYZ relative to a white of D50, to linear sRGB.
constexpr double g_toLinear[3][3] = {{3.1338561, -1.6168667, -0.4906146},
                                     {-0.9787684, 1.9161415, 0.0334540},
                                     {0.0719453, -0.2289914, 1.4052427}};
constexpr double g_white[3] = {0.9642, 1.0, 0.8249};

/// L from 0 to 100, a and b.
std::array<double, 3> decode(PageShape const& shape, std::byte const* pPixel) {
    bool const bOffset = shape.photometric == PHOTOMETRIC_ICCLAB; // a and b are unsigned, 0 in the middle
    if (shape.bits == g_bitsOfByte) {
        auto const get = [&](int sample) { return std::to_integer<int>(pPixel[sample]); };
        auto const getSigned = [&](int sample) {
            return bOffset ? get(sample) - 128 : static_cast<int>(static_cast<std::int8_t>(get(sample)));
        };
        return {get(0) * 100.0 / 255, static_cast<double>(getSigned(1)), static_cast<double>(getSigned(2))};
    }
    std::array<std::uint16_t, 3> samples{};
    std::memcpy(samples.data(), pPixel, sizeof(samples));
    auto const getSigned = [&](std::size_t sample) {
        constexpr double steps = 256;
        return bOffset ? samples[sample] / steps - 128
                       : static_cast<double>(static_cast<std::int16_t>(samples[sample])) / steps;
    };
    double const largest = bOffset ? 65280 : 65535;
    return {samples[0] * 100.0 / largest, getSigned(1), getSigned(2)};
}

double fromCubeRoot(double value) {
    constexpr double limit = 6.0 / 29;
    return value > limit ? value * value * value : 3 * limit * limit * (value - 4.0 / 29);
}

std::uint8_t toByte(double linear) {
    double const limited = std::clamp(linear, 0.0, 1.0);
    double const encoded =
        limited <= 0.0031308 ? 12.92 * limited : 1.055 * std::pow(limited, 1 / 2.4) - 0.055;
    return static_cast<std::uint8_t>(std::lround(encoded * 255));
}

} // namespace

bool isConvertibleLab(PageShape const& shape) {
    bool const bLab = shape.photometric == PHOTOMETRIC_CIELAB || shape.photometric == PHOTOMETRIC_ICCLAB;
    bool const bBits = shape.bits == g_bitsOfByte || shape.bits == g_bitsOfShort;
    return bLab && bBits && shape.samples == 3 && !shape.bSeparate;
}

std::array<std::uint8_t, 3> toRgb(PageShape const& shape, std::byte const* pPixel) {
    auto const [lightness, a, b] = decode(shape, pPixel);
    double const y = (lightness + 16) / 116;
    double const xyz[3] = {fromCubeRoot(y + a / 500) * g_white[0], fromCubeRoot(y) * g_white[1],
                           fromCubeRoot(y - b / 200) * g_white[2]};
    std::array<std::uint8_t, 3> rgb{};
    for (std::size_t channel = 0; channel < rgb.size(); ++channel) {
        double const* const pRow = g_toLinear[channel];
        rgb[channel] = toByte(pRow[0] * xyz[0] + pRow[1] * xyz[1] + pRow[2] * xyz[2]);
    }
    return rgb;
}

} // namespace velmo::importer
