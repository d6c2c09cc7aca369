// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "FaultyNetwork.h"
#include "ImageBytes.h"
#include "LoopbackJob.h"
#include "Processes.h"
#include "TemporaryFolder.h"

#include <VELMOImage/DistributedImage.h>
#include <VELMOImageFile/VELMOImageFile.h>
#include <VELMOImageFileMpi/PlaneFunctions.h>
#include <VELMOSerialization/BinaryArchive.h>
#include <atomic>
#include <cstdlib>
#include <iostream>
#include <optional>
#include <sstream>

namespace velmo::test {

using namespace image;
using namespace image::file;
using namespace image::mpi;

namespace {

constexpr vlUInt64 g_sizeZ = 13;
constexpr vlUInt64 g_planeBytes = 70;

unsigned int getNbSeeds() {
    char const* const text = std::getenv("VELMO_TEST_SEEDS");
    return text == nullptr ? 240 : static_cast<unsigned int>(std::stoul(text));
}

/// A raw file and its accessor record.
class FilledFile {
  public:
    FilledFile() : _pGeometry(geometry3d(eIBT_UInt16, 7, 5, g_sizeZ)), _pixels(makePixels(*_pGeometry, 5)) {
        saveRawImageFile(_folder / "image.raw", makeMemoryImage(*_pGeometry, _pixels));
        std::ostringstream stream;
        BinaryOArchive archive(stream);
        archive.writeObject("accessor", openRawImageFile(_folder / "image.raw", *_pGeometry)->getAccessor());
        _record = stream.str();
    }

    BaseImageGeometry const& getGeometry() const { return *_pGeometry; }
    std::string const& getPixels() const { return _pixels; }
    std::string const& getRecord() const { return _record; }

  private:
    TemporaryFolder const _folder;
    ImageGeometryPtr _pGeometry;
    std::string _pixels;
    std::string _record;
};

/// How the calls of one job ended.
struct Outcome {
    int nbFailed = 0;    ///< calls
    int nbSucceeded = 0; ///< calls
    std::string wrong;   ///< description of a call that succeeded with wrong pixels
};

/// One job: writes, reads and fills an image, and compares what succeeded.
class FaultyJob {
  public:
    FaultyJob(FilledFile const& file, unsigned int seed) : _file(file), _seed(seed) {}

    Outcome run() {
        int const nbRanks = 2 + static_cast<int>(_seed / 8 % 2);
        FaultyNetwork network(_seed, nbRanks);
        bool const bHarmless = network.isHarmless();
        attempt([&] {
            LoopbackJob job(nbRanks, bHarmless ? getPatientTiming() : getHastyTiming(), std::move(network));
            work(job);
            return success();
        });
        if (bHarmless && _outcome.nbFailed != 0) {
            _outcome.wrong = "a call failed without a reason: " + _lastFailure;
        }
        return _outcome;
    }

  private:
    using Call = std::function<BoolResult()>;

    bool attempt(Call const& call) {
        std::string text;
        try {
            BoolResult const result = call();
            if (result) {
                ++_outcome.nbSucceeded;
                return true;
            }
            text = result.getMessage();
        } catch (std::exception const& exception) {
            text = exception.what();
        }
        _lastFailure = text;
        ++_outcome.nbFailed;
        return false;
    }

    void work(LoopbackJob& job) {
        DistributedImage image(job.getEngine());
        if (!attempt([&] { return image.init(_file.getGeometry()); })) {
            return;
        }
        _planes.assign(g_sizeZ, std::string(g_planeBytes, '\0'));
        std::mt19937 random(_seed);
        for (int step = 0; step < 20; ++step) {
            write(image, random() % g_sizeZ, static_cast<unsigned int>(random()));
            read(image, random() % g_sizeZ);
        }
        invert(image);
        readAll(image);
        fill(image);
        readAll(image);
    }

