// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "PixelNames.h"

namespace velmo::importer {

namespace {

char const* describeColours(std::uint16_t photometric) {
    switch (photometric) {
    case PHOTOMETRIC_MINISWHITE:
        return "grey, minimum is white";
    case PHOTOMETRIC_MINISBLACK:
        return "grey";
    case PHOTOMETRIC_RGB:
        return "RGB";
    case PHOTOMETRIC_PALETTE:
        return "palette";
    case PHOTOMETRIC_MASK:
        return "mask";
    case PHOTOMETRIC_SEPARATED:
        return "inks";
    case PHOTOMETRIC_YCBCR:
        return "YCbCr";
    case PHOTOMETRIC_CIELAB:
        return "CIE Lab";
    case PHOTOMETRIC_ICCLAB:
        return "ICC Lab";
    case PHOTOMETRIC_ITULAB:
        return "ITU Lab";
    case PHOTOMETRIC_LOGL:
        return "LogL";
    case PHOTOMETRIC_LOGLUV:
        return "LogLuv";
    case g_colourFilterArray:
        return "colour filter array";
    case g_linearRaw:
        return "linear raw colours";
    default:
        return "";
    }
}

} // namespace

std::string describeSamples(PageShape const& shape) {
    switch (shape.sampleFormat) {
    case SAMPLEFORMAT_INT:
        return "int" + std::to_string(shape.bits);
    case SAMPLEFORMAT_IEEEFP:
        return "float" + std::to_string(shape.bits);
    case SAMPLEFORMAT_COMPLEXINT:
    case SAMPLEFORMAT_COMPLEXIEEEFP:
        return "complex" + std::to_string(shape.bits);
    default:
        return "uint" + std::to_string(shape.bits);
    }
}

std::string nameColours(std::uint16_t photometric) {
    std::string const name = describeColours(photometric);
    return name.empty() ? "photometric interpretation " + std::to_string(photometric) : name;
}

std::string describePixels(PageShape const& shape) {
    return std::to_string(shape.sizeX) + " x " + std::to_string(shape.sizeY) + ", " +
           (shape.samples > 1 ? std::to_string(shape.samples) + " samples of " : "") +
           describeSamples(shape) + ", " + nameColours(shape.photometric);
}

} // namespace velmo::importer
