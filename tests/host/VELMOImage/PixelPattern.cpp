// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "PixelPattern.h"

#include "VELMOImage/ImageGeometry.h"

#include <stdexcept>

namespace velmo::test {

using namespace velmo::image;

Bytes makePattern(vlUInt64 nbBytes, vlUInt64 seed) {
    Bytes bytes(nbBytes);
    for (vlUInt64 i = 0; i < nbBytes; ++i) {
        bytes[i] = static_cast<std::byte>(((i + seed + 1) * 2654435761U) >> 13U);
    }
    return bytes;
}

vlUInt64 countPlaneBytes(BaseImageGeometry const& geometry, vlUInt64 t) {
    return geometry.getSizeX() * geometry.getSizeY() *
           getImageBufferBaseSize(geometry.getPlanGeometry(t).getBufferType());
}

namespace {

/// Calls `visit(z, c, t)` for each plane in (t, c, z) order.
template <class Visit>
void forEachPlane(BaseImageGeometry const& geometry, Visit const& visit) {
    for (vlUInt64 t = 0; t < geometry.getSizeT(); ++t) {
        for (vlUInt64 c = 0; c < geometry.getSizeC(); ++c) {
            for (vlUInt64 z = 0; z < geometry.getSizeZ(); ++z) {
                visit(z, c, t);
            }
        }
    }
}

void require(BoolResult const& result) {
    if (!result) {
        throw std::runtime_error(result.getMessage());
    }
}

} // namespace

vlUInt64 countBytes(BaseImageGeometry const& geometry) {
    vlUInt64 nbBytes = 0;
    forEachPlane(geometry, [&](vlUInt64, vlUInt64, vlUInt64 t) { nbBytes += countPlaneBytes(geometry, t); });
    return nbBytes;
}

vlUInt64 countBytesBefore(BaseImageGeometry const& geometry, vlUInt64 z, vlUInt64 c, vlUInt64 t) {
    vlUInt64 nbBytes = 0;
    vlUInt64 found = 0;
    forEachPlane(geometry, [&](vlUInt64 planeZ, vlUInt64 planeC, vlUInt64 planeT) {
        if (planeZ == z && planeC == c && planeT == t) {
            found = nbBytes;
        }
        nbBytes += countPlaneBytes(geometry, planeT);
    });
    return found;
}

void writeAll(BaseImage& image, Bytes const& bytes) {
    BaseImageGeometry const& geometry = image.getGeometry();
    vlUInt64 offset = 0;
    forEachPlane(geometry, [&](vlUInt64 z, vlUInt64 c, vlUInt64 t) {
        require(
            image.writePixels(z, c, t, 0, geometry.getSizeX() * geometry.getSizeY(), bytes.data() + offset));
        offset += countPlaneBytes(geometry, t);
    });
}

Bytes readAll(BaseImage const& image) {
    BaseImageGeometry const& geometry = image.getGeometry();
    Bytes bytes(countBytes(geometry));
    vlUInt64 offset = 0;
    forEachPlane(geometry, [&](vlUInt64 z, vlUInt64 c, vlUInt64 t) {
        require(
            image.readPixels(z, c, t, 0, geometry.getSizeX() * geometry.getSizeY(), bytes.data() + offset));
        offset += countPlaneBytes(geometry, t);
    });
    return bytes;
}

} // namespace velmo::test
