// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include <VELMOImageFile/Im6ImageFileMessage.h>

#include "Planes/PlaneFileCatalogue.h"

namespace velmo::image::file {

template <>
bool MsgMapRegistrator<eIm6ImageFileMessage::domain>::registerMessageMap() {
    return registerPlaneFileCatalogue<eIm6ImageFileMessage::domain>("im6");
}

} // namespace velmo::image::file
