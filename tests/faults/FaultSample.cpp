// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "FaultSample.h"

#include "Im6Sample.h"
#include "ImageBytes.h"
#include "Raised.h"

#include <VELMOImageFile/Im6ImageFileUtils.h>
#include <VELMOImageFile/RawImageFileUtils.h>
#include <VELMOImageFile/TiffImageFileUtils.h>
#include <VELMOImageFile/VELMOImageFileException.h>
#include <boost/algorithm/string/join.hpp>
#include <boost/algorithm/string/predicate.hpp>
#include <boost/filesystem/operations.hpp>
#include <boost/make_shared.hpp>
#include <tiffio.h>

namespace velmo::test {

namespace fs = boost::filesystem;
using namespace image;
using namespace image::file;

namespace {

constexpr vlUInt64 g_sizeX = 70;
constexpr vlUInt64 g_sizeY = 64;
char const* const g_header = "header";

/// 2 time steps. With 2 planes in each, 8960 bytes in each of 4 planes.
ImageGeometryPtr makeFaultGeometry(bool bRgb, vlUInt64 sizeZ = 2) {
    VolumeGeometry volume;
    volume.init3d(sizeZ);
    TemporalGeometry temporal;
    temporal.initSequence(2);
    ColorGeometry color;
    if (bRgb) {
        color.initRgb();
    }
    return geometry(eIBT_UInt16, g_sizeX, g_sizeY, volume, color, temporal);
}

ImagePtr makeImage(bool bRgb, vlUInt64 sizeZ = 2) {
    auto const pGeometry = makeFaultGeometry(bRgb, sizeZ);
    return makeMemoryImage(*pGeometry, makePixels(*pGeometry));
}

GeometricCalibrationPtr makeCalibration() {
    auto pCalibration = boost::make_shared<GeometricCalibration>();
    pCalibration->init3d(0.5F, 0.25F, 1.5F, "um", 11.0F, 12.0F, 13.0F, 0, 0, 0, 0);
    return pCalibration;
}

FaultSample makeTiffSampleOf(std::string const& name, bool bRgb, eTiffCompression compression,
                             std::string const& userProperties, vlUInt64 sizeZ = 2) {
    ImagePtr const pImage = makeImage(bRgb, sizeZ);
    pImage->setGeometricCalibration(makeCalibration());
    pImage->setUserPropertiesStr(userProperties);
    return {name,
            ".tif",
            pImage,
            [pImage, compression](fs::path const& path) { saveTiffImageFile(path, pImage, compression); },
            [](fs::path const& path) { return loadTiffImageFile(path, eTBM_Default); },
            "Error while saving tiff image file ",
            "Error while loading tiff image file ",
            false};
}

std::string describeCalibration(GeometricCalibrationConstPtr const& pCalibration) {
    if (!pCalibration) {
        return "none";
    }
    std::string text = pCalibration->getUnit() + (pCalibration->is3d() ? " 3d" : " 2d");
    for (float const size : {pCalibration->getPixelSizeX(), pCalibration->getPixelSizeY(),
                             pCalibration->getPixelSizeZ(), pCalibration->getFurtherTerms()[0]}) {
        text += ' ' + std::to_string(size);
    }
    return text;
}

std::size_t countOpenDescriptors() {
    return static_cast<std::size_t>(
        std::distance(fs::directory_iterator("/proc/self/fd"), fs::directory_iterator()));
}

std::string describeRun(std::string const& beginning, std::function<void()> const& action) {
    try {
        action();
        return "done";
    } catch (std::bad_alloc const&) {
        return "no memory";
    } catch (std::exception const& exception) {
        std::string const text = exception.what();
        bool const bOwn = typeid(exception) == typeid(VELMOImageFileException);
        bool const bExpected = boost::algorithm::starts_with(text, beginning) ||
                               boost::algorithm::starts_with(text, "Failed to create distributed image\n");
        return bOwn && bExpected ? "raised" : "thrown: " + text;
    }
}

} // namespace

FaultSample makeRawSample() {
    ImagePtr const pImage = makeImage(false);
    return {"raw",
            ".raw",
            pImage,
            [pImage](fs::path const& path) { saveRawImageFile(path, pImage, g_header); },
            [pImage](fs::path const& path) {
                return loadRawImageFile(path, pImage->getGeometry(), std::string(g_header).size());
            },
            "Error while saving raw image file ",
            "Error while loading raw image file ",
            false};
}

FaultSample makeIm6Sample() {
    Im6Sample sample;
    sample.sizeX = g_sizeX;
    sample.sizeY = g_sizeY;
    sample.sizeZ = 2;
    sample.sizeT = 2;
    sample.dataType = 18;
    sample.text = g_calibrationText;
    sample.calibration.emplace();
    ImagePtr const pImage = makeImage(false);
    pImage->setGeometricCalibration(makeCalibration());
    sample.pixels = readPixels(*pImage);
    return {"im6",
            ".im6",
            pImage,
            [sample](fs::path const& path) { sample.write(path); },
            [](fs::path const& path) { return loadIm6ImageFile(path); },
            "",
            "Error while loading im6 image file ",
            false};
}

FaultSample makeTiffSample() {
    return makeTiffSampleOf("tiff", false, eTC_None, "some properties");
}

FaultSample makeLzwSample() {
    return makeTiffSampleOf("tiff lzw", false, eTC_Lzw, "some properties");
}

FaultSample makeDeflateSample() {
    return makeTiffSampleOf("tiff deflate", false, eTC_Deflate, std::string(20000, 'p'));
}

FaultSample makeInterleavedSample() {
    return makeTiffSampleOf("tiff rgb", true, eTC_None, "some properties");
}

FaultSample makeManyPlanesSample() {
    return makeTiffSampleOf("tiff of many planes", false, eTC_None, "some properties", 6);
}

namespace {

FaultSample distributed(FaultSample sample, std::function<ImagePtr(fs::path const&)> load) {
    sample.name += " distributed";
    sample.load = std::move(load);
    return sample;
}

} // namespace

std::vector<FaultSample> makeDistributedSamples() {
    FaultSample const rawSample = makeRawSample();
    ImagePtr const pImage = rawSample.pImage;
    FaultSample im6Sample = makeIm6Sample();
    im6Sample.pImage = makeImage(false); // without the calibration
    FaultSample interleavedSample = distributed(makeInterleavedSample(), [](fs::path const& path) {
        return loadDistributedTiffImageFile(path, eTDM_Volume, eTBM_Default, true);
    });
    interleavedSample.bLosesBrokenStrips = true;
    return {
        distributed(rawSample,
                    [pImage](fs::path const& path) {
                        return loadDistributedRawImageFile(path, pImage->getGeometry(),
                                                           std::string(g_header).size(), true);
                    }),
        distributed(im6Sample, [](fs::path const& path) { return loadDistributedIm6ImageFile(path, true); }),
        distributed(makeTiffSample(),
                    [](fs::path const& path) {
                        return loadDistributedTiffImageFile(path, eTDM_Volume, eTBM_Default, true);
                    }),
        interleavedSample};
}

namespace {

constexpr vlUInt64 g_nbForeignPlanes = 4;

/// A directory for each plane, as another program writes it.
void writeForeignTiff(fs::path const& path, std::string pixels) {
    std::unique_ptr<TIFF, decltype(&TIFFClose)> const pTiff(TIFFOpen(path.c_str(), "w"), TIFFClose);
    if (!pTiff) {
        throw std::bad_alloc();
    }
    auto const planeSize = static_cast<tmsize_t>(pixels.size() / g_nbForeignPlanes);
    for (std::size_t plane = 0; plane < g_nbForeignPlanes; ++plane) {
        TIFFSetField(pTiff.get(), TIFFTAG_IMAGEWIDTH, g_sizeX);
        TIFFSetField(pTiff.get(), TIFFTAG_IMAGELENGTH, g_sizeY);
        TIFFSetField(pTiff.get(), TIFFTAG_BITSPERSAMPLE, 16);
        TIFFSetField(pTiff.get(), TIFFTAG_SAMPLESPERPIXEL, 1);
        TIFFSetField(pTiff.get(), TIFFTAG_PHOTOMETRIC, PHOTOMETRIC_MINISBLACK);
        TIFFSetField(pTiff.get(), TIFFTAG_ROWSPERSTRIP, g_sizeY);
        TIFFSetField(pTiff.get(), TIFFTAG_XRESOLUTION, 4.0);
        TIFFSetField(pTiff.get(), TIFFTAG_YRESOLUTION, 2.0);
        TIFFSetField(pTiff.get(), TIFFTAG_RESOLUTIONUNIT, RESUNIT_CENTIMETER);
        char* const pPlane = pixels.data() + static_cast<tmsize_t>(plane) * planeSize;
        TIFFWriteEncodedStrip(pTiff.get(), 0, pPlane, planeSize);
        TIFFWriteDirectory(pTiff.get());
    }
}

} // namespace

FaultSample makeForeignTiffSample() {
    VolumeGeometry volume;
    volume.init3d(g_nbForeignPlanes);
    auto const pGeometry =
        geometry(eIBT_UInt16, g_sizeX, g_sizeY, volume, ColorGeometry(), TemporalGeometry());
    std::string const pixels = makePixels(*pGeometry);
    ImagePtr const pImage = makeMemoryImage(*pGeometry, pixels);
    pImage->setGeometricCalibration(createGeometricCalibration2d(0.25F, 0.5F, "cm", 0, 0, 0, 0, 0));
    return {"tiff foreign",
            ".tif",
            pImage,
            [pixels](fs::path const& path) { writeForeignTiff(path, pixels); },
            [](fs::path const& path) { return loadTiffImageFile(path, eTBM_Default); },
            "",
            "Error while loading tiff image file ",
            false};
}

std::vector<FaultSample> makeSavedSamples() {
    return {makeRawSample(),     makeTiffSample(),        makeLzwSample(),
            makeDeflateSample(), makeInterleavedSample(), makeManyPlanesSample()};
}

std::vector<FaultSample> makeAllSamples() {
    std::vector<FaultSample> samples = makeSavedSamples();
    samples.push_back(makeIm6Sample());
    return samples;
}

std::string findDifference(FaultSample const& sample, BaseImage const& image) {
    std::string const found = describeGeometry(image.getGeometry());
    std::string const calibration = describeCalibration(image.getGeometricCalibrationConstPtr());
    if (found != describeGeometry(sample.pImage->getGeometry())) {
        return "geometry " + found;
    }
    if (calibration != describeCalibration(sample.pImage->getGeometricCalibrationConstPtr())) {
        return "calibration " + calibration;
    }
    if (image.getUserPropertiesStr() != sample.pImage->getUserPropertiesStr()) {
        return "user properties of " + std::to_string(image.getUserPropertiesStr().size()) + " bytes";
    }
    return readPixels(image) == readPixels(*sample.pImage) ? "" : "pixels";
}

std::string describeOutcome(std::string const& beginning, std::function<void()> const& action) {
    std::size_t const nbOpen = countOpenDescriptors();
    std::string const text = describeRun(beginning, action);
    std::size_t const nbOpenNow = countOpenDescriptors();
    return text + (nbOpen == nbOpenNow ? "" : ", open: " + std::to_string(nbOpenNow - nbOpen));
}

std::string describeSave(FaultSample const& sample, fs::path const& path) {
    return describeOutcome(sample.saveError + quoted(path), [&] { sample.save(path); });
}

std::string describeLoad(FaultSample const& sample, fs::path const& path) {
    ImagePtr pImage;
    std::string const outcome =
        describeOutcome(sample.loadError + quoted(path), [&] { pImage = sample.load(path); });
    std::string const difference = pImage ? findDifference(sample, *pImage) : "";
    return difference.empty() ? outcome : outcome + ", but other " + difference;
}

std::string join(std::vector<std::string> const& outcomes) {
    return boost::algorithm::join(outcomes, ", ");
}

} // namespace velmo::test
