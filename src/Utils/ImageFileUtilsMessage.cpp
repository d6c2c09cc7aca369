// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include <VELMOImageFile/ImageFileUtilsMessage.h>

#include "MessageCatalogue.h"

namespace velmo {
namespace image {
namespace file {

template <>
bool MsgMapRegistrator<eImageFileUtilsMessage::domain>::registerMessageMap() {
    using Message = eImageFileUtilsMessage;
    static bool g_bAlreadyRegistred = false;
    return registerCatalogue<Message::domain>(
        g_bAlreadyRegistred,
        {
            {Message::eIFUM_MultipleIndexKeywords,
             "More than one instance of keyword \"<INDEX>\" in pattern \"%s\""},
            {Message::eIFUM_MixedPatterns,
             "Invalid pattern string (%s), mixing patterns with and without keyword \"<INDEX>\""},
        });
}

} // namespace file
} // namespace image
} // namespace velmo
