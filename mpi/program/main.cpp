// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CommandLine.h"
#include "PixelWork.h"

#include <VELMOImageFile/VELMOImageFile.h>
#include <VELMOImageFileMpi/DistributedFiles.h>
#include <VELMOImageFileMpi/MpiSession.h>
#include <algorithm>
#include <iomanip>
#include <iostream>
#include <stdexcept>

namespace {

using namespace velmo;
using namespace velmo::image;
using namespace velmo::mpi_tool;

std::string getExtension(std::string const& path) {
    std::string extension = boost::filesystem::path(path).extension().string();
    std::transform(extension.begin(), extension.end(), extension.begin(),
                   [](unsigned char letter) { return static_cast<char>(std::tolower(letter)); });
    return extension;
}

bool isTiff(std::string const& path) {
    return getExtension(path) == ".tif" || getExtension(path) == ".tiff";
}

DistributedImagePtr load(CommandLine const& line) {
    if (line.pRaw) {
        return file::loadDistributedRawImageFile(line.input, *line.pRaw, line.offset, true);
    }
    if (getExtension(line.input) == ".im6") {
        return file::loadDistributedIm6ImageFile(line.input, true);
    }
    return file::loadDistributedTiffImageFile(line.input, file::TiffReadOptions());
}

void save(CommandLine const& line, DistributedImagePtr const& pImage) {
    if (isTiff(line.output)) {
        file::TiffWriteOptions options;
        options.compression = line.compression;
        mpi::saveDistributedTiffImageFile(line.output, pImage, options);
    } else {
        mpi::saveDistributedRawImageFile(line.output, pImage);
    }
}

void printStatistics(DistributedImage& image) {
    for (VolumeStatistics const& volume : collectStatistics(image)) {
        std::cout << std::setprecision(9) << "t=" << volume.t << " c=" << volume.c << ": min " << volume.min
                  << ", max " << volume.max << ", mean " << volume.mean << "\n";
    }
    std::cout.flush();
}

void drive(CommandLine const& line) {
    if (!line.output.empty() && !isTiff(line.output) && getExtension(line.output) != ".raw") {
        throw std::invalid_argument("the name of the output must end with .tif, .tiff or .raw, not \"" +
                                    line.output + "\"");
    }
    DistributedImagePtr const pImage = load(line);
    for (std::string const& work : line.applied) {
        applyPixelWork(*pImage, work);
    }
    if (line.bStatistics) {
        printStatistics(*pImage);
    }
    if (!line.output.empty()) {
        save(line, pImage);
    }
}

int run(int argc, char** argv) {
    mpi::MpiSession session(argc, argv);
    if (!session.isDriver()) {
        return session.serve();
    }
    ParsedLine const parsed = parseCommandLine(argc, argv);
    if (parsed.bRun) {
        drive(parsed.line);
    }
    return parsed.status;
}

} // namespace

int main(int argc, char** argv) {
    silenceLog(); // errors are printed below
    registerPixelWork();
    try {
        return run(argc, argv);
    } catch (std::exception const& exception) {
        std::cerr << "velmo-image-mpi: " << exception.what() << "\n";
        return 1;
    }
}
