// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Frame/AccessorIdiom.h"

#include "Frame/GeometryCopy.h"

#include <VELMOImage/ImageAccessor.h>
#include <VELMOImage/ImageGeometry.h>
#include <VELMOImage/VELMOImageLog.h>
#include <VELMOUtil/Failures.h>
#include <VELMOUtil/VELMOUtilLog.h>

namespace velmo::image::file {

void raiseNoCopySupport(RaiseSite const& site, std::string const& typeName) {
    raiseMessage(site, g_velmoUtilRaise, eVELMOUtilErrors::eVUE_CopyNotSupported, typeName);
}

void requireInitialised(RaiseSite const& site, BaseImageAccessor const& accessor) {
    if (!accessor.isInit()) {
        raiseMessage(site, g_velmoImageRaise, eImageAccessorMessage::eIAM_NotInitialised);
    }
}

ArgumentCopies::ArgumentCopies(boost::filesystem::path const& givenPath,
                               BaseImageGeometry const& givenGeometry)
    : path(givenPath), pGeometry(copyGeometry(givenGeometry)) {}

ClearOnFailure::~ClearOnFailure() {
    if (_pAccessor != nullptr) {
        _pAccessor->clear();
    }
}

} // namespace velmo::image::file
