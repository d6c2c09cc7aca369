// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include <VELMOImageFile/VELMOImageFileMessage.h>

#include "Frame/MessageCatalogue.h"

#include <array>

namespace velmo::image::file {

template <>
bool MsgMapRegistrator<eVELMOImageFileMessage::domain>::registerMessageMap() {
    static bool g_bAlreadyRegistred = false;
    return registerCatalogue(g_bAlreadyRegistred,
                             std::array<CatalogueEntry<eVELMOImageFileMessage::domain>, 0>());
}

} // namespace velmo::image::file