    void write(DistributedImage& image, vlUInt64 z, unsigned int bytes) {
        std::string const plane = makeBytes(g_planeBytes, bytes);
        bool const bDone = attempt([&] { return image.writePixels(z, 0, 0, 0, 35, plane.data()); });
        _planes[z] = bDone ? std::optional(plane) : std::nullopt;
    }

    void read(DistributedImage const& image, vlUInt64 z) {
        std::string plane(g_planeBytes, '?');
        bool const bDone = attempt([&] { return image.readPixels(z, 0, 0, 0, 35, plane.data()); });
        if (bDone && _planes[z] && *_planes[z] != plane) {
            _outcome.wrong = "plane " + std::to_string(z);
        }
    }

    void readAll(DistributedImage const& image) {
        for (vlUInt64 z = 0; z < g_sizeZ; ++z) {
            read(image, z);
        }
    }

    void invert(DistributedImage& image) {
        bool const bDone = attempt([&] {
            forEachPlane(image, "invert bytes");
            return success();
        });
        for (auto& plane : _planes) {
            if (!bDone) {
                plane.reset();
            } else if (plane) {
                std::transform(plane->begin(), plane->end(), plane->begin(),
                               [](char byte) { return static_cast<char>(~byte); });
            }
        }
    }

    void fill(DistributedImage& image) {
        bool const bDone = attempt([&] { return image.fillFromAccessor(_file.getRecord()); });
        for (vlUInt64 z = 0; z < g_sizeZ; ++z) {
            _planes[z] = bDone ? std::optional(_file.getPixels().substr(z * g_planeBytes, g_planeBytes))
                               : std::nullopt;
        }
    }

    FilledFile const& _file;
    unsigned int _seed;
    Outcome _outcome;
    std::string _lastFailure;
    std::vector<std::optional<std::string>> _planes; ///< what they must be; nothing after a failure
};

/// Ends the test program if a seed takes too long.
class Watchdog {
  public:
    explicit Watchdog(unsigned int seed)
        : _thread([this, seed] {
              std::unique_lock<std::mutex> lock(_mutex);
              if (!_ended.wait_for(lock, std::chrono::minutes(3), [this] { return _bEnded; })) {
                  std::cerr << "seed " << seed << " hangs" << std::endl;
                  std::abort();
              }
          }) {}
    ~Watchdog() {
        {
            std::lock_guard<std::mutex> const lock(_mutex);
            _bEnded = true;
        }
        _ended.notify_one();
        _thread.join();
    }
    Watchdog(Watchdog const&) = delete;
    Watchdog& operator=(Watchdog const&) = delete;

  private:
    std::mutex _mutex;
    std::condition_variable _ended;
    bool _bEnded = false;
    std::thread _thread;
};

} // namespace

TEST(LoopbackFaults, NoSeedHangsOrSucceedsWithWrongPixels) {
    registerPlaneFunction("invert bytes", [](PlaneMemory const& plane, std::string const&) {
        auto* const pBytes = static_cast<unsigned char*>(plane.pPixels);
        std::transform(pBytes, pBytes + g_planeBytes, pBytes,
                       [](unsigned char byte) { return static_cast<unsigned char>(~byte); });
        return std::string();
    });
    FilledFile const file;
    std::atomic<unsigned int> nextSeed{0};
    std::atomic<int> nbWhole{0};
    std::atomic<int> nbWithFailures{0};
    onThreads(8, [&](unsigned int /*thread*/) {
        for (unsigned int seed = nextSeed++; seed < getNbSeeds(); seed = nextSeed++) {
            Watchdog const watchdog(seed);
            Outcome const outcome = FaultyJob(file, seed).run();
            EXPECT_EQ(outcome.wrong, "") << "seed " << seed;
            ++(outcome.nbFailed == 0 ? nbWhole : nbWithFailures);
        }
    });
    std::cout << nbWhole << " jobs succeeded as a whole, " << nbWithFailures << " had calls that failed\n";
    EXPECT_GT(nbWhole, 0);
    EXPECT_GT(nbWithFailures, 0);
}

} // namespace velmo::test
