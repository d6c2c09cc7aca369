// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "FileExercise.h"

#include <VELMOImageFile/TiffImageFile.h>
#include <boost/filesystem/operations.hpp>
#include <gmock/gmock.h>

namespace velmo::test {

namespace fs = boost::filesystem;
using namespace image;
using namespace image::file;
using testing::ElementsAre;

namespace {

struct Modes {
    char const* name;
    eTiffDirectoryMode directories;
    eTiffBufferMode buffers;
};

std::ostream& operator<<(std::ostream& os, Modes const& modes) {
    return os << modes.name;
}

class FixtureExercise : public testing::TestWithParam<Modes> {
  protected:
    FixtureExercise() {
        TiffImageFile accessor; // libtiff's words are in the library's messages from its first failure on
        open({}, accessor);
    }

    static bool open(fs::path const& path, TiffImageFile& accessor) {
        std::string userProperties;
        return static_cast<bool>(accessor.openFile(path, eIAM_ReadOnly, GetParam().directories,
                                                   GetParam().buffers, userProperties));
    }
};

std::vector<fs::path> findFixtures() {
    std::vector<fs::path> paths;
    for (fs::directory_entry const& entry : fs::directory_iterator(fs::path(VELMO_TEST_DATA) / "tiff")) {
        if (entry.path().extension() == ".tif") {
            paths.push_back(entry.path());
        }
    }
    return paths;
}

/// ImageJ's own stacks and hyperstacks, and what tifffile writes in their place.
bool mayBeStack(fs::path const& path) {
    std::string const name = path.filename().string();
    return name.find("ij-") == 0 || name.find("imagej") != std::string::npos ||
           name.find("described") != std::string::npos;
}

/// Within which a run is counted from another pixel.
bool hasLongPackedRows(BaseImageGeometry const& geometry) {
    return geometry.getBufferType() == eIBT_Binary && geometry.getSizeX() > 256;
}

} // namespace

TEST_P(FixtureExercise, NoFileContradictsItself) {
    unsigned int nbOpened = 0;
    for (fs::path const& path : findFixtures()) {
        SCOPED_TRACE(path);
        TiffImageFile accessor;
        if (!open(path, accessor)) {
            continue;
        }
        ++nbOpened;
        tool::ExerciseLimits limits;
        limits.bComparesRuns = !mayBeStack(path) && !hasLongPackedRows(accessor.getGeometry());
        tool::Exercise const exercise = exerciseFile(accessor, limits);
        EXPECT_THAT(exercise.contradictions, ElementsAre());
        EXPECT_EQ(exercise.planes.size(), accessor.getGeometry().getNbPlans());
    }
    EXPECT_GT(nbOpened, GetParam().buffers == eTBM_Default ? 100U : 40U);
}

INSTANTIATE_TEST_SUITE_P(Modes, FixtureExercise,
                         testing::Values(Modes{"VolumeDefault", eTDM_Volume, eTBM_Default},
                                         Modes{"VolumeBinary", eTDM_Volume, eTBM_Binary},
                                         Modes{"VolumeLabel", eTDM_Volume, eTBM_Label},
                                         Modes{"TemporalDefault", eTDM_Temporal, eTBM_Default},
                                         Modes{"TemporalBinary", eTDM_Temporal, eTBM_Binary},
                                         Modes{"TemporalLabel", eTDM_Temporal, eTBM_Label}),
                         [](testing::TestParamInfo<Modes> const& parameter) {
                             return std::string(parameter.param.name);
                         });

} // namespace velmo::test
