// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOUtil/LogMessageManager.h>

namespace velmo::image::file {

/// Registers the catalogue of a message domain, in the order of its ids; a second call does nothing. Always
/// true. For the load of the library alone: not safe from several threads.
template <class Domain>
struct MsgMapRegistrator {
    static bool registerMessageMap();
};

/// The same under the plain name.
template <class Domain>
struct MessageMapRegistrator {
    static bool process() { return MsgMapRegistrator<Domain>::registerMessageMap(); }
};

template <class Domain>
struct CatalogueEntry {
    Domain id;
    char const* text;
};

/// What every catalogue does with its entries. The flag is set before any work, so that a failure is not
/// retried.
template <class Entries>
bool registerCatalogue(bool& bAlreadyRegistred, Entries const& entries) {
    if (bAlreadyRegistred) {
        return true;
    }
    bAlreadyRegistred = true;
    LogMessageManager& manager = LogMessageManager::getInstance("VELMOImageFile");
    for (auto const& entry : entries) {
        manager.addMessage(entry.id, entry.text);
    }
    return true;
}

} // namespace velmo::image::file
