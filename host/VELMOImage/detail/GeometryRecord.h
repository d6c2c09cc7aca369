// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOImage/GeometryParts.h"
#include "VELMOSerialization/BaseArchive.h"

namespace velmo::image {

// The parts of a geometry in its archive record. An enumeration is stored as its number; values above
// its last enumerator are rejected with VELMOSerializationException, before writing and when reading.

[[noreturn]] void raiseUnknownEnumValue(vlUInt64 value);
[[noreturn]] void raiseEnumValueNotStorable(vlUInt64 value);

/// Throws for a value that reading would reject.
template <class Enum>
void requireKnownEnumValue(Enum value, Enum last) {
    if (static_cast<vlUInt64>(value) > static_cast<vlUInt64>(last)) {
        raiseEnumValueNotStorable(value);
    }
}

template <class Enum>
void writeEnum(BaseOArchive& archive, std::string const& name, Enum value) {
    archive << oItem(name, static_cast<vlUInt64>(value));
}

template <class Enum>
Enum readEnum(BaseIArchive& archive, std::string const& name, Enum last) {
    vlUInt64 value = 0;
    archive >> iItem(name, value);
    if (value > static_cast<vlUInt64>(last)) {
        raiseUnknownEnumValue(value);
    }
    return static_cast<Enum>(value);
}

void writeVolume(BaseOArchive& archive, VolumeGeometry const& volume);
VolumeGeometry readVolume(BaseIArchive& archive);
void writeColor(BaseOArchive& archive, ColorGeometry const& color);
ColorGeometry readColor(BaseIArchive& archive);
void writeTemporal(BaseOArchive& archive, TemporalGeometry const& temporal);
TemporalGeometry readTemporal(BaseIArchive& archive);

} // namespace velmo::image
