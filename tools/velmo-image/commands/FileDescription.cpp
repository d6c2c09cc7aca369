// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/FileDescription.h"

#include <VELMOImage/ImageGeometry.h>
#include <boost/algorithm/string/join.hpp>
#include <nlohmann/json.hpp>
#include <sstream>

namespace velmo::tool {

namespace {

using nlohmann::ordered_json;

template <class Enum>
std::string getName(Enum value) {
    std::ostringstream text;
    text << value;
    return text.good() ? text.str() : std::to_string(static_cast<vlUInt64>(value));
}

bool isHeterogeneous(image::BaseImageGeometry const& geometry) {
    return dynamic_cast<image::HeterogeneousImageGeometry const*>(&geometry) != nullptr;
}

/// One name for all planes; of a heterogeneous geometry, one for each of its types.
std::vector<std::string> getTypeNames(image::BaseImageGeometry const& geometry) {
    auto const* const pTypes = dynamic_cast<image::HeterogeneousImageGeometry const*>(&geometry);
    if (pTypes == nullptr) {
        return {getName(geometry.getBufferType())};
    }
    std::vector<std::string> names;
    for (image::eImageBufferType const type : pTypes->getBufferTypes()) {
        names.push_back(getName(type));
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
        entry["bufferTypes"] = getTypeNames(geometry);
    } else {
        entry["bufferType"] = getTypeNames(geometry).front();
    }
    entry["colorGeometry"] = getName(geometry.getColorGeometryType());
    entry["volumeGeometry"] = getName(geometry.getVolumeGeometryType());
    entry["temporalGeometry"] = getName(geometry.getTemporalGeometryType());
    entry["minIsBlack"] = geometry.getColorGeometry().minIsBlack();
    entry["calibration"] = toJson(image.getGeometricCalibrationConstPtr());
    entry["userProperties"] = image.getUserPropertiesStr();
    entry["bytes"] = geometry.getFullMemorySize();
}

void putNothing(ordered_json& entry) {
    for (char const* const key :
         {"sizeX", "sizeY", "sizeZ", "sizeC", "sizeT", "bufferType", "colorGeometry", "volumeGeometry",
          "temporalGeometry", "minIsBlack", "calibration", "userProperties", "bytes"}) {
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
    line(text, "colour") << getName(geometry.getColorGeometryType()) << ", "
                         << (geometry.getColorGeometry().minIsBlack() ? "the least value is black"
                                                                      : "the greatest value is black");
    line(text, "volume") << getName(geometry.getVolumeGeometryType());
    line(text, "time") << getName(geometry.getTemporalGeometryType());
    putCalibration(image.getGeometricCalibrationConstPtr(), text);
    if (!image.getUserPropertiesStr().empty()) {
        line(text, "properties") << image.getUserPropertiesStr();
    }
    line(text, "bytes") << geometry.getFullMemorySize();
}

} // namespace

ordered_json toJson(FileDescription const& description) {
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
