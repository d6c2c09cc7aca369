// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "MpiJobFixture.h"

#include "Im6Sample.h"
#include "ImageBytes.h"

#include <VELMOImageFile/VELMOImageFile.h>
#include <boost/filesystem/operations.hpp>
#include <unistd.h>

namespace velmo::test {

namespace fs = boost::filesystem;
using namespace image;
using namespace image::file;

MpiJobFixture::MpiJobFixture() {
    fs::create_directory(_folder / "work");
    fs::create_directory(_folder / "other");
    ImageGeometryPtr const pGeometry = geometry3d(eIBT_UInt16, 7, 5, 23);
    ImagePtr const pImage = makeMemoryImage(*pGeometry, makePixels(*pGeometry));
    saveTiffImageFile(getFile("image.tif"), pImage, {eTC_Deflate});
    saveRawImageFile(getFile("more.raw"), pImage, std::string("head"));
    makeIm6Sequence().write(getFile("more.im6"));
}

JobResult MpiJobFixture::run(int nbRanks, std::string const& command, RankFault const& fault) const {
    return runProbe(nbRanks, {command, "image.tif", "more"}, _folder / "work", fault);
}

std::string MpiJobFixture::placeOfRank1(fs::path const& folder) {
    char host[256] = {};
    gethostname(host, sizeof(host) - 1);
    return std::string(" (rank 1 on ") + host + " in " + fs::canonical(folder).string() + ")";
}

void MpiJobFixture::expectEnd(std::string const& command, RankFault const& fault) const {
    ImageGeometryPtr const pGeometry = geometry3d(eIBT_UInt16, 500, 400, 60);
    ImagePtr const pImage = makeMemoryImage(*pGeometry, makePixels(*pGeometry));
    saveTiffImageFile(getFile("image.tif"), pImage, {eTC_None});
    JobResult const result = run(2, command, fault);
    EXPECT_NE(result.status, 0);
    EXPECT_LT(result.seconds, 14) << "10 seconds after the fault";
    if (fault.fault != "kill at start") { // mpirun does not always name a rank that never used MPI
        EXPECT_THAT(result.err, testing::HasSubstr("rank " + std::to_string(fault.rank)));
    }
    for (auto const& entry : fs::directory_iterator(getFile(""))) {
        std::string const name = entry.path().filename().string();
        EXPECT_THAT(name, testing::AnyOf("image.tif", "more.raw", "more.im6", "more")) << result.err;
    }
    if (command == "save raw" && fs::exists(getFile("more"))) {
        EXPECT_EQ(fs::file_size(getFile("more")), pGeometry->getFullMemorySize());
    }
    if (command == "save tiff" && fs::exists(getFile("more"))) {
        EXPECT_EQ(readPixels(*loadTiffImageFile(getFile("more"), {})), readPixels(*pImage));
    }
}

} // namespace velmo::test
