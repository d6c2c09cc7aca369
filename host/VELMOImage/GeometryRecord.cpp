// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOImage/detail/GeometryRecord.h"

#include "VELMOSerialization/VELMOSerializationLog.h"
#include "VELMOUtil/Failures.h"

namespace velmo::image {

void raiseUnknownEnumValue(vlUInt64 value) {
    raiseMessage(VELMO_HERE, g_velmoSerializationRaise, eVELMOSerializationMessage::eVSM_UnknownEnumValue,
                 value);
}

void raiseEnumValueNotStorable(vlUInt64 value) {
    raiseMessage(VELMO_HERE, g_velmoSerializationRaise, eVELMOSerializationMessage::eVSM_EnumValueNotStorable,
                 value);
}

void writeVolume(BaseOArchive& archive, VolumeGeometry const& volume) {
    writeEnum(archive, "volumeGeometryType", volume.getVolumeGeometryType());
    archive << oItem("sizeZ", volume.getSizeZ());
}

VolumeGeometry readVolume(BaseIArchive& archive) {
    VolumeGeometry volume;
    vlUInt64 sizeZ = 0;
    eVolumeGeometryType const type = readEnum(archive, "volumeGeometryType", eVGT_3d);
    archive >> iItem("sizeZ", sizeZ);
    if (type == eVGT_3d) {
        volume.init3d(sizeZ);
    }
    return volume;
}

void writeColor(BaseOArchive& archive, ColorGeometry const& color) {
    writeEnum(archive, "colorGeometryType", color.getColorGeometryType());
    archive << oItem("sizeC", color.getSizeC());
    archive << oItem("minIsBlack", static_cast<int>(color.minIsBlack()));
    vlUInt64 const nbNames = color.getChannelNames().size();
    archive << oItem("nbChannelNames", nbNames);
    for (auto const& [index, name] : color.getChannelNames()) {
        archive << oItem("channelIndex", index) << oItem("channelName", name);
    }
}

ColorGeometry readColor(BaseIArchive& archive) {
    ColorGeometry color;
    color.init(readEnum(archive, "colorGeometryType", eCGT_User));
    vlUInt64 sizeC = 0;
    archive >> iItem("sizeC", sizeC);
    if (color.getColorGeometryType() == eCGT_User) {
        color.initUser(sizeC);
    }
    int minIsBlack = 1;
    archive >> iItem("minIsBlack", minIsBlack);
    color.setMinIsBlack(minIsBlack != 0);
    vlUInt64 nbNames = 0;
    archive >> iItem("nbChannelNames", nbNames);
    for (vlUInt64 nbRead = 0; nbRead < nbNames; ++nbRead) {
        vlUInt64 index = 0;
        std::string name;
        archive >> iItem("channelIndex", index) >> iItem("channelName", name);
        color.setChannelName(name, index);
    }
    return color;
}

void writeTemporal(BaseOArchive& archive, TemporalGeometry const& temporal) {
    writeEnum(archive, "temporalGeometryType", temporal.getTemporalGeometryType());
    archive << oItem("sizeT", temporal.getSizeT());
}

TemporalGeometry readTemporal(BaseIArchive& archive) {
    TemporalGeometry temporal;
    vlUInt64 sizeT = 0;
    eTemporalGeometryType const type = readEnum(archive, "temporalGeometryType", eTGT_Sequence);
    archive >> iItem("sizeT", sizeT);
    if (type == eTGT_Sequence) {
        temporal.initSequence(sizeT);
    }
    return temporal;
}

} // namespace velmo::image
