// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/ImportReportText.h"

#include "terminal/ShellWord.h"

#include <VELMOImage/ImageGeometry.h>
#include <VELMOImageFile/PixelTypeNames.h>
#include <nlohmann/json.hpp>
#include <sstream>

namespace velmo::tool {

namespace {

using nlohmann::ordered_json;

bool isAlongT(ImportSummary const& summary) {
    return summary.parts.front().part.nbT != summary.pImage->getGeometry().getSizeT();
}

/// The line that joins several outputs.
std::string getStackLine(ImportSummary const& summary, std::string const& output) {
    boost::filesystem::path const folder = summary.parts.front().path.parent_path();
    return "velmo-image stack " + toShellWord(folder.empty() ? "." : folder.string()) + ' ' +
           toShellWord(importer::getPartPattern(output)) + " OUTPUT.raw" +
           (isAlongT(summary) ? " --along t" : "");
}

/// The name that the user gave for the outputs, without the number of the first one.
std::string getOutputName(ImportSummary const& summary) {
    boost::filesystem::path const& first = summary.parts.front().path;
    std::string const stem = first.stem().string();
    return summary.parts.size() == 1
               ? first.string()
               : (first.parent_path() / (stem.substr(0, stem.rfind('-')) + first.extension().string()))
                     .string();
}

ordered_json toJson(image::GeometricCalibrationConstPtr const& pCalibration) {
    if (!pCalibration) {
        return nullptr;
    }
    return {{"x", pCalibration->getPixelSizeX()},
            {"y", pCalibration->getPixelSizeY()},
            {"z", pCalibration->is3d() ? ordered_json(pCalibration->getPixelSizeZ()) : ordered_json(nullptr)},
            {"unit", pCalibration->getUnit()}};
}

void putImage(image::BaseImage const& image, ordered_json& document) {
    image::BaseImageGeometry const& geometry = image.getGeometry();
    document["sizeX"] = geometry.getSizeX();
    document["sizeY"] = geometry.getSizeY();
    document["sizeZ"] = geometry.getSizeZ();
    document["sizeC"] = geometry.getSizeC();
    document["sizeT"] = geometry.getSizeT();
    document["pixelType"] = image::file::getPixelTypeName(geometry.getBufferType());
    document["color"] = image::file::getColorName(geometry.getColorGeometryType());
    document["minIsBlack"] = geometry.getColorGeometry().minIsBlack();
    document["calibration"] = toJson(image.getGeometricCalibrationConstPtr());
}

} // namespace

std::string toText(ImportSummary const& summary) {
    std::ostringstream text;
    image::BaseImageGeometry const& geometry = summary.pImage->getGeometry();
    std::string const output = getOutputName(summary);
    text << summary.file << " -> " << summary.parts.front().path.string();
    if (summary.parts.size() > 1) {
        text << " to " << summary.parts.back().path.string();
    }
    text << "\n  size        X " << geometry.getSizeX() << ", Y " << geometry.getSizeY() << ", Z "
         << geometry.getSizeZ() << ", C " << geometry.getSizeC() << ", T " << geometry.getSizeT()
         << "\n  pixels      " << image::file::getPixelTypeName(geometry.getBufferType()) << '\n';
    for (importer::ImportChange const& change : summary.changes) {
        text << "  change      " << change.text << '\n';
    }
    if (summary.parts.size() > 1) {
        text << "  change      more pages than a TIFF file of this library holds: " << summary.parts.size()
             << " files; to join them: " << getStackLine(summary, output) << '\n';
    }
    return text.str();
}

std::string toJson(ImportSummary const& summary) {
    ordered_json document = {{"schema", 1}, {"file", summary.file}};
    document["outputs"] = ordered_json::array();
    for (importer::OutputPart const& part : summary.parts) {
        document["outputs"].push_back(part.path.string());
    }
    if (summary.pImage) {
        putImage(*summary.pImage, document);
    } else {
        for (char const* const key : {"sizeX", "sizeY", "sizeZ", "sizeC", "sizeT", "pixelType", "color",
                                      "minIsBlack", "calibration"}) {
            document[key] = nullptr;
        }
    }
    document["changes"] = ordered_json::array();
    for (importer::ImportChange const& change : summary.changes) {
        document["changes"].push_back({{"kind", change.kind}, {"text", change.text}});
    }
    document["series"] = ordered_json::array();
    for (importer::ImportSeries const& series : summary.series) {
        document["series"].push_back(
            {{"number", series.number}, {"pixels", series.pixels}, {"directories", series.directories}});
    }
    document["error"] = summary.error.empty() ? ordered_json(nullptr) : ordered_json(summary.error);
    return document.dump(2, ' ', false, ordered_json::error_handler_t::replace) + '\n';
}

} // namespace velmo::tool
