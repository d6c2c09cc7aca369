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

std::ostream& line(std::ostream& text, std::string const& label) {
    std::string const padded = "  " + label + std::string(14, ' ');
    return text << '\n' << padded.substr(0, 14);
}

void putCalibration(image::GeometricCalibrationConstPtr const& pCalibration, std::ostream& text) {
    if (pCalibration) {
        line(text, "pixel size") << pCalibration->getPixelSizeX() << " x " << pCalibration->getPixelSizeY();
        if (pCalibration->is3d()) {
            text << " x " << pCalibration->getPixelSizeZ();
        }
        text << (pCalibration->getUnit().empty() ? "" : " ") << pCalibration->getUnit();
    }
}

void putImage(image::BaseImage const& image, std::ostream& text) {
    image::BaseImageGeometry const& geometry = image.getGeometry();
    line(text, "size") << "X " << geometry.getSizeX() << ", Y " << geometry.getSizeY() << ", Z "
                       << geometry.getSizeZ() << ", C " << geometry.getSizeC() << ", T "
                       << geometry.getSizeT();
    line(text, "pixels") << boost::algorithm::join(getTypeNames(geometry), ", ");
    line(text, "colour") << image::file::getColorName(geometry.getColorGeometryType()) << ", "
                         << (geometry.getColorGeometry().minIsBlack() ? "minimum is black"
                                                                      : "minimum is white");
    line(text, "kind") << (isVolume(geometry) ? "volume" : "plane")
                       << (isSequence(geometry) ? ", sequence" : ", single time step");
    putCalibration(image.getGeometricCalibrationConstPtr(), text);
    if (!image.getUserPropertiesStr().empty()) {
        line(text, "properties") << image.getUserPropertiesStr();
    }
    line(text, "bytes") << geometry.getFullMemorySize();
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

std::string toText(FileDescription const& description) {
    std::ostringstream text;
    text << description.file;
    line(text, "format") << description.format;
    if (description.pImage) {
        putImage(*description.pImage, text);
    }
    for (std::string const& warning : description.warnings) {
        line(text, "warning") << warning;
    }
    text << '\n';
    return text.str();
}

} // namespace velmo::tool
