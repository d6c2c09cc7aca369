// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOAttributes/ZSteps.h"

#include "VELMOSerialization/ClassVersion.h"
#include "VELMOSerialization/DynamicRegistrator.h"

namespace velmo::imaproc::attr {

namespace {

constexpr unsigned int g_recordVersion = 1;

DynamicRegistrator<ZSteps> const g_registrator;

} // namespace

std::string const& ZSteps::getTypeName() {
    static std::string const typeName("velmo::imaproc::attr::ZSteps");
    return typeName;
}

BoolResult ZSteps::write(BaseOArchive& archive) const {
    writeClassVersion(archive, getTypeName(), g_recordVersion);
    _steps.write(archive);
    return success();
}

BoolResult ZSteps::read(BaseIArchive& archive) {
    readClassVersion(archive, getTypeName(), g_recordVersion, VELMO_HERE);
    _steps.read(archive);
    return success();
}

} // namespace velmo::imaproc::attr
