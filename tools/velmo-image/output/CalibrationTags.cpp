// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "output/CalibrationTags.h"

#include "terminal/Failure.h"

#include <algorithm>
#include <array>
#include <boost/algorithm/string/case_conv.hpp>
#include <boost/algorithm/string/trim.hpp>
#include <charconv>
#include <cmath>
#include <limits>
#include <tiff.h>

namespace velmo::tool {

namespace {

struct LengthUnit {
    char const* name;
    double count;       ///< this many units are
    double centimetres; ///< this many centimetres
};

/// Case-sensitive. Micro: the sign and the Greek letter in UTF-8, the sign in Latin-1. Angstrom: the letter
/// and the sign in UTF-8, the letter in Latin-1.
constexpr std::array<LengthUnit, 17> g_symbols = {{{"km", 1, 1e5},
                                                   {"m", 1, 100},
                                                   {"dm", 1, 10},
                                                   {"cm", 1, 1},
                                                   {"mm", 10, 1},
                                                   {"um", 1e4, 1},
                                                   {"\xc2\xb5m", 1e4, 1},
                                                   {"\xce\xbcm", 1e4, 1},
                                                   {"\xb5m", 1e4, 1},
                                                   {"nm", 1e7, 1},
                                                   {"pm", 1e10, 1},
                                                   {"A", 1e8, 1},
                                                   {"\xc3\x85", 1e8, 1},
                                                   {"\xe2\x84\xab", 1e8, 1},
                                                   {"\xc5", 1e8, 1},
                                                   {"in", 50, 127},
                                                   {"\"", 50, 127}}};

/// Case-insensitive, singular or plural; "metre" is "meter".
constexpr std::array<LengthUnit, 10> g_words = {{{"kilometer", 1, 1e5},
                                                 {"meter", 1, 100},
                                                 {"decimeter", 1, 10},
                                                 {"centimeter", 1, 1},
                                                 {"millimeter", 10, 1},
                                                 {"micrometer", 1e4, 1},
                                                 {"micron", 1e4, 1},
                                                 {"nanometer", 1e7, 1},
                                                 {"angstrom", 1e8, 1},
                                                 {"inch", 50, 127}}};

bool isWord(std::string const& text, std::string const& word) {
    return text == word || text == word + 's' || text == word + "es";
}

/// Null where the unit is not a known one.
LengthUnit const* findUnit(std::string const& name) {
    auto const* const pSymbol = std::find_if(g_symbols.begin(), g_symbols.end(),
                                             [&](LengthUnit const& unit) { return name == unit.name; });
    if (pSymbol != g_symbols.end()) {
        return pSymbol;
    }
    std::string text = boost::algorithm::to_lower_copy(name);
    std::size_t const metre = text.rfind("metre");
    if (metre != std::string::npos) {
        text.replace(metre, 5, "meter");
    }
    auto const* const pWord = std::find_if(g_words.begin(), g_words.end(),
                                           [&](LengthUnit const& unit) { return isWord(text, unit.name); });
    return pWord != g_words.end() ? pWord : nullptr;
}

std::string toText(float size) {
    std::array<char, 32> text{};
    auto const [pEnd, error] = std::to_chars(text.data(), text.data() + text.size(), size);
    return {text.data(), pEnd};
}

/// Pixels in `length` units, for a size in units: the simplest fraction that gives this 32-bit size.
std::optional<Rational> countPixels(float size, double length) {
    double const before = std::nextafter(size, 0.0F); // the nearer neighbour of a power of two
    double const rounding = (static_cast<double>(size) - before) / 2 / static_cast<double>(size);
    constexpr double shareOfIt = 0.99; // a number on the border may round the other way
    return findRational(length / static_cast<double>(size), shareOfIt * rounding);
}

std::string getUnitName(image::GeometricCalibration const& calibration) {
    return boost::algorithm::trim_copy(calibration.getUnit());
}

/// Pixels in `length` units.
CalibrationTags createTags(image::GeometricCalibration const& calibration, double length,
                           std::uint16_t unit) {
    std::optional<Rational> const x = countPixels(calibration.getPixelSizeX(), length);
    std::optional<Rational> const y = countPixels(calibration.getPixelSizeY(), length);
    if (!x || !y) {
        std::string const name = getUnitName(calibration);
        return {std::nullopt, "no resolution tags were written: they cannot hold pixels of " +
                                  toText(calibration.getPixelSizeX()) + " x " +
                                  toText(calibration.getPixelSizeY()) + (name.empty() ? "" : ' ' + name)};
    }
    return {TiffResolution{*x, *y, unit}, {}};
}

} // namespace

bool isKnownUnit(std::string const& name) {
    return findUnit(name) != nullptr;
}

CalibrationTags toUnitTags(image::GeometricCalibrationConstPtr const& pCalibration) {
    return pCalibration ? createTags(*pCalibration, 1, RESUNIT_NONE) : CalibrationTags{};
}

CalibrationTags toTags(image::GeometricCalibrationConstPtr const& pCalibration) {
    if (!pCalibration) {
        return {std::nullopt, "no resolution tags were written: the image has no calibration"};
    }
    std::string const name = getUnitName(*pCalibration);
    LengthUnit const* const pUnit = findUnit(name);
    double const length = pUnit != nullptr ? pUnit->count / pUnit->centimetres : 1;
    CalibrationTags tags =
        createTags(*pCalibration, length, pUnit != nullptr ? RESUNIT_CENTIMETER : RESUNIT_NONE);
    if (tags.resolution && pUnit == nullptr && !name.empty()) {
        tags.warning = "the resolution tags have no unit: " + quoted(name) +
                       " is unknown; known units are m, cm, mm, um, nm, inch and others";
    }
    return tags;
}

} // namespace velmo::tool
