// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include <VELMOImageFile/ImageFileUtilsMessage.h>

#include "Frame/MessageCatalogue.h"

namespace velmo::image::file {

namespace {

using Message = eImageFileUtilsMessage;

constexpr CatalogueEntry<Message::domain> g_messages[] = {
    {Message::eIFUM_MultipleIndexKeywords, "More than one instance of keyword \"<INDEX>\" in pattern \"%s\""},
    {Message::eIFUM_MixedPatterns,
     "Invalid pattern string (%s), mixing patterns with and without keyword \"<INDEX>\""},
};

} // namespace

template <>
bool MsgMapRegistrator<Message::domain>::registerMessageMap() {
    static bool g_bAlreadyRegistred = false;
    return registerCatalogue(g_bAlreadyRegistred, g_messages);
}

} // namespace velmo::image::file
