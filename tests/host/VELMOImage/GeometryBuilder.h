// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOImage/ImageGeometry.h"

#include <string>
#include <vector>

namespace velmo::test {

/// Geometries for tests: a grey plane of 5 x 3 pixels of 8 bits unless told otherwise.
class GeometryBuilder {
  public:
    GeometryBuilder& plane(vlUInt64 sizeX, vlUInt64 sizeY) { return _sizeX = sizeX, _sizeY = sizeY, *this; }
    GeometryBuilder& volume(vlUInt64 sizeZ) { return _volume.init3d(sizeZ), *this; }
    GeometryBuilder& color(image::eColorGeometryType type) { return _color.init(type), *this; }
    GeometryBuilder& channels(vlUInt64 sizeC) { return _color.initUser(sizeC), *this; }
    GeometryBuilder& sequence(vlUInt64 sizeT) { return _temporal.initSequence(sizeT), *this; }
    GeometryBuilder& type(image::eImageBufferType bufferType) { return _bufferType = bufferType, *this; }
    /// Makes the geometry heterogeneous.
    GeometryBuilder& types(std::vector<image::eImageBufferType> const& types) {
        return _bufferTypes = types, *this;
    }

    image::ImageGeometryPtr build() const;

  private:
    vlUInt64 _sizeX = 5;
    vlUInt64 _sizeY = 3;
    image::VolumeGeometry _volume;
    image::ColorGeometry _color;
    image::TemporalGeometry _temporal;
    image::eImageBufferType _bufferType = image::eIBT_UInt8;
    std::vector<image::eImageBufferType> _bufferTypes;
};

/// One geometry of a kind, and the kind in words.
struct NamedGeometry {
    std::string name;
    image::ImageGeometryPtr pGeometry;
};

/// One geometry for each pair of a volume type, a colour type, a temporal type, and one type or several.
std::vector<NamedGeometry> makeAllKinds();

/// What a geometry can be asked, in words: sizes, kinds, names, and the types of its first time steps.
std::string describe(image::BaseImageGeometry const& geometry);

} // namespace velmo::test
