// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOImage/PixelAccess.h"

#include "VELMOImage/DiskImage.h"
#include "VELMOImage/JoinedImageAccessor.h"
#include "VELMOImage/VELMOImageLog.h"
#include "VELMOUtil/LogMessageFormater.h"

#include <array>
#include <sstream>

namespace velmo::image::detail {

namespace {

using Message = eImageMessage;

/// How a message names an image: by its file, where it has one.
std::string nameImage(BaseImage const& image) {
    auto const* const pDiskImage = dynamic_cast<DiskImage const*>(&image);
    if (pDiskImage == nullptr) {
        return "the image";
    }
    BaseDiskImageAccessor const& accessor = *pDiskImage->getAccessor();
    bool const bJoined = dynamic_cast<JoinedImageAccessor const*>(&accessor) != nullptr;
    return (bJoined ? "the files from \"" : "file \"") + accessor.getFilePath().string() +
           (bJoined ? "\" on" : "\"");
}

char const* nameType(eDataType type) {
    static constexpr std::array<char const*, 8> names = {"no C++ type",   "std::int8_t",   "std::uint8_t",
                                                         "std::int16_t",  "std::uint16_t", "std::int32_t",
                                                         "std::uint32_t", "float"};
    return names.at(type);
}

std::string nameBufferType(eImageBufferType type) {
    std::ostringstream text;
    text << type;
    return text ? text.str() : std::to_string(vlUInt64{type});
}

/// Raises message `id`, whose arguments are the plane, the image and `after`.
template <class... After>
[[noreturn]] void raiseForPlane(RaiseSite const& site, Message::domain id, BaseImage const& image,
                                PlanIndexes const& plane, After const&... after) {
    raiseGuarded(site, g_velmoImageRaise, [&](LogMessageFormater& formater) {
        formater[id] % plane.z % plane.c % plane.t % nameImage(image);
        static_cast<void>((formater % ... % after)); // none for eIM_PlaneNotInMemory
    });
}

} // namespace

void requireImage(BaseImage const* pImage) {
    if (pImage == nullptr) {
        raiseGuarded(VELMO_HERE, g_velmoImageRaise,
                     [](LogMessageFormater& formater) { formater[Message::eIM_ImageMissing]; });
    }
}

void requirePixels(BaseImage const& image, PlanIndexes const& plane, eDataType asked) {
    BaseImageGeometry const& geometry = image.getGeometry();
    if (!geometry.hasPlan(plane.z, plane.c, plane.t)) {
        raiseForPlane(VELMO_HERE, Message::eIM_PlaneOutOfRange, image, plane, geometry.getSizeZ(),
                      geometry.getSizeC(), geometry.getSizeT());
    }
    eImageBufferType const type = geometry.getPlanGeometry(plane.t).getBufferType();
    if (toDataType(type) != asked) {
        raiseForPlane(VELMO_HERE, Message::eIM_PixelTypeMismatch, image, plane, nameBufferType(type),
                      nameType(toDataType(type)), nameType(asked));
    }
}

void requireRow(BaseImage const& image, PlanIndexes const& plane, vlUInt64 y) {
    vlUInt64 const sizeY = image.getGeometry().getSizeY();
    if (y >= sizeY) {
        raiseForPlane(VELMO_HERE, Message::eIM_RowOutOfRange, image, plane, sizeY, y);
    }
}

void requireCount(BaseImage const& image, PlanIndexes const& plane, vlUInt64 nbPixels, vlUInt64 nbExpected) {
    if (nbPixels != nbExpected) {
        raiseForPlane(VELMO_HERE, Message::eIM_PixelCountMismatch, image, plane, nbExpected, nbPixels);
    }
}

void readChecked(BaseImage const& image, PlanIndexes const& plane, vlUInt64 pixelStart, vlUInt64 nbPixels,
                 void* buffer) {
    BoolResult const result = image.readPixels(plane, pixelStart, nbPixels, buffer);
    if (!result) {
        raiseForPlane(VELMO_HERE, Message::eIM_ReadPlaneFailed, image, plane, result);
    }
}

void writeChecked(BaseImage& image, PlanIndexes const& plane, vlUInt64 pixelStart, vlUInt64 nbPixels,
                  void const* buffer) {
    BoolResult const result = image.writePixels(plane, pixelStart, nbPixels, buffer);
    if (!result) {
        raiseForPlane(VELMO_HERE, Message::eIM_WritePlaneFailed, image, plane, result);
    }
}

void const* accessChecked(BaseImage const& image, PlanIndexes const& plane) {
    void const* const pPixels = image.accessPlan(plane.z, plane.c, plane.t);
    if (pPixels == nullptr && image.getGeometry().getPlanNbPixels() != 0) {
        raiseForPlane(VELMO_HERE, Message::eIM_PlaneNotInMemory, image, plane);
    }
    return pPixels;
}

void raiseOutOfView(vlUInt64 x, vlUInt64 y, vlUInt64 sizeX, vlUInt64 sizeY) {
    raiseGuarded(VELMO_HERE, g_velmoImageRaise, [&](LogMessageFormater& formater) {
        formater[Message::eIM_PixelOutOfView] % x % y % sizeX % sizeY;
    });
}

} // namespace velmo::image::detail
