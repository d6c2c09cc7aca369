// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/ImageAccessor.h>
#include <VELMOSerialization/BaseArchive.h>
#include <VELMOUtil/BoolResult.h>
#include <functional>
#include <ostream>
#include <string>

namespace velmo::image::file {

/// One function for each direction of a kind of archive.
struct ArchiveKind {
    using Writing = std::function<void(BaseOArchive&)>;
    using Reading = std::function<void(BaseIArchive&)>;
    char const* name;
    std::string (*write)(Writing const&);
    void (*read)(std::string const&, Reading const&);
};

void PrintTo(ArchiveKind const& kind, std::ostream* pStream);

extern ArchiveKind const g_binary;
extern ArchiveKind const g_xml;

std::string writeRecord(ArchiveKind const& kind, BaseDiskImageAccessor const& file);
BoolResult readRecord(ArchiveKind const& kind, std::string const& record, BaseDiskImageAccessor& file);

} // namespace velmo::image::file
