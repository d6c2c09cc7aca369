// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/FileFacts.h"

#include <VELMOImage/ImageGeometry.h>
#include <VELMOImageFile/PixelTypeNames.h>
#include <sstream>

namespace velmo::tool {

namespace {

std::string listSizes(image::BaseImageGeometry const& geometry) {
    std::ostringstream text;
    text << "X " << geometry.getSizeX() << ", Y " << geometry.getSizeY() << ", Z " << geometry.getSizeZ()
         << ", C " << geometry.getSizeC() << ", T " << geometry.getSizeT();
    return text.str();
}

/// Each type once.
std::string listTypes(image::BaseImageGeometry const& geometry) {
    auto const* const pTypes = dynamic_cast<image::HeterogeneousImageGeometry const*>(&geometry);
    if (pTypes == nullptr) {
        return image::file::getPixelTypeName(geometry.getBufferType());
    }
    std::string text;
    for (image::eImageBufferType const type : pTypes->getBufferTypeRuns().getTypesOfRuns()) {
        std::string const name = image::file::getPixelTypeName(type);
        if ((", " + text + ',').find(", " + name + ',') == std::string::npos) {
            text += (text.empty() ? "" : ", ") + name;
        }
    }
    return text;
}

} // namespace

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

std::string describePixelSize(image::GeometricCalibrationConstPtr const& pCalibration) {
    if (!pCalibration) {
        return {};
    }
    std::ostringstream text;
    text << pCalibration->getPixelSizeX() << " x " << pCalibration->getPixelSizeY();
    if (pCalibration->is3d()) {
        text << " x " << pCalibration->getPixelSizeZ();
    }
    text << (pCalibration->getUnit().empty() ? "" : " ") << pCalibration->getUnit();
    return text.str();
}

std::vector<std::pair<std::string, std::string>> listFacts(std::string const& format,
                                                           image::BaseImage const& image) {
    image::BaseImageGeometry const& geometry = image.getGeometry();
    bool const bVolume = geometry.getVolumeGeometryType() == image::eVGT_3d;
    bool const bSequence = geometry.getTemporalGeometryType() == image::eTGT_Sequence;
    bool const bMinIsBlack = geometry.getColorGeometry().minIsBlack();
    std::vector<std::pair<std::string, std::string>> facts = {
        {"format", format},
        {"size", listSizes(geometry)},
        {"pixels", listTypes(geometry)},
        {"colour", image::file::getColorName(geometry.getColorGeometryType()) +
                       (bMinIsBlack ? ", minimum is black" : ", minimum is white")},
        {"kind",
         std::string(bVolume ? "volume" : "plane") + (bSequence ? ", sequence" : ", single time step")}};
    std::string const pixelSize = describePixelSize(image.getGeometricCalibrationConstPtr());
    if (!pixelSize.empty()) {
        facts.emplace_back("pixel size", pixelSize);
    }
    if (!image.getUserPropertiesStr().empty()) {
        facts.emplace_back("properties", image.getUserPropertiesStr());
    }
    facts.emplace_back("bytes", std::to_string(geometry.getFullMemorySize()));
    return facts;
}

} // namespace velmo::tool
