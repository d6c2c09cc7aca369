// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "GeometryBuilder.h"

#include <algorithm>
#include <boost/make_shared.hpp>
#include <sstream>

namespace velmo::test {

using namespace velmo::image;

ImageGeometryPtr GeometryBuilder::build() const {
    if (_bufferTypes.empty()) {
        return geometry(_bufferType, _sizeX, _sizeY, _volume, _color, _temporal);
    }
    auto const pGeometry = boost::make_shared<HeterogeneousImageGeometry>();
    pGeometry->init(_volume, _color, _temporal, _sizeX, _sizeY, _bufferTypes);
    return pGeometry;
}

namespace {

NamedGeometry makeKind(bool b3d, eColorGeometryType color, bool bSequence, bool bHeterogeneous) {
    GeometryBuilder builder;
    builder.color(color);
    if (b3d) {
        builder.volume(4);
    }
    if (bSequence) {
        builder.sequence(3);
    }
    if (bHeterogeneous && bSequence) {
        builder.types({eIBT_UInt8, eIBT_Real32, eIBT_Label16});
    } else if (bHeterogeneous && b3d) {
        builder.types({eIBT_UInt16, eIBT_UInt8, eIBT_Real32, eIBT_Int8});
    } else if (bHeterogeneous) {
        builder.types({eIBT_Int32});
    } else {
        builder.type(eIBT_UInt16);
    }
    std::ostringstream name;
    name << (b3d ? eVGT_3d : eVGT_2d) << ' ' << color << ' ' << (bSequence ? eTGT_Sequence : eTGT_Single)
         << (bHeterogeneous ? " heterogeneous" : " homogeneous");
    return {name.str(), builder.build()};
}

} // namespace

std::vector<NamedGeometry> makeAllKinds() {
    std::vector<NamedGeometry> kinds;
    for (vlUInt64 color = eCGT_Grey; color <= eCGT_User; ++color) {
        for (unsigned int flags = 0; flags < 8; ++flags) {
            kinds.push_back(makeKind((flags & 1U) != 0, static_cast<eColorGeometryType>(color),
                                     (flags & 2U) != 0, (flags & 4U) != 0));
        }
    }
    return kinds;
}

namespace {

/// A sequence of 2^64 steps has a description too.
constexpr vlUInt64 g_nbDescribedSteps = 100;

} // namespace

std::string describe(BaseImageGeometry const& geometry) {
    std::ostringstream text;
    text << geometry.getClassName() << " x=" << geometry.getSizeX() << " y=" << geometry.getSizeY()
         << " z=" << geometry.getSizeZ() << " c=" << geometry.getSizeC() << " t=" << geometry.getSizeT()
         << " volume=" << static_cast<vlUInt64>(geometry.getVolumeGeometryType())
         << " color=" << static_cast<vlUInt64>(geometry.getColorGeometryType())
         << " temporal=" << static_cast<vlUInt64>(geometry.getTemporalGeometryType())
         << " minIsBlack=" << geometry.getColorGeometry().minIsBlack();
    for (auto const& [index, name] : geometry.getColorGeometry().getChannelNames()) {
        text << " name" << index << '=' << name;
    }
    for (vlUInt64 t = 0; t < std::min(geometry.getSizeT(), g_nbDescribedSteps); ++t) {
        text << " type=" << static_cast<vlUInt64>(geometry.getPlanGeometry(t).getBufferType());
    }
    if (auto const* pTypes = dynamic_cast<HeterogeneousImageGeometry const*>(&geometry)) {
        for (eImageBufferType const type : pTypes->getBufferTypes()) {
            text << " own=" << static_cast<vlUInt64>(type);
        }
    }
    return text.str();
}

} // namespace velmo::test
