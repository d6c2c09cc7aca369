// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/FileDescription.h"

#include "commands/FileFacts.h"

#include <VELMOImage/ImageGeometry.h>
#include <VELMOImageFile/PixelTypeNames.h>
#include <algorithm>
#include <array>
#include <functional>
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

constexpr bool g_bMachineIsBig = __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__;

/// The name of numpy for pixels as they lie in the file, or, where the library converts them, in memory. The
/// byte order is part of the name where it is not that of the machine.
std::string getNumpyName(std::string const& type, bool bSwapBytes) {
    constexpr std::array<std::array<char const*, 3>, 11> names = {{{"uint8", "uint8", "u1"},
                                                                   {"int8", "int8", "i1"},
                                                                   {"uint16", "uint16", "u2"},
                                                                   {"int16", "int16", "i2"},
                                                                   {"uint32", "uint32", "u4"},
                                                                   {"int32", "int32", "i4"},
                                                                   {"real32", "float32", "f4"},
                                                                   {"binary", "uint8", "u1"},
                                                                   {"label8", "uint8", "u1"},
                                                                   {"label16", "uint16", "u2"},
                                                                   {"label32", "uint32", "u4"}}};
    for (auto const& [pixelType, name, code] : names) {
        if (type == pixelType) {
            bool const bOrder = bSwapBytes && code[1] != '1';
            return bOrder ? std::string(g_bMachineIsBig ? "<" : ">") + code : name;
        }
    }
    return {};
}

/// What pixels of a type are: "number", "mask" or "label".
std::string getKindOfPixels(std::string const& type) {
    return type == "binary" ? "mask" : type.compare(0, 5, "label") == 0 ? "label" : "number";
}

/// Of several equal words the first, of others all of them.
ordered_json toOneOrAll(std::vector<std::string> const& words) {
    bool const bEqual = std::adjacent_find(words.begin(), words.end(), std::not_equal_to<>()) == words.end();
    return bEqual ? ordered_json(words.front()) : ordered_json(words);
}

void putNumpy(image::BaseImageGeometry const& geometry, bool bSwapBytes, ordered_json& entry) {
    std::vector<std::string> dtypes;
    std::vector<std::string> kinds;
    for (std::string const& type : getTypeNames(geometry)) {
        dtypes.push_back(getNumpyName(type, bSwapBytes));
        kinds.push_back(getKindOfPixels(type));
    }
    entry["dtype"] = toOneOrAll(dtypes);
    entry["shape"] = {geometry.getSizeT(), geometry.getSizeC(), geometry.getSizeZ(), geometry.getSizeY(),
                      geometry.getSizeX()};
    entry["axes"] = "TCZYX";
    entry["type"] = toOneOrAll(kinds);
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

void putImage(image::BaseImage const& image, bool bSwapBytes, ordered_json& entry) {
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
    putNumpy(geometry, bSwapBytes, entry);
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
         {"sizeX", "sizeY", "sizeZ", "sizeC", "sizeT", "pixelType", "dtype", "shape", "axes", "type", "color",
          "isVolume", "isSequence", "minIsBlack", "calibration", "userProperties", "bytes"}) {
        entry[key] = nullptr;
    }
}

std::ostream& line(std::ostream& text, std::string const& label) {
    std::string const padded = "  " + label + std::string(14, ' ');
    return text << '\n' << padded.substr(0, 14);
}

ordered_json toEntry(FileDescription const& description) {
    ordered_json entry;
    entry["file"] = description.file;
    entry["format"] = description.format;
    if (description.pImage) {
        putImage(*description.pImage, description.bSwapBytes, entry);
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
    for (auto const& [name, value] : listFacts(description.format, *description.pImage)) {
        line(text, name) << value;
    }
    for (std::string const& warning : description.warnings) {
        line(text, "warning") << warning;
    }
    text << '\n';
    return text.str();
}

class TextReport : public InfoReport {
  public:
    std::string add(FileDescription const& description) override {
        return description.pImage ? toText(description) : std::string();
    }
    std::string finish() override { return {}; }
};

class JsonReport : public InfoReport {
  public:
    std::string add(FileDescription const& description) override {
        _files.push_back(toEntry(description));
        return {};
    }
    std::string finish() override {
        ordered_json const document = {{"schema", 2}, {"files", _files}};
        return document.dump(2, ' ', false, ordered_json::error_handler_t::replace) + '\n';
    }

  private:
    ordered_json _files = ordered_json::array();
};

} // namespace

std::unique_ptr<InfoReport> createTextReport() {
    return std::make_unique<TextReport>();
}

std::unique_ptr<InfoReport> createJsonReport() {
    return std::make_unique<JsonReport>();
}

} // namespace velmo::tool
