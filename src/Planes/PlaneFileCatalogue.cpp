// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Planes/PlaneFileCatalogue.h"

namespace velmo::image::file {

namespace {

/// Texts by id; "#" stands for the name of the format.
constexpr char const* g_texts[] = {
    "Failed to create # image file %s",
    "Failed to create # image file %s\n%s",
    "Failed to create distributed image\n%s",
    "Failed to write file header for file %s\n%s",
    ("Input geometry with total size %lld and starting offset %lld is greater than global file size %lld "
     "for # image file %s"),
    "Invalid plan component indexes z=%d c=%d t=%d",
    "Error while loading # image file %s\n%s",
    "Failed to open # image file %s",
    "Failed to read # image file %s for z=%d, c=%d, t=%d, pixelStartOffset=%lld and nbPixels=%lld",
    "Failed to reserve %lld bytes for # image file %s",
    "Failed to reserve %lld bytes for # image file %s\n%s",
    "Error while saving # image file %s\n%s",
    "Failed to seek position into # image file %s for z=%d, c=%d, t=%d and pixelStartOffset=%lld",
    "Failed to write # image file %s for z=%d, c=%d, t=%d, pixelStartOffset=%lld and nbPixels=%lld",
    "Failed to write # image file %s for z=%d, c=%d, t=%d, pixelStartOffset=%lld and nbPixels=%lld\n%s"};

std::string nameFormat(std::string text, std::string const& formatName) {
    auto const at = text.find('#');
    return at == std::string::npos ? text : text.replace(at, 1, formatName);
}

} // namespace

void addPlaneFileMessages(std::string const& domainKey, std::string const& formatName) {
    LogMessageManager& manager = LogMessageManager::getInstance("VELMOImageFile");
    int id = 0;
    for (char const* text : g_texts) {
        manager.addMessage(domainKey, id, nameFormat(text, formatName));
        ++id;
    }
}

} // namespace velmo::image::file
