// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Frame/MessageCatalogue.h"

#include <string>
#include <typeinfo>

namespace velmo::image::file {

/// The texts of all formats of uncompressed planes are the same but for the name of the format. Registers
/// them under a domain key, by the ids that such formats share.
void addPlaneFileMessages(std::string const& domainKey, std::string const& formatName);

/// The catalogue of a format of uncompressed planes; a second call does nothing. Always true.
template <class Domain>
bool registerPlaneFileCatalogue(std::string const& formatName) {
    static bool g_bAlreadyRegistred = false;
    if (!g_bAlreadyRegistred) {
        g_bAlreadyRegistred = true;
        addPlaneFileMessages(typeid(Domain).name(), formatName);
    }
    return true;
}

} // namespace velmo::image::file
