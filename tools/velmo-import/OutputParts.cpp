// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "ImportTiff.h"
#include "ImportedAccessor.h"
#include "Refusal.h"

#include <VELMOBase/CheckedArithmetic.h>
#include <VELMOImage/ImageGeometry.h>
#include <algorithm>

namespace velmo::importer {

namespace {

namespace fs = boost::filesystem;
using namespace image;

/// The largest number of pages of a TIFF file of the module; pages of RGB and RGBA hold all their channels.
constexpr vlUInt64 g_maxPlanes = 32767;
constexpr vlUInt64 g_maxColourPages = 65536;

bool isInterleaved(BaseImageGeometry const& geometry) {
    eColorGeometryType const color = geometry.getColorGeometryType();
    return color == eCGT_Rgb || color == eCGT_Rgba;
}

std::string getNumberedName(fs::path const& output, std::string const& number) {
    return output.stem().string() + '-' + number + output.extension().string();
}

std::string toDigits(vlUInt64 number, vlUInt64 last) {
    std::string const digits = std::to_string(number);
    return std::string(std::to_string(last).size() - digits.size(), '0') + digits;
}

} // namespace

std::string getPartPattern(fs::path const& output) {
    return getNumberedName(output, "<INDEX>");
}

std::vector<OutputPart> divideOutput(fs::path const& output, BaseImageGeometry const& geometry) {
    bool const bInterleaved = isInterleaved(geometry);
    vlUInt64 const limit = bInterleaved ? g_maxColourPages : g_maxPlanes;
    vlUInt64 const nbPagesOfZ = bInterleaved ? 1 : geometry.getSizeC();
    vlUInt64 const nbPagesOfT = nbPagesOfZ * geometry.getSizeZ(); // fits: the planes are counted in 64 bits
    vlUInt64 const sizeT = geometry.getSizeT();
    if (nbPagesOfT * sizeT <= limit) {
        return {{output, getWhole(geometry)}};
    }
    bool const bAlongT = geometry.getTemporalGeometryType() == eTGT_Sequence;
    vlUInt64 const nbPagesOfStep = bAlongT ? nbPagesOfT : nbPagesOfZ;
    if (nbPagesOfStep > limit) {
        refuse("each " + std::string(bAlongT ? "time step" : "plane along Z") + " has " +
               std::to_string(nbPagesOfStep) + " pages, a TIFF file of this library holds at most " +
               std::to_string(limit) + "; a raw output has no limit");
    }
    vlUInt64 const nbStepsOfFile = limit / nbPagesOfStep;
    vlUInt64 const nbSteps = bAlongT ? sizeT : geometry.getSizeZ();
    vlUInt64 const nbFiles = divideUp(nbSteps, nbStepsOfFile);
    std::vector<OutputPart> parts;
    for (vlUInt64 number = 0; number < nbFiles; ++number) {
        vlUInt64 const first = number * nbStepsOfFile;
        vlUInt64 const nbOfFile = std::min(nbStepsOfFile, nbSteps - first);
        fs::path const path = output.parent_path() / getNumberedName(output, toDigits(number, nbFiles - 1));
        ImagePart const part =
            bAlongT ? ImagePart{0, geometry.getSizeZ(), first, nbOfFile} : ImagePart{first, nbOfFile, 0, 1};
        parts.push_back({path, part});
    }
    return parts;
}

} // namespace velmo::importer
