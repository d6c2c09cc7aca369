// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "ArchiveKind.h"

#include "Results.h"

#include <VELMOSerialization/BinaryArchive.h>
#include <VELMOSerialization/XmlArchive.h>
#include <gmock/gmock.h>
#include <sstream>

namespace velmo::image::file {

using velmo::test::Succeeds;

namespace {

template <class OArchive>
std::string writeTo(ArchiveKind::Writing const& work) {
    std::ostringstream stream;
    {
        OArchive archive(stream);
        work(archive);
    }
    return stream.str();
}

template <class IArchive>
void readFrom(std::string const& bytes, ArchiveKind::Reading const& work) {
    std::istringstream stream(bytes);
    IArchive archive(stream);
    work(archive);
}

} // namespace

ArchiveKind const g_binary = {"Binary", writeTo<BinaryOArchive>, readFrom<BinaryIArchive>};
ArchiveKind const g_xml = {"Xml", writeTo<XmlOArchive>, readFrom<XmlIArchive>};

void PrintTo(ArchiveKind const& kind, std::ostream* pStream) {
    *pStream << kind.name;
}

std::string writeRecord(ArchiveKind const& kind, BaseDiskImageAccessor const& file) {
    return kind.write([&](BaseOArchive& archive) { EXPECT_THAT(file.write(archive), Succeeds()); });
}

BoolResult readRecord(ArchiveKind const& kind, std::string const& record, BaseDiskImageAccessor& file) {
    BoolResult result = failure("not read");
    kind.read(record, [&](BaseIArchive& archive) { result = file.read(archive); });
    return result;
}

} // namespace velmo::image::file
