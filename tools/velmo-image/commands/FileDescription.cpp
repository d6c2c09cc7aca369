// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/FileDescription.h"

#include <VELMOImage/ImageGeometry.h>
#include <VELMOImageFile/PixelTypeNames.h>
#include <boost/algorithm/string/join.hpp>
#include <nlohmann/json.hpp>
#include <sstream>

namespace velmo::tool {

namespace {

using nlohmann::ordered_json;

bool isVolume(image::BaseImageGeometry const& geometry) {
    return geometry.getVolumeGeometryType() == image::eVGT_3d;
}

bool isSequence(image::BaseImageGeometry const& geometry) {
    return geometry.getTemporalGeometryType() == image::eTGT_Sequence;
}

bool isHeterogeneous(image::BaseImageGeometry const& geometry) {
    return dynamic_cast<image::HeterogeneousImageGeometry const*>(&geometry) != nullptr;
}

/// One name; for a heterogeneous geometry one for each of its types.
std::vector<std::string> getTypeNames(image::BaseImageGeometry const& geometry) {
    auto const* const pTypes = dynamic_cast<image::HeterogeneousImageGeometry const*>(&geometry);
    if (pTypes == nullptr) {
        return {image::file::getPixelTypeName(geometry.getBufferType())};
    }
    std::vector<std::string> names;
    for (image::eImageBufferType const type : pTypes->getBufferTypes()) {
        names.push_back(image::file::getPixelTypeName(type));
    }
    return names;
}

ordered_json toJson(image::GeometricCalibrationConstPtr const& pCalibration) {
    if (!pCalibration) {
        return nullptr;
    }
    return {{"x", pCalibration->getPixelSizeX()},
            {"y", pCalibration->getPixelSizeY()},
            {"z", pCalibration->getPixelSizeZ()},
            {"unit", pCalibration->getUnit()}};
}

void putImage(image::BaseImage const& image, ordered_json& entry) {
    image::BaseImageGeometry const& geometry = image.getGeometry();
    entry["sizeX"] = geometry.getSizeX();
    entry["sizeY"] = geometry.getSizeY();
    entry["sizeZ"] = geometry.getSizeZ();
    entry["sizeC"] = geometry.getSizeC();
    entry["sizeT"] = geometry.getSizeT();
    if (isHeterogeneous(geometry)) {
        entry["pixelTypes"] = getTypeNames(geometry);
    } else {
        entry["pixelType"] = getTypeNames(geometry).front();
    }
    entry["color"] = image::file::getColorName(geometry.getColorGeometryType());
    entry["isVolume"] = isVolume(geometry);
    entry["isSequence"] = isSequence(geometry);
    entry["minIsBlack"] = geometry.getColorGeometry().minIsBlack();
    entry["calibration"] = toJson(image.getGeometricCalibrationConstPtr());
    entry["userProperties"] = image.getUserPropertiesStr();
    entry["bytes"] = geometry.getFullMemorySize();
}

void putNothing(ordered_json& entry) {
    for (char const* const key :
         {"sizeX", "sizeY", "sizeZ", "sizeC", "sizeT", "pixelType", "color", "isVolume", "isSequence",
          "minIsBlack", "calibration", "userProperties", "bytes"}) {
        entry[key] = nullptr;
    }
}

using Facts = std::vector<std::pair<std::string, std::string>>;

std::string toText(image::GeometricCalibration const& calibration) {
    std::ostringstream text;
    text << calibration.getPixelSizeX() << " x " << calibration.getPixelSizeY();
    if (calibration.is3d()) {
        text << " x " << calibration.getPixelSizeZ();
    }
    text << (calibration.getUnit().empty() ? "" : " ") << calibration.getUnit();
    return text.str();
}

std::string describeSizes(image::BaseImageGeometry const& geometry) {
    std::ostringstream text;
    text << "X " << geometry.getSizeX() << ", Y " << geometry.getSizeY() << ", Z " << geometry.getSizeZ()
         << ", C " << geometry.getSizeC() << ", T " << geometry.getSizeT();
    return text.str();
}

Facts listFacts(image::BaseImage const& image) {
    image::BaseImageGeometry const& geometry = image.getGeometry();
    bool const bMinIsBlack = geometry.getColorGeometry().minIsBlack();
    Facts facts = {{"size", describeSizes(geometry)},
                   {"pixels", boost::algorithm::join(getTypeNames(geometry), ", ")},
                   {"colour", image::file::getColorName(geometry.getColorGeometryType()) +
                                  (bMinIsBlack ? ", minimum is black" : ", minimum is white")},
                   {"kind", std::string(isVolume(geometry) ? "volume" : "plane") +
                                (isSequence(geometry) ? ", sequence" : ", single time step")}};
    if (image::GeometricCalibrationConstPtr const pCalibration = image.getGeometricCalibrationConstPtr()) {
        facts.emplace_back("pixel size", toText(*pCalibration));
    }
    if (!image.getUserPropertiesStr().empty()) {
        facts.emplace_back("properties", image.getUserPropertiesStr());
    }
    facts.emplace_back("bytes", std::to_string(geometry.getFullMemorySize()));
    return facts;
}

void putLine(std::string const& label, std::string const& value, std::string& text) {
    constexpr std::size_t widthOfLabel = 14;
    std::string padded = "  " + label;
    padded.resize(widthOfLabel, ' ');
    text += '\n' + padded + value;
}

ordered_json toEntry(FileDescription const& description) {
    ordered_json entry;
    entry["file"] = description.file;
    entry["format"] = description.format;
    if (description.pImage) {
        putImage(*description.pImage, entry);
    } else {
        putNothing(entry);
    }
    entry["warnings"] = description.warnings;
    entry["error"] = description.error.empty() ? ordered_json(nullptr) : ordered_json(description.error);
    return entry;
}

} // namespace

std::string toJson(std::vector<FileDescription> const& descriptions) {
    ordered_json files = ordered_json::array();
    for (FileDescription const& description : descriptions) {
        files.push_back(toEntry(description));
    }
    ordered_json const document = {{"schema", 2}, {"files", files}};
    return document.dump(2, ' ', false, ordered_json::error_handler_t::replace) + '\n';
}

Facts listFacts(FileDescription const& description) {
    Facts facts = {{"format", description.format}};
    if (description.pImage) {
        Facts const ofImage = listFacts(*description.pImage);
        facts.insert(facts.end(), ofImage.begin(), ofImage.end());
    }
    return facts;
}

std::string toText(FileDescription const& description) {
    std::string text = description.file;
    for (auto const& [name, value] : listFacts(description)) {
        putLine(name, value, text);
    }
    for (std::string const& warning : description.warnings) {
        putLine("warning", warning, text);
    }
    return text + '\n';
}

} // namespace velmo::tool
