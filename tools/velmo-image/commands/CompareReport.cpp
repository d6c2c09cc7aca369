// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/CompareReport.h"

#include "commands/NumberText.h"
#include "terminal/Failure.h"

#include <VELMOImageFile/PixelTypeNames.h>
#include <iomanip>
#include <nlohmann/json.hpp>
#include <sstream>

namespace velmo::tool {

namespace {

using namespace image;
using nlohmann::ordered_json;

/// Name and value of each property, always the same names in the same order.
using Properties = std::vector<std::pair<char const*, std::string>>;

std::string describeTypes(BaseImageGeometry const& geometry) {
    auto const* const pTypes = dynamic_cast<HeterogeneousImageGeometry const*>(&geometry);
    if (pTypes == nullptr || pTypes->getBufferTypeRuns().isUniform()) {
        return file::getPixelTypeName(geometry.getBufferType());
    }
    std::string text;
    for (eImageBufferType const type : pTypes->getBufferTypes()) {
        text += (text.empty() ? "" : ", ") + file::getPixelTypeName(type);
    }
    return text;
}

std::string describeCalibration(GeometricCalibrationConstPtr const& pCalibration) {
    if (!pCalibration) {
        return "none";
    }
    std::ostringstream text;
    text << std::setprecision(9) << pCalibration->getPixelSizeX() << " x " << pCalibration->getPixelSizeY();
    if (pCalibration->is3d()) {
        text << " x " << pCalibration->getPixelSizeZ();
    }
    text << (pCalibration->getUnit().empty() ? "" : " ") << pCalibration->getUnit();
    auto const terms = pCalibration->getFurtherTerms();
    if (terms != decltype(terms){}) {
        text << ", further terms";
        for (float const term : terms) {
            text << ' ' << term;
        }
    }
    return text.str();
}

std::string describeChannels(ColorGeometry const& color) {
    std::string text;
    for (auto const& [index, name] : color.getChannelNames()) {
        text += (text.empty() ? "" : ", ") + std::to_string(index) + ' ' + name;
    }
    return text;
}

Properties describeProperties(BaseImage const& image) {
    BaseImageGeometry const& geometry = image.getGeometry();
    ColorGeometry const& color = geometry.getColorGeometry();
    return {{"pixelType", describeTypes(geometry)},
            {"color", file::getColorName(geometry.getColorGeometryType())},
            {"channelNames", describeChannels(color)},
            {"minIsBlack", color.minIsBlack() ? "true" : "false"},
            {"isVolume", geometry.getVolumeGeometryType() == eVGT_3d ? "true" : "false"},
            {"isSequence", geometry.getTemporalGeometryType() == eTGT_Sequence ? "true" : "false"},
            {"calibration", describeCalibration(image.getGeometricCalibrationConstPtr())},
            {"userProperties", image.getUserPropertiesStr()}};
}

std::string describeSizes(ImageSizes const& sizes) {
    std::ostringstream text;
    text << "X " << sizes[0] << ", Y " << sizes[1] << ", Z " << sizes[2] << ", C " << sizes[3] << ", T "
         << sizes[4];
    return text.str();
}

/// A value in quotes, with its end left out if it is long.
std::string shorten(std::string const& text) {
    constexpr std::size_t maxLength = 60;
    return quoted(text.size() <= maxLength ? text : text.substr(0, maxLength) + "...");
}

std::ostream& putEntry(std::ostream& text, std::string const& label) {
    return text << "  " << std::left << std::setw(12) << label;
}

void putPixels(ComparedFiles const& files, std::ostream& text) {
    Comparison const& pixels = *files.pixels;
    putEntry(text, "different") << pixels.nbDifferent << " of " << pixels.nbPixels << " pixels";
    if (files.tolerance != 0) {
        text << ", tolerance " << toText(files.tolerance);
    }
    text << '\n';
    if (!pixels.greatest) {
        return;
    }
    DifferentPixel const& greatest = *pixels.greatest;
    putEntry(text, "greatest") << toText(greatest.difference) << " at x " << greatest.x << ", y "
                               << greatest.y << ", z " << greatest.plane.z << ", c " << greatest.plane.c
                               << ", t " << greatest.plane.t << ": " << toText(greatest.a) << " and "
                               << toText(greatest.b) << '\n';
    if (pixels.nbWithoutDifference != 0) {
        putEntry(text, "not finite") << pixels.nbWithoutDifference
                                     << " different pixels with NaN or an infinity, not in the lines below\n";
    }
    putEntry(text, "mean") << toText(pixels.getMean()) << '\n';
    putEntry(text, "rms") << toText(pixels.getRms()) << '\n';
    putEntry(text, "psnr") << toText(pixels.getPsnr(), 4) << " dB\n";
}

ordered_json toJson(std::optional<Comparison> const& pixels) {
    if (!pixels) {
        return nullptr;
    }
    ordered_json greatest = nullptr;
    if (pixels->greatest) {
        DifferentPixel const& pixel = *pixels->greatest;
        greatest = {{"difference", toJsonNumber(pixel.difference)},
                    {"x", pixel.x},
                    {"y", pixel.y},
                    {"z", pixel.plane.z},
                    {"c", pixel.plane.c},
                    {"t", pixel.plane.t},
                    {"a", toJsonNumber(pixel.a)},
                    {"b", toJsonNumber(pixel.b)}};
    }
    return {{"pixels", pixels->nbPixels},
            {"different", pixels->nbDifferent},
            {"notFinite", pixels->nbWithoutDifference},
            {"greatest", greatest},
            {"mean", toJsonNumber(pixels->getMean())},
            {"rms", toJsonNumber(pixels->getRms())},
            {"psnr", toJsonNumber(pixels->getPsnr())}};
}

} // namespace

ImageSizes getSizes(BaseImage const& image) {
    BaseImageGeometry const& geometry = image.getGeometry();
    return {geometry.getSizeX(), geometry.getSizeY(), geometry.getSizeZ(), geometry.getSizeC(),
            geometry.getSizeT()};
}

std::vector<PropertyDifference> findPropertyDifferences(BaseImage const& a, BaseImage const& b) {
    Properties const ofA = describeProperties(a);
    Properties const ofB = describeProperties(b);
    std::vector<PropertyDifference> differences;
    for (std::size_t index = 0; index < ofA.size(); ++index) {
        if (ofA[index].second != ofB[index].second) {
            differences.push_back({ofA[index].first, ofA[index].second, ofB[index].second});
        }
    }
    return differences;
}

std::string toText(ComparedFiles const& files) {
    std::ostringstream text;
    text << files.fileA << " and " << files.fileB << (files.bSame ? " are the same\n" : " differ\n");
    if (files.pixels) {
        putPixels(files, text);
    } else {
        putEntry(text, "sizes") << describeSizes(files.sizesA) << '\n';
        putEntry(text, "") << describeSizes(files.sizesB) << '\n';
    }
    for (PropertyDifference const& difference : files.properties) {
        putEntry(text, "property") << difference.name << ": " << shorten(difference.a) << " and "
                                   << shorten(difference.b) << '\n';
    }
    return text.str();
}

std::string toJson(ComparedFiles const& files) {
    bool const bFailed = !files.error.empty();
    ordered_json document = {
        {"schema", 1}, {"a", files.fileA}, {"b", files.fileB}, {"tolerance", toJsonNumber(files.tolerance)}};
    document["same"] = bFailed ? ordered_json(nullptr) : ordered_json(files.bSame);
    document["sizes"] =
        bFailed ? ordered_json(nullptr) : ordered_json{{"a", files.sizesA}, {"b", files.sizesB}};
    document["pixels"] = toJson(files.pixels);
    ordered_json properties = ordered_json::array();
    for (PropertyDifference const& difference : files.properties) {
        properties.push_back({{"name", difference.name}, {"a", difference.a}, {"b", difference.b}});
    }
    document["properties"] = bFailed ? ordered_json(nullptr) : properties;
    document["error"] = bFailed ? ordered_json(files.error) : ordered_json(nullptr);
    return document.dump(2, ' ', false, ordered_json::error_handler_t::replace) + '\n';
}

} // namespace velmo::tool
