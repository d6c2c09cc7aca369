// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

// Loads the TIFF file that each line of the standard input names, and prints the seconds of the load.
// python_bench.py alternates these loads with its own.

#include <VELMOImageFile/TiffImageFileUtils.h>
#include <chrono>
#include <iostream>
#include <string>

int main() {
    for (std::string path; std::getline(std::cin, path);) {
        auto const start = std::chrono::steady_clock::now();
        velmo::image::ImagePtr const pImage = velmo::image::file::loadTiffImageFile(path);
        std::cout << std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count()
                  << std::endl;
    }
}
