// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOSerialization/ClassVersion.h"

#include "VELMOSerialization/BaseArchive.h"
#include "VELMOSerialization/VELMOSerializationLog.h"
#include "VELMOUtil/Failures.h"

namespace velmo {

void writeClassVersion(BaseOArchive& archive, std::string const& className, unsigned int version) {
    if (archive.isClassVersionRegistred(className)) {
        return;
    }
    ArchiveSectionManager const section(archive, className);
    archive << oItem("version", version);
    archive.registerClassVersion(className, version);
}

unsigned int readClassVersion(BaseIArchive& archive, std::string const& className,
                              unsigned int currentVersion, RaiseSite const& site) {
    if (archive.isClassVersionRegistred(className)) {
        return archive.getRegisterClassVersion(className);
    }
    ArchiveSectionManager const section(archive, className);
    unsigned int version = 0;
    archive >> iItem("version", version);
    if (version > currentVersion) {
        raiseMessage(site, g_velmoSerializationRaise, eVELMOSerializationMessage::eVSM_NewerClassVersion,
                     version, className, currentVersion);
    }
    archive.registerClassVersion(className, version);
    return version;
}

} // namespace velmo
