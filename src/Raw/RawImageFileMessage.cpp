// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include <VELMOImageFile/RawImageFileMessage.h>

#include "Planes/PlaneFileCatalogue.h"

namespace velmo::image::file {

template <>
bool MsgMapRegistrator<eRawImageFileMessage::domain>::registerMessageMap() {
    return registerPlaneFileCatalogue<eRawImageFileMessage::domain>("raw");
}

} // namespace velmo::image::file
