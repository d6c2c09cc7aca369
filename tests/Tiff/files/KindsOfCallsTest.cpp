// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CheckedFixture.h"
#include "ForeignFile.h"

#include <algorithm>
#include <boost/filesystem/operations.hpp>
#include <random>

namespace velmo::image::file {

namespace {

namespace fs = boost::filesystem;
using testing::IsEmpty;
using velmo::test::damage;
using velmo::test::findForeignTiffs;

/// What one kind of call makes of a file.
struct Outcome {
    bool bOpens = false;
    std::vector<PlaneRead> planes;
    std::vector<std::string> warnings;

    bool tellsTheTruth() const { return bOpens && warnings.empty(); }
};

struct Limits {
    vlUInt64 nbPlanes = 40;
    vlUInt64 planePixels = 1U << 16U;
};

/// Reads planes twice, into bytes of two patterns: a byte that a success leaves unwritten shows.
void readTwice(PolicyFile const& file, PlanIndexes const& plane, Outcome& outcome) {
    PlaneRead read = file.readPlane(plane.z, plane.c, plane.t, '\x55');
    PlaneRead const again = file.readPlane(plane.z, plane.c, plane.t, '\xaa');
    EXPECT_EQ(static_cast<bool>(read.pixels), static_cast<bool>(again.pixels))
        << read.failure << again.failure;
    EXPECT_TRUE(read.pixels == again.pixels) << "unwritten bytes in plane z=" << plane.z << " c=" << plane.c;
    outcome.planes.push_back(std::move(read));
}

/// Runs of a plane that was read must be its pixels.
void expectRuns(PolicyFile const& file, PlanIndexes const& plane, std::string const& pixels) {
    vlUInt64 const nbPixels = file.getGeometry().getPlanNbPixels();
    vlUInt64 const width = pixels.size() / nbPixels;
    for (vlUInt64 const start : {nbPixels / 3, nbPixels / 2 + 1, nbPixels - 1}) {
        vlUInt64 const count = std::min<vlUInt64>(nbPixels - std::min(start, nbPixels - 1), 1 + nbPixels / 4);
        PixelRun const run = {plane.z, plane.c, plane.t, std::min(start, nbPixels - 1), count};
        PlaneRead const part = file.read(run);
        EXPECT_TRUE(part.pixels == pixels.substr(run.start * width, count * width))
            << "run from " << run.start << ": " << part.failure;
    }
}

Outcome takeThrough(path const& path, eTiffPolicy policy, eTiffDirectoryMode mode) {
    Outcome outcome;
    OpenRequest request;
    request.directoryMode = mode;
    PolicyFile const file(path, policy, request);
    outcome.bOpens = static_cast<bool>(file.getOpening());
    Limits const limits;
    if (outcome.bOpens && file.getGeometry().getPlanNbPixels() <= limits.planePixels) {
        BaseImageGeometry const& geometry = file.getGeometry();
        for (vlUInt64 index = 0; index < std::min(limits.nbPlanes, geometry.getNbPlans()); ++index) {
            vlUInt64 const z = index % geometry.getSizeZ();
            vlUInt64 const rest = index / geometry.getSizeZ();
            PlanIndexes const plane = {z, rest % geometry.getSizeC(), rest / geometry.getSizeC()};
            readTwice(file, plane, outcome);
            std::optional<std::string> const& pixels = outcome.planes.back().pixels;
            if (policy == eTiffPolicy::Strict && pixels && !pixels->empty()) {
                expectRuns(file, plane, *pixels);
            }
        }
    }
    outcome.warnings = file.getWarnings();
    return outcome;
}

/// The rule of the two kinds: where a plain call tells the truth, the call with options gives the same; where
/// it does not, its log has a warning.
void compareKinds(path const& path, eTiffDirectoryMode mode) {
    Outcome const plain = takeThrough(path, eTiffPolicy::Plain, mode);
    Outcome const strict = takeThrough(path, eTiffPolicy::Strict, mode);
    EXPECT_THAT(strict.warnings, IsEmpty());
    if (plain.tellsTheTruth() && strict.bOpens) {
        ASSERT_EQ(plain.planes.size(), strict.planes.size());
        for (std::size_t plane = 0; plane < plain.planes.size(); ++plane) {
            EXPECT_TRUE(plain.planes[plane].pixels == strict.planes[plane].pixels)
                << "plane " << plane << ": " << plain.planes[plane].failure << " / "
                << strict.planes[plane].failure;
        }
    }
}

/// A description that announces other planes than there are directories makes the kinds differ at the
/// opening: what plain calls leave out or read from elsewhere is prescribed and no loss that they could
/// notice.
bool hasOwnAnnouncement(path const& path) {
    TiffPtr const pTiff(TIFFOpen(path.c_str(), "r"));
    char const* description = nullptr;
    return pTiff && TIFFGetField(pTiff.get(), TIFFTAG_IMAGEDESCRIPTION, &description) == 1 &&
           std::string(description).find("ImageJ=") != std::string::npos;
}

class KindsOfCalls : public TiffTest {};

} // namespace

TEST_F(KindsOfCalls, AgreeOnEveryFixtureOrTheLogSaysWhereNot) {
    std::size_t nbTrue = 0;
    for (path const& fixture : findForeignTiffs()) {
        for (eTiffDirectoryMode const mode : {eTDM_Volume, eTDM_Temporal}) {
            SCOPED_TRACE(fixture.filename().string());
            bool const bPlain = takeThrough(fixture, eTiffPolicy::Plain, mode).tellsTheTruth();
            bool const bStrict = takeThrough(fixture, eTiffPolicy::Strict, mode).bOpens;
            nbTrue += bPlain && bStrict ? 1 : 0;
            EXPECT_FALSE(bPlain && !bStrict && !hasOwnAnnouncement(fixture));
            if (!hasOwnAnnouncement(fixture)) {
                compareKinds(fixture, mode);
            }
        }
    }
    EXPECT_GT(nbTrue, 200U);
}

TEST_F(KindsOfCalls, AgreeOnDamagedFilesOrTheLogSaysWhereNot) {
    std::mt19937 random(20240229);
    std::vector<path> const fixtures = findForeignTiffs();
    for (unsigned int mutant = 0; mutant < 3000; ++mutant) {
        path const& fixture = fixtures[random() % fixtures.size()];
        std::string const bytes = readFile(fixture);
        if (bytes.size() > 100000) {
            continue;
        }
        writeFile(_path, damage(bytes, random));
        SCOPED_TRACE(fixture.filename().string() + ", mutant " + std::to_string(mutant));
        if (!hasOwnAnnouncement(_path)) {
            compareKinds(_path, eTDM_Volume);
        } else {
            takeThrough(_path, eTiffPolicy::Plain, eTDM_Volume);
            takeThrough(_path, eTiffPolicy::Strict, eTDM_Volume);
        }
        takeThrough(_path, eTiffPolicy::Tolerant, eTDM_Volume);
        if (HasFailure()) {
            fs::copy_file(_path, fs::temp_directory_path() / "velmo-kinds-of-calls.tif",
                          fs::copy_option::overwrite_if_exists);
            break;
        }
    }
}

} // namespace velmo::image::file
