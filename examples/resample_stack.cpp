// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

// Makes an even volume of planes that lie at uneven heights.

#include "Example.h"

#include <boost/filesystem/operations.hpp>
#include <fstream>

using namespace velmo;
using namespace velmo::image;

void resampleStack() {
    // [resample a stack]
    // Four planes at the heights 0, 1, 2 and 4. The file contains the distances between them, one per line.
    std::ofstream("steps.txt") << "1\n1\n2\n";
    ImagePtr const even = file::loadCustomZStackImageFiles("heights", "steps.txt", 5,
                                                           imaproc::attr::eIP_Linear, "h<INDEX>.tif");
    if (!even) {
        throw std::runtime_error("no h<INDEX>.tif in heights");
    }
    // [resample a stack]
    require(even->getGeometry().getSizeZ() == 5, "five planes at the heights 0, 1, 2, 3 and 4");
    auto const firstOf = [&](vlUInt64 z) { return viewPlane<std::uint16_t const>(even, {z, 0, 0}).at(0, 0); };
    require(firstOf(2) == pixelOf(2, 0), "a plane that was there is kept");
    require(firstOf(3) == (pixelOf(2, 0) + pixelOf(3, 0)) / 2, "half way between two planes is their mean");
}

int main() {
    return runExample([] {
        boost::filesystem::create_directories("heights");
        for (vlUInt64 z = 0; z < 4; ++z) {
            file::saveTiffImageFile("heights/h" + std::to_string(z) + ".tif", makeVolume(1, z));
        }
        resampleStack();
    });
}
