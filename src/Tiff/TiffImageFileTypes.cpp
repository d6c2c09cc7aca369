// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include <VELMOImageFile/TiffImageFileTypes.h>

#include <VELMOSerialization/VELMOSerializationLog.h>
#include <VELMOUtil/Failures.h>

namespace velmo {

namespace {

using image::file::eTiffBufferMode;
using image::file::eTiffDirectoryMode;

/// Names of an enumeration's enumerators, by their values.
template <class Enum>
struct Names;

template <>
struct Names<eTiffDirectoryMode> {
    static constexpr char const* s_texts[] = {"eTDM_Volume", "eTDM_Temporal"};
};

template <>
struct Names<eTiffBufferMode> {
    static constexpr char const* s_texts[] = {"eTBM_Default", "eTBM_Binary", "eTBM_Label"};
};

template <class Enum>
constexpr int g_nbNames = static_cast<int>(std::size(Names<Enum>::s_texts));

template <class Enum>
void writeEnum(BaseOArchive& archive, SerializationOItem<Enum> const& item) {
    bool const bKnown = item.getValue() < static_cast<vlUInt64>(g_nbNames<Enum>);
    int const value = bKnown ? static_cast<int>(item.getValue()) : 0;
    if (archive.isTextual()) {
        std::string const text = Names<Enum>::s_texts[value];
        archive << oItem(item.getName(), text);
    } else {
        archive << oItem(item.getName(), value);
    }
}

template <class Enum>
Enum readText(BaseIArchive& archive, std::string const& name) {
    std::string text;
    archive >> iItem(name, text);
    for (int value = 0; value < g_nbNames<Enum>; ++value) {
        if (text == Names<Enum>::s_texts[value]) {
            return static_cast<Enum>(value);
        }
    }
    raiseMessage(VELMO_HERE, g_velmoSerializationRaise, eVELMOSerializationMessage::eVSM_UnknownEnumText,
                 text);
}

template <class Enum>
Enum readNumber(BaseIArchive& archive, std::string const& name) {
    int value = 0;
    archive >> iItem(name, value);
    if (value < 0 || value >= g_nbNames<Enum>) {
        raiseMessage(VELMO_HERE, g_velmoSerializationRaise, eVELMOSerializationMessage::eVSM_UnknownEnumValue,
                     value);
    }
    return static_cast<Enum>(value);
}

template <class Enum>
void readEnum(BaseIArchive& archive, SerializationIItem<Enum> const& item) {
    item.getValue() = archive.isTextual() ? readText<Enum>(archive, item.getName())
                                          : readNumber<Enum>(archive, item.getName());
}

} // namespace

BaseOArchive& operator<<(BaseOArchive& archive, SerializationOItem<eTiffDirectoryMode> const& item) {
    writeEnum(archive, item);
    return archive;
}

BaseOArchive& operator<<(BaseOArchive& archive, SerializationOItem<eTiffBufferMode> const& item) {
    writeEnum(archive, item);
    return archive;
}

BaseIArchive& operator>>(BaseIArchive& archive, SerializationIItem<eTiffDirectoryMode> const& item) {
    readEnum(archive, item);
    return archive;
}

BaseIArchive& operator>>(BaseIArchive& archive, SerializationIItem<eTiffBufferMode> const& item) {
    readEnum(archive, item);
    return archive;
}

} // namespace velmo
