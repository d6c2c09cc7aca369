// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

// Loads an Im6 file, which this example writes by hand first: the library reads such files and writes none.

#include "Example.h"

#include <cstring>
#include <fstream>

using namespace velmo;
using namespace velmo::image;

/// 4 x 3 pixels of 16 bits without sign in each of two planes, without text and calibration.
void writeIm6(std::string const& path) {
    char header[116] = {};
    auto const put = [&header](std::size_t offset, std::uint32_t value) {
        std::memcpy(header + offset, &value, sizeof(value)); // little-endian, as this machine
    };
    put(0, 0x6934); // magic number
    put(4, 4);      // size X
    put(8, 3);      // size Y
    put(12, 2);     // planes
    put(16, 1);     // channels: grey
    put(20, 1);     // time steps
    put(52, 18);    // 16 bits without sign
    std::ofstream stream(path, std::ios::binary);
    stream.write(header, sizeof(header));
    for (std::uint16_t pixel = 0; pixel < 24; ++pixel) {
        stream.write(reinterpret_cast<char const*>(&pixel), sizeof(pixel));
    }
}

void loadIm6() {
    writeIm6("cells.im6");
    // [load an im6 file]
    ImagePtr const image = file::loadIm6ImageFile("cells.im6");
    if (image->hasGeometricCalibration()) {
        GeometricCalibration const& calibration = *image->getGeometricCalibrationConstPtr();
        std::cout << "a pixel is " << calibration.getPixelSizeX() << ' ' << calibration.getUnit()
                  << " wide\n";
    }
    // [load an im6 file]
    require(!image->hasGeometricCalibration(), "the file has no calibration");
    require(image->getGeometry().getSizeZ() == 2 && image->getBufferType() == eIBT_UInt16,
            "two planes of 16 bits");
    require(readPlane<std::uint16_t>(image, {1, 0, 0})[3] == 15, "pixel 3 of plane 1");
}

int main() {
    return runExample(loadIm6);
}
