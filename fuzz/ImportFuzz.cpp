// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "FuzzInput.h"
#include "FuzzTarget.h"
#include "Sandbox.h"

#include <DroppedParts.h>
#include <ImportTiff.h>
#include <VELMOImage/DiskImage.h>
#include <VELMOImage/ImageGeometry.h>
#include <algorithm>
#include <string>

// Input: a TIFF file of any kind. The last byte chooses the options.

namespace velmo::fuzz {

namespace {

importer::ImportOptions toOptions(unsigned int choice) {
    importer::ImportOptions options;
    options.nbThreads = 1;
    options.bPaletteToRgb = (choice & 1U) != 0;
    options.bLossy = (choice & 2U) == 0;
    options.bMinIsBlack = (choice & 4U) != 0;
    options.bToRgb = (choice & 8U) != 0;
    if ((choice & 16U) != 0) {
        options.series = choice >> 6U;
    }
    if ((choice & 32U) != 0) {
        options.pages = importer::PageRange{0, choice >> 6U};
    }
    return options;
}

constexpr vlUInt64 g_nbPlanes = 16;
constexpr vlUInt64 g_largestPlane = vlUInt64{1} << 26U;

/// Reads the first planes, and a run of each again. The run must have the pixels of its plane.
void readPlanes(image::BaseImage const& image) {
    image::BaseImageGeometry const& geometry = image.getGeometry();
    if (geometry.getPlanMemorySize(0) > g_largestPlane) {
        return;
    }
    vlUInt64 const pixelSize = image::getImageBufferBaseSize(geometry.getBufferType());
    vlUInt64 const nbPixels = geometry.getPlanNbPixels();
    vlUInt64 const first = nbPixels / 3;
    vlUInt64 const nbOfRun = nbPixels / 2;
    std::string plane(nbPixels * pixelSize, '\1');
    std::string run(nbOfRun * pixelSize, '\2');
    for (vlUInt64 number = 0; number < std::min(geometry.getNbPlans(), g_nbPlanes); ++number) {
        image::PlanIndexes const indexes = geometry.getPlanIndexes(number);
        bool const bRead = static_cast<bool>(image.readPixels(indexes, 0, nbPixels, plane.data()));
        if (nbOfRun == 0) {
            continue;
        }
        bool const bRunRead = static_cast<bool>(image.readPixels(indexes, first, nbOfRun, run.data()));
        if (bRead != bRunRead || (bRead && plane.compare(first * pixelSize, run.size(), run) != 0)) {
            abortWith("a run differs from its plane");
        }
    }
}

void importAndRead(std::string const& bytes, importer::ImportOptions const& options) {
    boost::filesystem::path const path = Sandbox::get().write("import.tif", bytes);
    try {
        importer::ImportedTiff const imported(path, options);
        static_cast<void>(importer::divideOutput("out.tif", imported.getImage()->getGeometry()));
        readPlanes(*imported.getImage());
        static_cast<void>(imported.getChanges());
    } catch (importer::ImportException const&) {
        static_cast<void>(importer::findImportOptions(path));
    } catch (BaseException const&) {
        return; // such as a geometry whose size overflows 64 bits
    }
    static_cast<void>(importer::findFlattenedAxes(path));
    static_cast<void>(importer::findDroppedParts(path));
}

} // namespace

} // namespace velmo::fuzz

int LLVMFuzzerTestOneInput(std::uint8_t const* pBytes, std::size_t nbBytes) {
    velmo::fuzz::FuzzInput input(pBytes, nbBytes);
    unsigned int const choice = input.takeByte();
    velmo::fuzz::importAndRead(input.getRest(), velmo::fuzz::toOptions(choice));
    return 0;
}
