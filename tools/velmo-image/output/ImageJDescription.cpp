// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "output/ImageJDescription.h"

#include "output/CalibrationTags.h"
#include "terminal/Failure.h"

#include <VELMOImage/ImageGeometry.h>
#include <boost/algorithm/string/replace.hpp>
#include <boost/algorithm/string/trim.hpp>
#include <charconv>
#include <cmath>
#include <iomanip>
#include <sstream>

namespace velmo::tool {

namespace {

using namespace image;

/// Larger files are BigTIFF.
constexpr vlUInt64 g_largestClassicFile = vlUInt64{1} << 31;

/// Why ImageJ cannot open an image; empty if it can.
std::string findObstacle(BaseImageGeometry const& geometry) {
    bool const bOneType = dynamic_cast<HomogeneousImageGeometry const*>(&geometry) != nullptr;
    for (vlUInt64 t = 1; t < geometry.getSizeT() && !bOneType; ++t) {
        if (geometry.getPlanGeometry(t).getBufferType() != geometry.getBufferType()) {
            return "it opens images of one pixel type, these time steps have several; --to-type converts "
                   "them";
        }
    }
    eDataType const type = toDataType(geometry.getBufferType());
    eColorGeometryType const color = geometry.getColorGeometryType();
    if (color == eCGT_Rgb && type != eDT_UInt8 && type != eDT_UInt16) {
        return "it opens RGB of uint8 and uint16 only; --to-type converts the pixels";
    }
    if (color == eCGT_Rgba && type != eDT_UInt8) {
        return "it opens RGBA of uint8 only; --to-type converts the pixels, --c 0:2 leaves alpha out";
    }
    return {};
}

/// ASCII, as ImageJ writes it: other letters as \uXXXX.
std::string toUnitName(std::string const& unit) {
    std::string name = boost::algorithm::trim_copy(unit);
    for (char const* const micro : {"\xc2\xb5", "\xce\xbc"}) {
        boost::algorithm::replace_all(name, micro, "\\u00B5");
    }
    for (char const* const angstrom : {"\xc3\x85", "\xe2\x84\xab"}) {
        boost::algorithm::replace_all(name, angstrom, "\\u00C5");
    }
    std::ostringstream ascii;
    for (char const letter : name) {
        auto const code = static_cast<unsigned char>(letter);
        if (code >= 0x80) { // Latin-1
            ascii << "\\u00" << std::uppercase << std::hex << std::setw(2) << std::setfill('0') << int{code};
        } else if (code >= ' ') {
            ascii << letter;
        }
    }
    return ascii.str();
}

std::string toText(float value) {
    char text[32];
    return {text, std::to_chars(text, text + sizeof(text), value).ptr};
}

std::string describe(BaseImageGeometry const& geometry) {
    eColorGeometryType const color = geometry.getColorGeometryType();
    bool const bPages = color == eCGT_Rgb || color == eCGT_Rgba; // which hold all channels
    // RGB of 8 bits is a colour picture, RGB of 16 bits are three channels.
    bool const bPicture = bPages && toDataType(geometry.getBufferType()) == eDT_UInt8;
    vlUInt64 const sizeC = bPicture ? 1 : geometry.getSizeC();
    vlUInt64 const nbPages = geometry.getSizeZ() * geometry.getSizeT() * (bPages ? 1 : sizeC);
    std::ostringstream text;
    text << "ImageJ=1.53t\nimages=" << nbPages << '\n';
    if (sizeC > 1) {
        text << "channels=" << sizeC << '\n';
    }
    text << "slices=" << geometry.getSizeZ() << "\nframes=" << geometry.getSizeT() << "\nhyperstack=true\n";
    if (!bPages) {
        text << "order=zct\n"; // the fastest first; otherwise czt
    }
    if (sizeC > 1) {
        text << "mode=grayscale\n";
    }
    return text.str();
}

std::string describe(GeometricCalibrationConstPtr const& pCalibration) {
    if (!pCalibration) {
        return {};
    }
    std::string const unit = toUnitName(pCalibration->getUnit());
    std::string text = unit.empty() ? std::string() : "unit=" + unit + '\n';
    float const sizeZ = pCalibration->getPixelSizeZ();
    if (pCalibration->is3d() && std::isfinite(sizeZ) && sizeZ > 0) {
        text += "spacing=" + toText(sizeZ) + '\n';
    }
    return text;
}

} // namespace

ImageJTags describeForImageJ(BaseImage const& image, std::string const& file) {
    BaseImageGeometry const& geometry = image.getGeometry();
    std::string const obstacle = findObstacle(geometry);
    if (!obstacle.empty()) {
        throw WorkFailure("cannot write " + quoted(file) + " for ImageJ: " + obstacle);
    }
    GeometricCalibrationConstPtr const pCalibration = image.getGeometricCalibrationConstPtr();
    CalibrationTags const tags = toUnitTags(pCalibration);
    std::string const size = tags.warning.empty() ? describe(pCalibration) : std::string();
    std::string const warning = geometry.getFullMemorySize() > g_largestClassicFile
                                    ? "more than 2 GiB of pixels are written as BigTIFF, which ImageJ opens "
                                      "only with a plugin"
                                    : tags.warning;
    return {{tags.resolution, describe(geometry) + size + "loop=false\n"}, warning};
}

} // namespace velmo::tool
