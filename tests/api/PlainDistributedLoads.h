// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

// What distributed loads of raw and Im6 files have in common. To be included behind the fixtures of a format.

#pragma once

#include "RecordingEngine.h"

#include <boost/filesystem/operations.hpp>
#include <set>

namespace velmo::test {

/// Over a fixture of a format with the forms of its load, its pixels and the numbers of its blocks and
/// planes.
template <class Fixture>
class DistributedLoads : public Fixture {};

TYPED_TEST_SUITE_P(DistributedLoads);

TYPED_TEST_P(DistributedLoads, WithTheDefaultDispatchTheWorkersReadAtOnce) {
    this->_pRecord->nbToMeet = 2;
    for (auto const& load : this->getForms()) {
        this->resetCounts();
        this->_pRecord->fillers.clear();
        image::DistributedImagePtr const pImage = load(true);
        EXPECT_EQ(this->_pRecord->nbFills, TypeParam::s_nbBlocks);
        EXPECT_EQ(this->_pRecord->nbWrites, 0);
        EXPECT_EQ(this->_pRecord->fillers.size(), 2U);
        EXPECT_EQ(readPixels(*pImage), this->getPixels());
    }
}

TYPED_TEST_P(DistributedLoads, WithoutItTheCallingThreadReadsAlone) {
    for (auto const& load : this->getForms()) {
        this->resetCounts();
        image::DistributedImagePtr const pImage = load(false);
        EXPECT_EQ(this->_pRecord->nbFills, 0);
        EXPECT_EQ(this->_pRecord->nbWrites, TypeParam::s_nbPlanes);
        EXPECT_EQ(this->_pRecord->writers, std::set<std::thread::id>{std::this_thread::get_id()});
        EXPECT_EQ(readPixels(*pImage), this->getPixels());
    }
}

TYPED_TEST_P(DistributedLoads, AWorkerWithoutRoomIsAFailedCreationAsIsAnEngineWithoutWorkers) {
    this->_pRecord->addFailure = "no room";
    for (auto const& load : this->getForms()) {
        for (bool const defaultDispatch : {false, true}) {
            this->resetCounts();
            expectRaisedText([&] { load(defaultDispatch); }, "Failed to create distributed image\nno room");
            EXPECT_EQ(this->_pRecord->nbAdded, 1);
            EXPECT_EQ(this->_pRecord->nbDropped, 1);
            EXPECT_EQ(countOpen(this->_path), 0);
        }
    }
    ReplacedEngine const empty(image::createThreadDistributionEngine(0));
    for (auto const& load : this->getForms()) {
        expectRaisedText([&] { load(true); },
                         "Failed to create distributed image\nA distributed image needs a worker");
    }
}

TYPED_TEST_P(DistributedLoads, AFileThatDoesNotOpenIsMetBeforeTheWorkersAreAsked) {
    boost::filesystem::remove(this->_path);
    for (auto const& load : this->getForms()) {
        this->resetCounts();
        expectRaisedText([&] { load(true); }, loadError(this->_path, this->getOpenFailed()));
        EXPECT_EQ(this->_pRecord->nbAdded, 0);
    }
}

TYPED_TEST_P(DistributedLoads, AWorkersFailureIsTheLoadError) {
    this->_pRecord->fillFailure = "the worker has lost its network";
    this->_pRecord->writeFailure = "the worker refuses";
    for (auto const& load : this->getForms()) {
        this->resetCounts();
        expectRaisedText([&] { load(true); }, loadError(this->_path, "the worker has lost its network"));
        expectRaisedText([&] { load(false); }, loadError(this->_path, "the worker refuses"));
        EXPECT_EQ(countOpen(this->_path), 0);
        EXPECT_EQ(this->_pRecord->nbDropped, 2 * TypeParam::s_nbBlocks); // of each of two images
    }
}

REGISTER_TYPED_TEST_SUITE_P(DistributedLoads, WithTheDefaultDispatchTheWorkersReadAtOnce,
                            WithoutItTheCallingThreadReadsAlone,
                            AWorkerWithoutRoomIsAFailedCreationAsIsAnEngineWithoutWorkers,
                            AFileThatDoesNotOpenIsMetBeforeTheWorkersAreAsked, AWorkersFailureIsTheLoadError);

} // namespace velmo::test
