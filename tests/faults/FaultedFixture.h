// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "FaultedCalls.h"
#include "Processes.h"
#include "TemporaryFolder.h"

#include <gtest/gtest.h>

namespace velmo::test {

inline std::vector<FaultSample> makeEverySample() {
    std::vector<FaultSample> samples = makeAllSamples();
    std::vector<FaultSample> const more = makeDistributedSamples();
    samples.insert(samples.end(), more.begin(), more.end());
    samples.push_back(makeForeignTiffSample());
    return samples;
}

/// Made once: each case is a process, and asks for the names of all.
inline FaultSample const& getSample(std::size_t index) {
    static std::vector<FaultSample> const samples = makeEverySample();
    return samples.at(index);
}

/// A sample by its number, and a path for its file. This process itself neither saves nor
/// loads: each of its children does so for the first time.
class FaultedTest : public testing::TestWithParam<std::size_t> {
  protected:
    FaultedTest() : _sample(getSample(GetParam())), _path(_folder / ("image" + _sample.extension)) {}

    TemporaryFolder _folder;
    FaultSample _sample;
    boost::filesystem::path _path;
};

inline std::string getSampleName(testing::TestParamInfo<std::size_t> const& info) {
    std::string name = getSample(info.param).name;
    std::replace(name.begin(), name.end(), ' ', '_');
    return name;
}

} // namespace velmo::test
