// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "FactoryHooks.h"
#include "TiffFilesFixture.h"

#include <VELMOImage/ImageAccessor.h>
#include <boost/filesystem/operations.hpp>
#include <mutex>

namespace velmo::test {

using namespace image;
using namespace image::file;

namespace {

constexpr char const* g_fileRefusal = "no disk image of this file";
constexpr std::size_t g_nbFactoryFiles = 4;

/// Threads that read, and the most threads that the process had meanwhile.
struct ReadingThreads {
    std::mutex mutex;
    std::set<std::thread::id> readers;
    std::size_t nbMost = 0;

    static std::size_t countThreads() {
        using Iterator = boost::filesystem::directory_iterator;
        return static_cast<std::size_t>(std::distance(Iterator("/proc/self/task"), Iterator()));
    }

    void add() {
        std::lock_guard<std::mutex> const lock(mutex);
        readers.insert(std::this_thread::get_id());
        nbMost = std::max(nbMost, countThreads());
    }
};

/// A disk image that keeps a record of the threads that read it.
class RecordingDiskImage : public DiskImage {
  public:
    RecordingDiskImage(FactoryHooks::AccessorPtr const& pAccessor, ReadingThreads& threads)
        : DiskImage(pAccessor), _threads(threads) {}

  private:
    BoolResult readPixelsDerived(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStart, vlUInt64 nbPixels,
                                 void* buffer) const override {
        _threads.add();
        return getAccessor()->readRawData(z, c, t, pixelStart, nbPixels, buffer);
    }

    ReadingThreads& _threads;
};

class TiffFilesFactory : public TiffFiles {
  protected:
    void saveParts(ImageGeometryPtr const& pGeometry, std::size_t nbFiles) {
        for (std::size_t index = 0; index < nbFiles; ++index) {
            _parts.push_back(makePart(pGeometry, static_cast<unsigned int>(index)));
        }
        save(_parts);
        writeEvenSteps(nbFiles);
    }

    std::vector<Part> _parts;
    FactoryHooks _hooks;
};

} // namespace

TEST_F(TiffFilesFactory, ARefusedDiskImageIsTheLoadErrorOfItsFile) {
    saveParts(makeVolume(1), g_nbFactoryFiles);
    for (Route const& route : getRoutes()) {
        for (std::size_t refused = 0; refused < g_nbFactoryFiles; ++refused) {
            SCOPED_TRACE(refused);
            std::size_t nbCalls = 0;
            _hooks.createDiskImage = [&](FactoryHooks::AccessorPtr const& pAccessor, DiskImagePtr& out) {
                return nbCalls++ == refused ? failure(g_fileRefusal)
                                            : FactoryHooks::createDiskImageUnhooked(pAccessor, out);
            };
            expectFails(route, loadError(numbered(refused), g_fileRefusal));
            EXPECT_EQ(nbCalls, refused + 1);
        }
    }
}

TEST_F(TiffFilesFactory, AJoinedLoadOfFilesWithoutUserPropertiesSetsNone) {
    saveParts(makeVolume(1), g_nbFactoryFiles);
    _hooks.afterCreation = [](BaseImage& image) { image.setUserPropertiesStr("of the factory"); };
    for (eTiffDirectoryMode const mode : {eTDM_Volume, eTDM_Temporal}) {
        EXPECT_EQ(load(mode)->getUserPropertiesStr(), "of the factory");
    }
}

// Large enough for more than one thread, where the copy may use them.
TEST_F(TiffFilesFactory, AJoinedLoadReadsOnTheCallingThreadAndStartsNoOther) {
    saveParts(geometry3d(eIBT_UInt8, 3072, 3072, 1), 3);
    for (eTiffDirectoryMode const mode : {eTDM_Volume, eTDM_Temporal}) {
        ReadingThreads threads;
        _hooks.createDiskImage = [&](FactoryHooks::AccessorPtr const& pAccessor, DiskImagePtr& out) {
            out = boost::make_shared<RecordingDiskImage>(pAccessor, threads);
            return success();
        };
        std::size_t const nbBefore = ReadingThreads::countThreads();
        EXPECT_TRUE(readPixels(*load(mode)) == joinAlongZ(_parts));
        EXPECT_EQ(threads.readers, std::set<std::thread::id>{std::this_thread::get_id()});
        EXPECT_EQ(threads.nbMost, nbBefore);
    }
}

} // namespace velmo::test
