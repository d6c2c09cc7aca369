// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/model/TiffStoredGeometry.h"

#include "Frame/GeometryCopy.h"
#include "Tiff/handle/TiffTags.h"

#include <VELMOSerialization/BinaryArchive.h>
#include <sstream>

namespace velmo {

// A shared pointer in an archive is a section for the field, which contains a section for the pointer, which
// contains the object. The names of the inner sections differ between writing and reading.

template <class T>
static BaseOArchive& operator<<(BaseOArchive& archive, SerializationOItem<boost::shared_ptr<T>> const& item) {
    ArchiveSectionManager const field(archive, item.getName());
    ArchiveSectionManager const pointer(archive, "shared_ptr<" + T::getTypeName() + ">");
    archive.writeObject("pObject", item.getValue());
    return archive;
}

template <class T>
static BaseIArchive& operator>>(BaseIArchive& archive, SerializationIItem<boost::shared_ptr<T>> const& item) {
    ArchiveSectionManager const field(archive, item.getName());
    ArchiveSectionManager const pointer(archive, "shared_ptr<>");
    item.getValue() = readObjectOf<T>(archive, "pObject");
    return archive;
}

namespace image::file {

namespace {

/// Stores a colour type outside of the enumeration as grey, as in the directories, because an archive rejects
/// it.
void makeColorKnown(ColorGeometry& color) {
    if (color.getColorGeometryType() <= eCGT_User) {
        return;
    }
    auto const names = color.getChannelNames();
    color.initGrey();
    for (auto const& [index, name] : names) {
        color.setChannelName(name, index);
    }
}

} // namespace

bool isOwnFile(TIFF* pTiff) {
    auto const software = getTag<char*>(pTiff, TIFFTAG_SOFTWARE);
    return software && VelmoSoftware::get() == *software;
}

std::string toStoredGeometry(BaseImageGeometry const& geometry,
                             GeometricCalibrationConstPtr const& pCalibration) {
    std::ostringstream stream;
    BinaryOArchive archive(stream);
    auto const pGeometry = copyGeometry(geometry);
    makeColorKnown(pGeometry->getColorGeometry());
    archive << oItem("pGeometry", pGeometry) << oItem("pGeometricCalibration", pCalibration);
    return stream.str();
}

BoolResult readStoredGeometry(TIFF* pTiff, boost::filesystem::path const& path, ImageGeometryPtr& pGeometry,
                              GeometricCalibrationPtr& pCalibration) {
    std::uint32_t nbBytes = 0;
    char const* pBytes = nullptr;
    if (TIFFGetField(pTiff, TIFFTAG_PHOTOSHOP, &nbBytes, &pBytes) != 1) {
        return failToGetTag("TIFFTAG_PHOTOSHOP", path);
    }
    std::istringstream stream(std::string(pBytes, nbBytes));
    BinaryIArchive archive(stream);
    archive >> iItem("pImageGeometry", pGeometry);
    if (stream.good() && stream.tellg() < static_cast<std::streamoff>(nbBytes)) {
        archive >> iItem("pGeometricCalibration", pCalibration);
    }
    if (!pGeometry) {
        return fail(eTiffImageFileMessage::eTIFM_OpenFileException, path.string(),
                    "The file stores no geometry");
    }
    return success();
}

std::string readUserProperties(TIFF* pTiff) {
    auto const text = getTag<char*>(pTiff, g_userPropertiesTag);
    return text ? std::string(*text) : std::string();
}

} // namespace image::file
} // namespace velmo
