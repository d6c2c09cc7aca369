// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "ThrownText.h"
#include "VELMOSerialization/BaseSerializationObject.h"
#include "VELMOSerialization/BinaryArchive.h"
#include "VELMOSerialization/VELMOSerializationLog.h"
#include "VELMOSerialization/XmlArchive.h"

#include <sstream>
#include <string>

namespace velmo::test {

template <class OArchive>
std::string toArchive(BaseSerializationObject const& object) {
    std::ostringstream stream;
    {
        OArchive archive(stream);
        EXPECT_TRUE(object.write(archive));
    }
    return stream.str();
}

template <class IArchive>
BoolResult fromArchive(std::string const& record, BaseSerializationObject& object) {
    std::istringstream stream(record);
    IArchive archive(stream);
    return object.read(archive);
}

inline std::string toBinary(BaseSerializationObject const& object) {
    return toArchive<BinaryOArchive>(object);
}

inline BoolResult fromBinary(std::string const& record, BaseSerializationObject& object) {
    return fromArchive<BinaryIArchive>(record, object);
}

inline std::string toXml(BaseSerializationObject const& object) {
    return toArchive<XmlOArchive>(object);
}

inline BoolResult fromXml(std::string const& record, BaseSerializationObject& object) {
    return fromArchive<XmlIArchive>(record, object);
}

/// An XML record with another value in the item of that name, the first if there are several.
inline std::string withItem(std::string record, std::string const& name, std::string const& value) {
    std::string const start = "name=\"" + name + "\" value=\"";
    auto const found = record.find(start);
    if (found == std::string::npos) {
        ADD_FAILURE() << "no item " << name << " in " << record;
        return record;
    }
    auto const from = found + start.size();
    return record.replace(from, record.find('"', from) - from, value);
}

} // namespace velmo::test
