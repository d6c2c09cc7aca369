// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOUtil/LogMessageManager.h>

namespace velmo::image::file {

/// Registers the catalogue of a message domain, in the order of its ids. A second call does nothing. Always
/// returns true. Only for the load of the library: not thread-safe.
template <class Domain>
struct MsgMapRegistrator {
    static bool registerMessageMap();
};

/// The same under another name.
template <class Domain>
struct MessageMapRegistrator {
    static bool process() { return MsgMapRegistrator<Domain>::registerMessageMap(); }
};

template <class Domain>
struct CatalogueEntry {
    Domain id;
    char const* text;
};

/// Adds the entries of a catalogue. It sets the flag first, so that a failed registration is not repeated.
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
