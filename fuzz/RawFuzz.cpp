// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "FuzzInput.h"
#include "FuzzTarget.h"
#include "Sandbox.h"

#include <VELMOImage/ImageGeometry.h>
#include <VELMOImageFile/RawImageFile.h>
#include <VELMOUtil/BaseException.h>
#include <boost/make_shared.hpp>

// Input: a raw file, followed by a geometry and an offset.

namespace velmo::fuzz {

using namespace image;

/// Includes the pixel type without bytes.
static eImageBufferType takeType(FuzzInput& input) {
    return static_cast<eImageBufferType>(input.takeByte() % 12);
}

static ImageGeometryPtr createGeometry(FuzzInput& input, VolumeGeometry const& volume,
                                       ColorGeometry const& color, TemporalGeometry const& temporal,
                                       bool bHeterogeneous) {
    vlUInt64 const sizeX = input.takeNumber();
    vlUInt64 const sizeY = input.takeNumber();
    if (!bHeterogeneous) {
        return geometry(takeType(input), sizeX, sizeY, volume, color, temporal);
    }
    std::vector<eImageBufferType> types;
    for (unsigned int left = input.takeByte() % 8; left != 0; --left) {
        types.push_back(takeType(input));
    }
    auto const pGeometry = boost::make_shared<HeterogeneousImageGeometry>();
    pGeometry->init(volume, color, temporal, sizeX, sizeY, types);
    return pGeometry;
}

/// Null for a rejected geometry.
static ImageGeometryPtr takeGeometry(FuzzInput& input) {
    unsigned int const choice = input.takeByte();
    VolumeGeometry volume;
    if ((choice & 1U) != 0) {
        volume.init3d(input.takeNumber());
    }
    TemporalGeometry temporal;
    if ((choice & 2U) != 0) {
        temporal.initSequence(input.takeNumber());
    }
    ColorGeometry color;
    if ((choice & 4U) != 0) {
        color.initUser(input.takeNumber());
    } else {
        color.init(static_cast<eColorGeometryType>((choice >> 4U) % 10));
    }
    try {
        return createGeometry(input, volume, color, temporal, (choice & 8U) != 0);
    } catch (BaseException const&) {
        return {};
    }
}

} // namespace velmo::fuzz

int LLVMFuzzerTestOneInput(std::uint8_t const* pBytes, std::size_t nbBytes) {
    velmo::fuzz::FuzzInput input(pBytes, nbBytes);
    auto const pGeometry = velmo::fuzz::takeGeometry(input);
    if (!pGeometry) {
        return 0;
    }
    velmo::vlUInt64 const offset = input.takeNumber();
    auto const path = velmo::fuzz::Sandbox::get().write("in.raw", input.getRest());
    velmo::image::file::RawImageFile accessor;
    if (accessor.openFile(path, velmo::image::eIAM_ReadOnly, offset, *pGeometry)) {
        velmo::fuzz::exerciseOrAbort(accessor);
    }
    return 0;
}
