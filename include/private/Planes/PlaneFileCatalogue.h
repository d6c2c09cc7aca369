// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Frame/MessageCatalogue.h"

#include <string>
#include <typeinfo>

namespace velmo::image::file {

/// Registers the messages of a format of uncompressed planes under a domain key, with the ids that such
/// formats share. The texts differ only in the name of the format.
void addPlaneFileMessages(std::string const& domainKey, std::string const& formatName);

/// Registers the catalogue of a format of uncompressed planes. A second call does nothing. Always returns
/// true.
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
