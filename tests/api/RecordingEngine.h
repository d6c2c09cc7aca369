// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/DistributionEngine.h>
#include <atomic>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>

namespace velmo::test {

/// What the workers of an engine were asked for, and what they answer where it is set.
struct WorkerRecord {
    std::string addFailure;
    std::string writeFailure;
    std::string fillFailure;
    std::size_t nbToMeet = 0; ///< threads that a fill waits for, for two minutes at most

    std::atomic<int> nbAdded{0};
    std::atomic<int> nbDropped{0};
    std::atomic<int> nbWrites{0};
    std::atomic<int> nbFills{0};
    std::mutex mutex;
    std::condition_variable filling;
    std::set<std::thread::id> writers;
    std::set<std::thread::id> fillers;
};

/// An engine of two workers, each of them one of this process's with a record kept. An `addFailure` is the
/// answer to the second block.
image::DistributionEnginePtr createRecordingEngine(std::shared_ptr<WorkerRecord> const& pRecord);

/// An engine that takes blocks of any size and holds no pixels.
image::DistributionEnginePtr createBottomlessEngine();

/// The engine of new distributed images for as long as this object lives.
class ReplacedEngine {
  public:
    explicit ReplacedEngine(image::DistributionEnginePtr const& pEngine);
    ~ReplacedEngine();
    ReplacedEngine(ReplacedEngine const&) = delete;
    ReplacedEngine& operator=(ReplacedEngine const&) = delete;
};

} // namespace velmo::test
