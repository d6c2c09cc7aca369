// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "ImportSource.h"

#include <VELMOBase/AvailableMemory.h>
#include <VELMOImage/ImageGeometry.h>
#include <boost/filesystem/operations.hpp>
#include <charconv>
#include <cstring>

namespace velmo::importer {

namespace {

std::string toText(double value) {
    std::array<char, 32> text{};
    auto const [pEnd, error] = std::to_chars(text.data(), text.data() + text.size(), value);
    return {text.data(), pEnd};
}

std::vector<PageKind> copyKinds(ImportPlan const& plan) {
    return plan.kinds;
}

} // namespace

ImportSource::ImportSource(ImportPlan plan, ImportOptions const& options)
    : _plan(std::move(plan)), _decoder(_plan.files, copyKinds(_plan), options.nbThreads, options.isStopped),
      _bKeepsChannels(keepsChannels()) {}

/// The planes of an image are read in the order t, c, z. Channels of a page are read one after the other only
/// if there is one plane along Z, or if the output interleaves colours.
bool ImportSource::keepsChannels() const {
    image::eColorGeometryType const color = getGeometry().getColorGeometryType();
    bool const bInterleaved = color == image::eCGT_Rgb || color == image::eCGT_Rgba;
    bool const bSeparate = _plan.kinds[_plan.pages.front().kind].shape.bSeparate;
    return _plan.samples > 1 && !bSeparate && (bInterleaved || getGeometry().getSizeZ() == 1);
}

BoolResult ImportSource::requireMemory(vlUInt64 nbBytes) const {
    vlUInt64 const nbAvailable = getAvailableMemory();
    return nbBytes <= nbAvailable
               ? success()
               : failure("the channels of a page take " + std::to_string(nbBytes) + " bytes of memory, and " +
                         std::to_string(nbAvailable) + " are available");
}

BoolResult ImportSource::readPlane(vlUInt64 page, vlUInt64 sample, std::byte* pPixels) {
    vlUInt64 const planeBytes = getGeometry().getPlanMemorySize(0);
    if (_heldPage == page && !_heldPlanes[sample].empty()) {
        std::memcpy(pPixels, _heldPlanes[sample].data(), planeBytes);
        std::vector<std::byte>().swap(_heldPlanes[sample]);
        return success();
    }
    _heldPage.reset();
    _heldPlanes.clear();
    _heldPlanes.resize(_plan.samples);
    std::vector<std::byte*> planes(_plan.samples, nullptr);
    if (_bKeepsChannels) {
        BoolResult result = requireMemory((_plan.samples - 1 - sample) * planeBytes);
        if (!result) {
            return result;
        }
        for (vlUInt64 later = sample + 1; later < _plan.samples; ++later) {
            _heldPlanes[later].resize(planeBytes);
            planes[later] = _heldPlanes[later].data();
        }
    }
    planes[sample] = pPixels;
    BoolResult result = _decoder.decode(_plan.pages[page], planes);
    if (result && _bKeepsChannels) {
        _heldPage = page;
    }
    return result;
}

BoolResult ImportSource::read(image::PlanIndexes const& plane, vlUInt64 pixelStart, vlUInt64 nbPixels,
                              void* pBuffer) {
    std::lock_guard<std::mutex> const lock(_mutex);
    image::BaseImageGeometry const& geometry = getGeometry();
    vlUInt64 const nbPageChannels = geometry.getSizeC() / _plan.samples;
    vlUInt64 const page =
        (plane.t * nbPageChannels + plane.c / _plan.samples) * geometry.getSizeZ() + plane.z;
    vlUInt64 const sample = plane.c % _plan.samples;
    if (nbPixels == geometry.getPlanNbPixels()) {
        return readPlane(page, sample, static_cast<std::byte*>(pBuffer));
    }
    vlUInt64 const planeBytes = geometry.getPlanMemorySize(0);
    if (_runPlane != std::make_pair(page, sample)) {
        _runPlane.reset();
        BoolResult result = requireMemory(planeBytes);
        if (result) {
            _runPixels.resize(planeBytes);
            result = readPlane(page, sample, _runPixels.data());
        }
        if (!result) {
            return result;
        }
        _runPlane = std::make_pair(page, sample);
    }
    vlUInt64 const pixelSize = image::getImageBufferBaseSize(geometry.getBufferType());
    std::memcpy(pBuffer, _runPixels.data() + pixelStart * pixelSize, nbPixels * pixelSize);
    return success();
}

BoolResult ImportSource::readPage(vlUInt64 z, vlUInt64 t, std::vector<void*> const& buffers) {
    std::lock_guard<std::mutex> const lock(_mutex);
    if (buffers.size() != _plan.samples || getGeometry().getSizeC() != _plan.samples) {
        return failure("the channels are in several pages");
    }
    std::vector<std::byte*> planes;
    planes.reserve(buffers.size());
    for (void* const pBuffer : buffers) {
        planes.push_back(static_cast<std::byte*>(pBuffer));
    }
    return _decoder.decode(_plan.pages[t * getGeometry().getSizeZ() + z], planes);
}

std::vector<ImportChange> ImportSource::getChanges() const {
    std::lock_guard<std::mutex> const lock(_mutex);
    std::vector<ImportChange> changes = _plan.changes;
    DecodedFacts const& facts = _decoder.getFacts();
    bool const bRounded = _plan.kinds.front().pixels.code == eSampleCode::Double;
    if (bRounded) {
        bool const bExact = facts.rounding.greatestError == 0;
        changes.push_back({"rounding", std::string("float64 became real32; greatest error: ") +
                                           (bExact ? "0, all values are exact"
                                                   : toText(facts.rounding.greatestError) +
                                                         ", of the value " + toText(facts.rounding.value))});
    }
    for (std::string const& warning : facts.warnings) {
        changes.push_back({"libtiff", warning});
    }
    return changes;
}

bool ImportSource::isStoredIn(boost::filesystem::path const& path) const {
    for (InputFilePtr const& pFile : _plan.files) {
        boost::system::error_code ignored;
        if (boost::filesystem::equivalent(pFile->getPath(), path, ignored)) {
            return true;
        }
    }
    return false;
}

} // namespace velmo::importer
