// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

// Loads a TIFF stack into memory and looks at its pixels.

#include "Example.h"

using namespace velmo;
using namespace velmo::image;

void loadStack() {
    file::saveTiffImageFile("stack.tif", makeVolume(8), file::TiffWriteOptions{file::eTC_Lzw});
    // [load a stack]
    ImagePtr const stack = file::loadTiffImageFile("stack.tif");
    BaseImageGeometry const& geometry = stack->getGeometry();
    std::cout << geometry.getSizeX() << " x " << geometry.getSizeY() << " pixels, " << geometry.getSizeZ()
              << " planes of " << geometry.getBufferType() << '\n'; // 64 x 48 pixels, 8 planes of eIBT_UInt16

    // A view of the plane z = 3, c = 0, t = 0, without a copy. Throws if its pixels are not eIBT_UInt16.
    PlaneView<std::uint16_t const> const plane = viewPlane<std::uint16_t const>(stack, {3, 0, 0});
    std::uint16_t const pixel = plane.at(10, 20); // x, y
    // [load a stack]
    require(geometry.getSizeZ() == 8 && geometry.getBufferType() == eIBT_UInt16, "eight planes of 16 bits");
    require(pixel == pixelOf(3, 20 * 64 + 10), "the pixel at (10, 20, 3)");
}

void loadFrames() {
    // [load a sequence]
    // A file that this library did not write: its directories as time steps.
    ImagePtr const film = file::loadTiffImageFile("film.tif", file::TiffReadOptions{file::eTDM_Temporal});
    vlUInt64 const nbFrames = film->getGeometry().getSizeT();
    // [load a sequence]
    // This file was written by the library, which stores that it is a volume: the mode is ignored.
    require(nbFrames == 1 && film->getGeometry().getSizeZ() == 8, "a file of the library keeps its geometry");
}

int main() {
    return runExample([] {
        loadStack();
        file::saveTiffImageFile("film.tif", makeVolume(8));
        loadFrames();
    });
}
