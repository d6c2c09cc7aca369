// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "FactoryHooks.h"
#include "TiffFilesFixture.h"
#include "TiffFunctions.h"

#include <VELMOImage/GeometricCalibration.h>
#include <VELMOImage/ImageAccessor.h>
#include <boost/filesystem/operations.hpp>
#include <mutex>

namespace velmo::test {

using namespace image;
using namespace image::file;

namespace {

constexpr char const* g_refusal = "no disk image today";
constexpr char const* g_given = "given by the factory";

using FormOfDispatch = std::function<DistributedImagePtr(bool defaultDispatch)>;

/// The functions of one file, with a factory that refuses or that gives more than an empty image.
class TiffFactory : public TiffFunctions {
  protected:
    TiffFactory() {
        saveExample(eTC_None);
        _pModel = makeDistributedImage(*_pGeometry, _pixels);
    }

    std::vector<FormOfDispatch> getDistributedForms() const {
        return {[this](bool bDefault) {
                    return loadDistributedTiffImageFile(_path, eTDM_Volume, eTBM_Default, bDefault);
                },
                [this](bool bDefault) {
                    return loadDistributedTiffImageFile(_path, *_pModel, eTBM_Default, bDefault);
                }};
    }

    void saveDescribed() {
        ImagePtr const pImage = makeMemoryImage(*_pGeometry, _pixels);
        pImage->setUserPropertiesStr("of the file");
        pImage->setGeometricCalibration(createGeometricCalibration2d(0.5F, 0.25F, "mm", 0, 0, 0, 0, 0));
        saveTiffImageFile(_path, pImage, eTC_None);
    }

    /// Gives every new image a text and a calibration.
    void giveDescriptions() {
        _hooks.afterCreation = [this](BaseImage& image) { giveDescription(image); };
        _hooks.createDiskImage = [this](FactoryHooks::AccessorPtr const& pAccessor, DiskImagePtr& out) {
            BoolResult result = FactoryHooks::createDiskImageUnhooked(pAccessor, out);
            giveText(*out);
            return result;
        };
    }

    void giveText(BaseImage& image) const { image.setUserPropertiesStr(g_given); }
    void giveDescription(BaseImage& image) const {
        giveText(image);
        image.setGeometricCalibration(_pGiven);
    }

    DistributedImagePtr _pModel;
    GeometricCalibrationConstPtr const _pGiven =
        createGeometricCalibration2d(7.0F, 7.0F, "inch", 0, 0, 0, 0, 0);
    FactoryHooks _hooks;
};

} // namespace

TEST_F(TiffFactory, ARefusedDiskImageIsTheLoadErrorAndTheFileIsClosed) {
    _hooks.createDiskImage = [](auto const&, DiskImagePtr&) { return failure(g_refusal); };
    expectRaisedText([&] { openTiffImageFile(_path, eTDM_Volume, eTBM_Default); },
                     loadError(_path, g_refusal));
    EXPECT_EQ(countOpen(_path), 0);
    for (FormOfDispatch const& load : getDistributedForms()) {
        for (bool const defaultDispatch : {false, true}) {
            expectRaisedText([&] { load(defaultDispatch); }, loadError(_path, g_refusal));
            EXPECT_EQ(countOpen(_path), 0);
        }
    }
}

TEST_F(TiffFactory, ALoadOfAFileWithoutThemSetsNeitherCalibrationNorUserProperties) {
    giveDescriptions();
    for (Load const& load : getLoads()) {
        SCOPED_TRACE(load.name);
        ImagePtr const pImage = load.call(_path);
        EXPECT_EQ(pImage->getUserPropertiesStr(), g_given);
        if (std::string(load.name) != "open") { // there the factory takes the accessor's calibration
            EXPECT_EQ(pImage->getGeometricCalibrationConstPtr(), _pGiven);
        }
    }
}

TEST_F(TiffFactory, ALoadOfAFileWithThemSetsBoth) {
    saveDescribed();
    giveDescriptions();
    for (Load const& load : getLoads()) {
        SCOPED_TRACE(load.name);
        ImagePtr const pImage = load.call(_path);
        EXPECT_EQ(pImage->getUserPropertiesStr(), "of the file");
        EXPECT_NE(pImage->getGeometricCalibrationConstPtr(), _pGiven);
        EXPECT_TRUE(pImage->hasGeometricCalibration());
    }
}

TEST_F(TiffFactory, ADistributedLoadSetsBothAlsoWhereTheFileHasNeither) {
    giveDescriptions();
    for (bool const bDescribed : {false, true}) {
        if (bDescribed) {
            saveDescribed();
        }
        for (FormOfDispatch const& load : getDistributedForms()) {
            for (bool const defaultDispatch : {false, true}) {
                DistributedImagePtr const pImage = load(defaultDispatch);
                EXPECT_EQ(pImage->getUserPropertiesStr(), bDescribed ? "of the file" : "");
                EXPECT_EQ(pImage->hasGeometricCalibration(), bDescribed);
                EXPECT_NE(pImage->getGeometricCalibrationConstPtr(), _pGiven);
            }
        }
    }
}

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
