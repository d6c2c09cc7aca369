// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "FaultedCalls.h"
#include "Processes.h"
#include "TemporaryFolder.h"

#include <VELMOImage/ImageGeometry.h>
#include <VELMOImageFile/RawImageFile.h>
#include <VELMOImageFile/RawImageFileUtils.h>
#include <boost/filesystem/operations.hpp>
#include <gtest/gtest.h>

namespace velmo::test {

namespace fs = boost::filesystem;
using namespace image;
using namespace image::file;

namespace {

constexpr char const* g_earlier = "earlier";

/// Saves with options over an old file.
class FaultedRawSave : public testing::TestWithParam<bool> {
  protected:
    FaultedRawSave() : _path(_folder / "image.raw") {
        _options.fileHeader = "header";
        _options.bReplaceWhenWhole = GetParam();
    }

    void save(fs::path const& path) const { saveRawImageFile(path, _sample.pImage, _options); }

    /// The outcome of a save with a fault, and what it leaves.
    std::string saveOver(Faults const& faults) const {
        writeFile(_path, g_earlier);
        return inChild([&] {
            FaultSample sample = _sample;
            sample.save = [this](fs::path const& path) { save(path); };
            std::string const outcome = describeSave(withFaults(sample, faults), _path);
            bool const bOld = readFile(_path) == g_earlier;
            auto const nbFiles = std::distance(fs::directory_iterator(_folder.getPath()), {});
            return outcome +
                   (bOld                                     ? ", old file"
                    : describeLoad(_sample, _path) == "done" ? ", new file"
                                                             : "") +
                   (nbFiles == 1 ? "" : ", rest");
        });
    }

    Tally tally(unsigned int calls, eFaultMode mode) const {
        writeFile(_path, g_earlier);
        Tally outcomes;
        long const nbCalls = countCalls(calls, [this] { save(_path); });
        for (long at = 1; at <= nbCalls; ++at) {
            outcomes[saveOver({calls, mode, at})].push_back(at);
        }
        return outcomes;
    }

    /// What may be left where a save fails.
    std::set<std::string> getOutcomes() const {
        return GetParam() ? std::set<std::string>{"done, new file", "raised, old file"}
                          : std::set<std::string>{"done, new file", "raised, old file", "raised",
                                                  "raised, new file"};
    }

    TemporaryFolder _folder;
    fs::path _path;
    FaultSample _sample = makeRawSample();
    RawWriteOptions _options;
};

} // namespace

TEST_P(FaultedRawSave, AWriteThatFailsIsTheSaveErrorAndASavedFileIsWhole) {
    for (eFaultMode const mode : {eFM_FailOnce, eFM_FailFromThere}) {
        Tally const outcomes = tally(eFC_Write, mode);
        expectOnly(outcomes, getOutcomes());
        EXPECT_EQ(outcomes.count("done, new file"), 0U);
    }
}

TEST_P(FaultedRawSave, AnInterruptedWriteIsDoneAgain) {
    expectOnly(tally(eFC_Write, eFM_Interrupt), {"done, new file"});
}

TEST_P(FaultedRawSave, AnOpenThatFailsIsTheSaveErrorAndLeavesTheOldFile) {
    expectOnly(tally(eFC_Open, eFM_FailOnce), {"raised, old file"});
}

// The last close is behind the end of the save.
TEST_P(FaultedRawSave, ACloseThatFailsIsTheSaveError) {
    Tally outcomes = tally(eFC_Close, eFM_FailOnce);
    expectOnly(outcomes, getOutcomes());
    std::size_t const nbRaised =
        GetParam() ? outcomes["raised, old file"].size() : outcomes["raised, new file"].size();
    EXPECT_GE(nbRaised, GetParam() ? 2U : 1U);
}

TEST_P(FaultedRawSave, ALookAtTheFileThatFailsIsTheSaveErrorOrWasNotNeeded) {
    expectOnly(tally(eFC_Look, eFM_FailOnce), getOutcomes());
}

TEST_P(FaultedRawSave, AnAllocationThatFailsLeavesTheOldFile) {
    std::set<std::string> outcomes = getOutcomes();
    outcomes.insert("no memory, old file");
    if (!GetParam()) {
        outcomes.insert({"no memory", "no memory, new file"});
    }
    expectOnly(tally(eFC_Allocate, eFM_FailOnce), outcomes);
    expectOnly(tally(eFC_Allocate, eFM_FailFromThere), outcomes);
}

TEST(FaultedRawOpen, AFileWhoseSizeCannotBeReadIsNotOpened) {
    TemporaryFolder const folder;
    fs::path const path = folder / "image.raw";
    FaultSample const sample = makeRawSample();
    saveRawImageFile(path, sample.pImage, RawWriteOptions());
    for (eImageAccessMode const accessMode : {eIAM_ReadOnly, eIAM_ReadWrite}) {
        long const nbLooks = 2;
        for (long at = 1; at <= nbLooks; ++at) {
            RawImageFile file;
            velmoArmFaults(eFC_Look, at, eFM_FailOnce);
            BoolResult const result = file.openFile(path, accessMode, 0, sample.pImage->getGeometry());
            EXPECT_GE(velmoDisarmFaults(), at);
            EXPECT_EQ(result.getMessage(), "Failed to open raw image file " + path.string()) << at;
            EXPECT_FALSE(file.isInit());
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Ways, FaultedRawSave, testing::Bool(),
                         [](testing::TestParamInfo<bool> const& parameter) {
                             return parameter.param ? "replaced_when_whole" : "in_place";
                         });

} // namespace velmo::test
