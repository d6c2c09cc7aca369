// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOImage/GeometryParts.h"

#include "VELMOImage/VELMOImageLog.h"
#include "VELMOUtil/Failures.h"

namespace velmo::image {

void VolumeGeometry::init2d() {
    _type = eVGT_2d;
    _sizeZ = 1;
}

void VolumeGeometry::init3d(vlUInt64 sizeZ) {
    _type = eVGT_3d;
    _sizeZ = sizeZ;
}

void TemporalGeometry::initSingle() {
    _type = eTGT_Single;
    _sizeT = 1;
}

void TemporalGeometry::initSequence(vlUInt64 sizeT) {
    _type = eTGT_Sequence;
    _sizeT = sizeT;
}

void ColorGeometry::initGrey() {
    init(eCGT_Grey);
}

void ColorGeometry::initRgb() {
    init(eCGT_Rgb);
}

void ColorGeometry::init(eColorGeometryType const& type) {
    switch (type) {
    case eCGT_Rgba:
        initChannels(type, 4);
        break;
    case eCGT_Rgb:
    case eCGT_XYZ:
    case eCGT_YPbPr:
    case eCGT_YCbCr:
    case eCGT_CieLab:
    case eCGT_CieLuv:
    case eCGT_HLS:
    case eCGT_HSV:
        initChannels(type, 3);
        break;
    case eCGT_Grey:
    case eCGT_User:
    default:
        initChannels(type, 1);
        break;
    }
}

void ColorGeometry::initUser(vlUInt64 sizeC) {
    initChannels(eCGT_User, sizeC);
}

// What black is belongs to the image and not to its channels: it stays.
void ColorGeometry::initChannels(eColorGeometryType type, vlUInt64 sizeC) {
    _type = type;
    _sizeC = sizeC;
    _channelNames.clear();
}

void ColorGeometry::setChannelName(std::string const& name, vlUInt64 index) {
    if (index >= _sizeC) {
        raiseMessage(VELMO_HERE, g_velmoImageRaise, eImageMessage::eIM_ChannelOutOfRange, index, _sizeC);
    }
    _channelNames[index] = name;
}

std::string ColorGeometry::getChannelName(vlUInt64 index) const {
    auto const found = _channelNames.find(index);
    return found == _channelNames.end() ? std::string() : found->second;
}

} // namespace velmo::image
