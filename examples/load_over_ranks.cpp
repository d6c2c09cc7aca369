// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

// Distributes a TIFF file over the ranks of an MPI job: mpirun -n 4 load_over_ranks. Needs the library for
// MPI.

#include "Example.h"

#include <VELMOImageFileMpi/DistributedFiles.h>
#include <VELMOImageFileMpi/MpiSession.h>
#include <VELMOImageFileMpi/PlaneFunctions.h>
#include <algorithm>

using namespace velmo;
using namespace velmo::image;

void loadOverRanks() {
    file::saveTiffImageFile("big.tif", makeVolume(8), file::TiffWriteOptions{file::eTC_Deflate});
    // [at rank 0]
    // Each rank reads its own planes.
    DistributedImagePtr const volume = file::loadDistributedTiffImageFile("big.tif");
    // Each rank works on its own planes. The results come back in the order of the planes.
    std::vector<std::string> const brightest = mpi::forEachPlane(*volume, "brightest");
    // Each rank writes its own planes. A TIFF file is written by rank 0, a few planes at a time.
    mpi::saveDistributedRawImageFile("big.raw", volume);
    mpi::saveDistributedTiffImageFile("copy.tif", volume);
    // [at rank 0]
    require(brightest[6] == std::to_string(pixelOf(6, 999)), "a result of a plane");
    require(readPlane<std::uint16_t>(file::loadTiffImageFile("copy.tif"), {6, 0, 0})[9] == pixelOf(6, 9),
            "a pixel of the saved file");
}

// [begin]
int main(int argc, char** argv) {
    mpi::registerPlaneFunction("brightest", [](mpi::PlaneMemory const& plane, std::string const&) {
        auto const* const pPixels = static_cast<std::uint16_t const*>(plane.pPixels);
        return std::to_string(*std::max_element(pPixels, pPixels + plane.geometry.getNbPixels()));
    });
    mpi::MpiSession session(argc, argv);
    if (!session.isDriver()) {
        return session.serve(); // holds planes until rank 0 ends the session
    }
    return runExample(loadOverRanks);
}
// [begin]
