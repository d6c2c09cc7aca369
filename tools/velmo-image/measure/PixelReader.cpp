// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "measure/PixelReader.h"

#include "terminal/Failure.h"
#include "terminal/Interrupt.h"

#include <VELMOBase/AvailableMemory.h>
#include <VELMOBase/CheckedArithmetic.h>
#include <algorithm>

namespace velmo::tool {

namespace {

using namespace image;

bool isInterleaved(BaseImageGeometry const& geometry) {
    eColorGeometryType const color = geometry.getColorGeometryType();
    return color == eCGT_Rgb || color == eCGT_Rgba;
}

/// Null where the channels of the source are read one by one.
file::BasePageReader const* findPageReader(ObservedSource const& source, DiskImage const& observed) {
    auto const* const pDiskImage = dynamic_cast<DiskImage const*>(source.pImage.get());
    bool const bReads = pDiskImage != nullptr && isInterleaved(source.pImage->getGeometry()) &&
                        dynamic_cast<file::BasePageReader const*>(pDiskImage->getAccessor().get()) != nullptr;
    return bReads ? dynamic_cast<file::BasePageReader const*>(observed.getAccessor().get()) : nullptr;
}

void setBinary(std::byte* pPixels, vlUInt64 nbPixels) {
    for (vlUInt64 index = 0; index < nbPixels; ++index) {
        pPixels[index] = static_cast<std::byte>(pPixels[index] != std::byte{0});
    }
}

void makeRoom(PageBuffer& memory, vlUInt64 nbBytes) {
    if (memory.getSize() < nbBytes) {
        memory = PageBuffer();
        memory = PageBuffer(nbBytes);
    }
}

} // namespace

std::byte const* RunPixels::getChannel(vlUInt64 index) const {
    return pPixels + index * nbPixels * getImageBufferBaseSize(type);
}

PixelReader::PixelReader(ObservedSource const& source, Progress& progress)
    : _pImage(observe(source, progress)), _bWholePlanes(source.bWholePlanes),
      _pPageReader(findPageReader(source, *_pImage)) {}

void PixelReader::fail(std::string const& text) const {
    throw WorkFailure(quoted(_pImage->getAccessor()->getFilePath().string()) + ' ' + text);
}

void PixelReader::requirePixels() const {
    if (getGeometry().getNbPixels() == 0) {
        fail("has no pixels");
    }
}

void PixelReader::requireOneType(std::string const& remedy) const {
    auto const* const pTypes = dynamic_cast<HeterogeneousImageGeometry const*>(&getGeometry());
    if (pTypes != nullptr && !pTypes->getBufferTypeRuns().isUniform()) {
        fail("has planes of several pixel types" + remedy);
    }
}

RunLayout PixelReader::layOut() const {
    return layOutRuns(getGeometry(), prefersWholePlanes(), prefersAllChannels());
}

vlUInt64 PixelReader::countBytes(RunLayout const& layout) const {
    constexpr vlUInt64 largestPixel = 4;
    bool const bOneType = dynamic_cast<HomogeneousImageGeometry const*>(&getGeometry()) != nullptr;
    vlUInt64 const pixelSize =
        bOneType ? getImageBufferBaseSize(getGeometry().getBufferType()) : largestPixel;
    auto const nbBytes = checkedMultiply(layout.nbRunPixels, pixelSize * layout.nbChannels);
    return nbBytes ? *nbBytes : ~vlUInt64{0};
}

BoolResult PixelReader::readChannels(PixelRun const& run, std::vector<void*> const& buffers) const {
    PlanIndexes const& plane = run.plane;
    if (_pPageReader != nullptr && buffers.size() == getGeometry().getSizeC()) {
        return _pPageReader->readRawPage(plane.z, plane.t, run.start, run.nbPixels, buffers);
    }
    BoolResult result = success();
    for (vlUInt64 channel = 0; channel < buffers.size() && result; ++channel) {
        result = _pImage->readPixels({plane.z, plane.c + channel, plane.t}, run.start, run.nbPixels,
                                     buffers[channel]);
    }
    return result;
}

RunPixels PixelReader::read(PixelRun const& run, PageBuffer& memory) const {
    eImageBufferType const type = getGeometry().getPlanGeometry(run.plane.t).getBufferType();
    vlUInt64 const channelBytes = run.nbPixels * getImageBufferBaseSize(type);
    makeRoom(memory, channelBytes * run.nbChannels);
    std::vector<void*> buffers;
    for (vlUInt64 channel = 0; channel < run.nbChannels; ++channel) {
        buffers.push_back(memory.getData() + channel * channelBytes);
    }
    BoolResult const result = readChannels(run, buffers);
    if (!result) {
        throwIfInterrupted();
        throw WorkFailure(result.getMessage());
    }
    if (type == eIBT_Binary) {
        setBinary(memory.getData(), channelBytes * run.nbChannels);
    }
    return {type, run.nbPixels, memory.getData()};
}

vlUInt64 limitThreads(vlUInt64 nbThreads, vlUInt64 nbBytes) {
    vlUInt64 const nbAvailable = getAvailableMemory();
    if (nbBytes > nbAvailable) {
        throw WorkFailure("not enough memory: a plane takes " + std::to_string(nbBytes) + " bytes, " +
                          std::to_string(nbAvailable) + " are available");
    }
    return std::clamp<vlUInt64>(nbAvailable / 2 / std::max<vlUInt64>(nbBytes, 1), 1, nbThreads);
}

} // namespace velmo::tool
