// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImageFile/VELMOImageFile.h>
#include <cstdint>
#include <exception>
#include <iostream>
#include <stdexcept>
#include <string>
#include <vector>

/// The value of pixel number `i` of plane `z` in the volumes that the examples make.
inline std::uint16_t pixelOf(velmo::vlUInt64 z, velmo::vlUInt64 i) {
    return static_cast<std::uint16_t>(1000 * z + i % 1000);
}

/// Ends the example with a line on the standard error and status 1 if `bHolds` is false.
inline void require(bool bHolds, std::string const& what) {
    if (!bHolds) {
        throw std::runtime_error("not true: " + what);
    }
}

/// A grey volume in memory, 64 x 48 pixels of 16 bits in each of `sizeZ` planes.
inline velmo::image::ImagePtr makeVolume(velmo::vlUInt64 sizeZ, velmo::vlUInt64 firstZ = 0) {
    using namespace velmo::image;
    ImagePtr pImage;
    auto const created =
        ImageFactory::getInstance().createDefaultImage(*geometry3d(eIBT_UInt16, 64, 48, sizeZ), pImage);
    require(bool(created), created.getMessage());
    std::vector<std::uint16_t> plane(pImage->getGeometry().getPlanNbPixels());
    for (velmo::vlUInt64 z = 0; z < sizeZ; ++z) {
        for (velmo::vlUInt64 i = 0; i < plane.size(); ++i) {
            plane[i] = pixelOf(firstZ + z, i);
        }
        writePlane(pImage, {z, 0, 0}, plane);
    }
    return pImage;
}

/// The program around an example: prepares the library and reports an exception.
template <class Example>
int runExample(Example const& example) {
    try {
        velmo::image::file::captureTiffMessages();
        velmo::silenceLog();
        example();
        return 0;
    } catch (std::exception const& failure) {
        std::cerr << failure.what() << '\n';
        return 1;
    }
}
