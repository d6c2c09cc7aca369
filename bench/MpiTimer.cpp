// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

// Measures work over the ranks of an MPI job, without the start of the job: mpirun -n RANKS velmo_mpi_timer
// load FILE, or gather FILE, or copy FILE. Prints the seconds. gather copies a distributed image to the
// memory of rank 0; copy is one memcpy of the same pixels into a new image.

#include <VELMOImage/MemoryImage.h>
#include <VELMOImageFile/VELMOImageFile.h>
#include <VELMOImageFileMpi/MpiSession.h>
#include <chrono>
#include <cstring>
#include <functional>
#include <iostream>
#include <stdexcept>
#include <string>

namespace {

using namespace velmo::image;

double timeCall(std::function<void()> const& call) {
    auto const begin = std::chrono::steady_clock::now();
    call();
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
}

double measure(std::string const& work, std::string const& file) {
    DistributedImagePtr pImage;
    double const load =
        timeCall([&] { pImage = file::loadDistributedTiffImageFile(file, file::TiffReadOptions()); });
    if (work == "load") {
        return load;
    }
    ImageConstPtr pCopy;
    double const gather = timeCall([&] { pCopy = pImage->createCpuCopy(); });
    if (work == "gather") {
        return gather;
    }
    std::size_t const nbBytes = pCopy->getGeometry().getFullMemorySize();
    MemoryImage target;
    double const copy = timeCall([&] {
        if (target.init(pCopy->getGeometry())) {
            std::memcpy(target.accessPlan(0, 0, 0), pCopy->accessPlan(0, 0, 0), nbBytes);
        }
    });
    if (std::memcmp(target.accessPlan(0, 0, 0), pCopy->accessPlan(0, 0, 0), nbBytes) != 0) {
        throw std::runtime_error("the copy has other pixels");
    }
    return copy;
}

} // namespace

int main(int argc, char** argv) {
    velmo::image::mpi::MpiSession session(argc, argv);
    if (!session.isDriver()) {
        return session.serve();
    }
    try {
        std::cout << measure(argc == 3 ? argv[1] : "", argc == 3 ? argv[2] : "") << std::endl;
    } catch (std::exception const& exception) {
        std::cerr << exception.what() << "\n";
        return 1;
    }
    return 0;
}
