// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/EditOptions.h"

#include "input/ConvertedAccessor.h"
#include "input/CutAccessor.h"
#include "output/CalibrationTags.h"

#include <VELMOImageFile/PixelTypeNames.h>
#include <algorithm>
#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/join.hpp>
#include <boost/algorithm/string/split.hpp>
#include <boost/make_shared.hpp>
#include <charconv>
#include <cmath>

namespace velmo::tool {

namespace {

void requireTogether(CommandOption const& option, CommandOption const& needed) {
    if (option.isGiven() && !needed.isGiven()) {
        throw WrongUse(option.getName() + " needs " + needed.getName());
    }
}

/// A size of a pixel as a calibration holds it; empty for other texts.
std::optional<float> parsePixelSize(std::string const& text) {
    float size = 0;
    char const* const pEnd = text.data() + text.size();
    auto const [pStop, error] = std::from_chars(text.data(), pEnd, size);
    bool const bFits = error == std::errc() && pStop == pEnd && std::isfinite(size) && size > 0;
    return bFits ? std::optional(size) : std::nullopt;
}

std::vector<float> parsePixelSizes(std::string const& option, std::string const& text) {
    std::vector<std::string> fields;
    boost::algorithm::split(fields, text, boost::algorithm::is_any_of(","));
    std::vector<float> sizes;
    for (std::string const& field : fields) {
        std::optional<float> const size = parsePixelSize(field);
        if (size) {
            sizes.push_back(*size);
        }
    }
    if (sizes.size() != fields.size() || sizes.size() < 2 || sizes.size() > 3) {
        throw WrongUse(option +
                       " must be X,Y[,Z], two or three numbers greater than 0, such as 0.5,0.5,2, not " +
                       quoted(text));
    }
    return sizes;
}

std::string formatValue(double value) {
    char text[64];
    return {text, std::to_chars(text, text + sizeof(text), value, std::chars_format::fixed, 0).ptr};
}

std::string formatCount(vlUInt64 count, std::string const& what) {
    return std::to_string(count) + (count == 1 ? " value was " : " values were ") + what;
}

} // namespace

void EditOptions::addTo(CommandOptions& options) {
    _cutOptions = {
        options.addOption(
            "--z", _z,
            "N or A:B[:STEP]: plane N, or the planes A to B, from 0; B is included, A and B may "
            "be left out"),
        options.addOption("--c", _c, "N or A:B[:STEP]: the same for channels"),
        options.addOption("--t", _t, "N or A:B[:STEP]: the same for time steps"),
        options.addOption("--region", _region,
                          "X,Y,W,H: the W columns from X and the H rows from Y of each plane, from 0")};
    _pixelSizeOption = options.addOption("--pixel-size", _pixelSize,
                                         "X,Y[,Z]: size of a pixel of the output, which replaces the "
                                         "calibration of the input");
    _unitOption = options.addOption("--unit", _unit, "Unit of --pixel-size, such as um, mm or inch");
    _typeOption = options.addOption("--to-type", _type,
                                    boost::algorithm::join(image::file::getPixelTypeNames(), "|") +
                                        ": convert the pixels to this type; values are rounded and clamped");
    _rangeOption = options.addOption("--range", _range,
                                     "LO,HI: values that --to-type scales to the smallest and the largest "
                                     "value of the type, to 0 and 1 for real32 (default: values are kept)");
}

void EditOptions::requireFit() const {
    requireTogether(_unitOption, _pixelSizeOption);
    requireTogether(_rangeOption, _typeOption);
    std::array<std::pair<CommandOption const*, std::string const*>, 3> const ranges = {
        {{&_cutOptions[0], &_z}, {&_cutOptions[1], &_c}, {&_cutOptions[2], &_t}}};
    for (auto const& [pOption, pText] : ranges) {
        if (pOption->isGiven()) {
            AxisRange(pOption->getName(), *pText);
        }
    }
    if (_cutOptions[3].isGiven()) {
        parseRegion("--region", _region);
    }
    getCalibration();
    getConversion();
}

image::GeometricCalibrationConstPtr EditOptions::getCalibration() const {
    if (!_pixelSizeOption.isGiven()) {
        return nullptr;
    }
    std::vector<float> const sizes = parsePixelSizes("--pixel-size", _pixelSize);
    if (_unitOption.isGiven() && !isKnownUnit(_unit)) {
        throw WrongUse(
            "--unit must be a unit of length, such as m, cm, mm, um, nm, pm, inch or micrometer, not " +
            quoted(_unit));
    }
    auto const pCalibration = boost::make_shared<image::GeometricCalibration>();
    if (sizes.size() == 2) {
        pCalibration->init2d(sizes[0], sizes[1], _unit, 0, 0, 0, 0, 0);
    } else {
        pCalibration->init3d(sizes[0], sizes[1], sizes[2], _unit, 0, 0, 0, 0, 0, 0, 0);
    }
    return pCalibration;
}

std::optional<PixelConversion> EditOptions::getConversion() const {
    if (!_typeOption.isGiven()) {
        return std::nullopt;
    }
    auto const type = image::file::findPixelType(_type);
    if (!type) {
        throw WrongUse("--to-type must be one of " +
                       boost::algorithm::join(image::file::getPixelTypeNames(), ", ") + ", not " +
                       quoted(_type));
    }
    PixelConversion conversion = {*type, std::nullopt};
    if (_rangeOption.isGiven()) {
        conversion.range = parseRange("--range", _range);
        if (!std::isfinite(conversion.range->high - conversion.range->low)) {
            throw WrongUse("--range " + quoted(_range) + " is too wide");
        }
    }
    return conversion;
}

bool EditOptions::isCut() const {
    return std::any_of(_cutOptions.begin(), _cutOptions.end(),
                       [](CommandOption const& option) { return option.isGiven(); });
}

Cut EditOptions::getCut(image::BaseImageGeometry const& geometry) const {
    Cut cut = getWholeCut(geometry);
    if (_cutOptions[0].isGiven()) {
        cut.z = AxisRange("--z", _z).select(geometry.getSizeZ(), "planes");
    }
    if (_cutOptions[1].isGiven()) {
        cut.c = AxisRange("--c", _c).select(geometry.getSizeC(), "channels");
    }
    if (_cutOptions[2].isGiven()) {
        cut.t = AxisRange("--t", _t).select(geometry.getSizeT(), "time steps");
    }
    if (_cutOptions[3].isGiven()) {
        cut.region = parseRegion("--region", _region);
        requireInside("--region " + _region, cut.region, geometry);
    }
    return cut;
}

bool EditOptions::isGiven() const {
    return isCut() || _pixelSizeOption.isGiven() || _typeOption.isGiven();
}

ObservedSource EditOptions::apply(ObservedSource const& source, std::string const& file) const {
    try {
        return apply(source);
    } catch (WrongUse const& failure) {
        throw WrongUse(quoted(file) + ": " + failure.what());
    } catch (WorkFailure const& failure) {
        throw WorkFailure(quoted(file) + ": " + failure.what());
    }
}

ObservedSource EditOptions::apply(ObservedSource const& source) const {
    ObservedSource edited = source;
    if (isCut()) {
        edited = cutImage(edited, getCut(source.pImage->getGeometry()));
    }
    std::optional<PixelConversion> const conversion = getConversion();
    if (conversion) {
        edited = convertImage(edited, *conversion, _pCounts);
    }
    if (image::GeometricCalibrationConstPtr const pCalibration = getCalibration()) {
        edited.pImage->setGeometricCalibration(pCalibration);
    }
    return edited;
}

std::string EditOptions::describeChanges() const {
    std::vector<std::string> changes;
    if (_pCounts->nbClamped != 0) {
        ValueRange const range = getFullRange(getConversion()->type);
        changes.push_back(formatCount(_pCounts->nbClamped, "clamped to " + formatValue(range.low) + " or " +
                                                               formatValue(range.high)));
    }
    if (_pCounts->nbRounded != 0) {
        changes.push_back(formatCount(_pCounts->nbRounded, "rounded"));
    }
    if (_pCounts->nbNaN != 0) {
        changes.push_back(std::to_string(_pCounts->nbNaN) + " NaN became 0");
    }
    return boost::algorithm::join(changes, "; ");
}

} // namespace velmo::tool
