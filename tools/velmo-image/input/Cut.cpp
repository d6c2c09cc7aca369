// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "input/Cut.h"

#include "terminal/CheckedParsing.h"

#include <algorithm>
#include <boost/algorithm/string/classification.hpp>
#include <boost/algorithm/string/split.hpp>
#include <boost/make_shared.hpp>
#include <vector>

namespace velmo::tool {

namespace {

using namespace image;

bool isAll(AxisIndexes const& indexes, vlUInt64 size) {
    return indexes.count == size;
}

ColorGeometry createCutColor(ColorGeometry const& whole, AxisIndexes const& channels) {
    if (isAll(channels, whole.getSizeC())) {
        return whole;
    }
    ColorGeometry color;
    bool const bWithoutAlpha = whole.getColorGeometryType() == eCGT_Rgba && channels.first == 0 &&
                               channels.count == 3; // the step must be 1
    if (bWithoutAlpha) {
        color.initRgb();
    } else if (channels.count == 1) {
        color.initGrey();
    } else {
        color.initUser(channels.count);
    }
    color.setMinIsBlack(whole.minIsBlack());
    for (vlUInt64 channel = 0; channel < channels.count; ++channel) {
        std::string const name = whole.getChannelName(channels[channel]);
        if (!name.empty()) {
            color.setChannelName(name, channel);
        }
    }
    return color;
}

ImageGeometryPtr createGeometryOf(std::vector<eImageBufferType> const& types, vlUInt64 sizeX, vlUInt64 sizeY,
                                  VolumeGeometry const& volume, ColorGeometry const& color,
                                  TemporalGeometry const& temporal) {
    bool const bSame =
        std::all_of(types.begin(), types.end(), [&](eImageBufferType type) { return type == types.front(); });
    if (bSame) {
        return image::geometry(types.empty() ? eIBT_None : types.front(), sizeX, sizeY, volume, color,
                               temporal);
    }
    auto const pGeometry = boost::make_shared<HeterogeneousImageGeometry>();
    pGeometry->init(volume, color, temporal, sizeX, sizeY, types);
    return pGeometry;
}

} // namespace

Cut getWholeCut(BaseImageGeometry const& geometry) {
    return {selectAll(geometry.getSizeZ()),
            selectAll(geometry.getSizeC()),
            selectAll(geometry.getSizeT()),
            {0, 0, geometry.getSizeX(), geometry.getSizeY()}};
}

PlaneRegion parseRegion(std::string const& option, std::string const& text) {
    std::vector<std::string> fields;
    boost::algorithm::split(fields, text, boost::algorithm::is_any_of(","));
    std::vector<vlUInt64> numbers;
    for (std::string const& field : fields) {
        if (std::optional<vlUInt64> const number = findNumber(field)) {
            numbers.push_back(*number);
        }
    }
    if (fields.size() != 4 || numbers.size() != 4 || numbers[2] == 0 || numbers[3] == 0) {
        throw WrongUse(option +
                       " must be X,Y,W,H, the first column and row from 0, the width and the height from 1, "
                       "such as 0,0,640,480, not " +
                       quoted(text));
    }
    return {numbers[0], numbers[1], numbers[2], numbers[3]};
}

void requireInside(std::string const& option, PlaneRegion const& region, BaseImageGeometry const& geometry) {
    vlUInt64 const sizeX = geometry.getSizeX();
    vlUInt64 const sizeY = geometry.getSizeY();
    bool const bInside = region.x < sizeX && region.sizeX <= sizeX - region.x && region.y < sizeY &&
                         region.sizeY <= sizeY - region.y;
    if (!bInside) {
        throw WrongUse(option + " is not within the planes, which have " + std::to_string(sizeX) + " x " +
                       std::to_string(sizeY) + " pixels");
    }
}

ImageGeometryPtr createCutGeometry(BaseImageGeometry const& geometry, Cut const& cut) {
    if (findPlaneOfOtherType(geometry)) {
        throw WorkFailure("the planes along Z have several pixel types; no part of such an image is written");
    }
    VolumeGeometry volume;
    if (geometry.getVolumeGeometryType() == eVGT_3d && !cut.z.bSingle) {
        volume.init3d(cut.z.count);
    }
    TemporalGeometry temporal;
    if (geometry.getTemporalGeometryType() == eTGT_Sequence && !cut.t.bSingle) {
        temporal.initSequence(cut.t.count);
    }
    bool const bOneType = dynamic_cast<HomogeneousImageGeometry const*>(&geometry) != nullptr;
    std::vector<eImageBufferType> types; // one if all time steps have it, since there may be billions of them
    for (vlUInt64 t = 0; t < (bOneType ? 1 : cut.t.count); ++t) {
        types.push_back(geometry.getPlanGeometry(cut.t[t]).getBufferType());
    }
    return createGeometryOf(types, cut.region.sizeX, cut.region.sizeY, volume,
                            createCutColor(geometry.getColorGeometry(), cut.c), temporal);
}

GeometricCalibrationConstPtr createCutCalibration(GeometricCalibrationConstPtr const& pCalibration,
                                                  Cut const& cut) {
    if (!pCalibration || !pCalibration->is3d() || cut.z.step == 1) {
        return pCalibration;
    }
    auto const pThicker = boost::make_shared<GeometricCalibration>();
    auto const& terms = pCalibration->getFurtherTerms();
    pThicker->init3d(pCalibration->getPixelSizeX(), pCalibration->getPixelSizeY(),
                     pCalibration->getPixelSizeZ() * static_cast<float>(cut.z.step), pCalibration->getUnit(),
                     terms[0], terms[1], terms[2], terms[3], terms[4], terms[5], terms[6]);
    return pThicker;
}

} // namespace velmo::tool
