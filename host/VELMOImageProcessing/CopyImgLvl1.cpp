// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOImageProcessing/CopyImgLvl1.h"

#include "VELMOBase/CheckedArithmetic.h"
#include "VELMOBase/ParallelRun.h"
#include "VELMOImage/DiskImage.h"
#include "VELMOImage/DistributedImage.h"
#include "VELMOImage/ImageAccessor.h"
#include "VELMOImage/ImageGeometry.h"
#include "VELMOImageProcessing/detail/PixelRules.h"
#include "VELMOSerialization/BinaryArchive.h"

#include <algorithm>
#include <sstream>
#include <vector>

namespace velmo::imaproc::util {

namespace {

using image::BaseImage;
using image::BaseImageGeometry;
using image::PlanIndexes;

/// Bytes of one call to an image: two huge pages, large enough that a call costs nothing.
constexpr vlUInt64 g_runSize = vlUInt64{4} << 20;
/// Bytes of the neighbouring runs that one thread takes at a time: several huge pages, so that two threads
/// seldom touch one page for the first time together, which would clear it twice.
constexpr vlUInt64 g_unitSize = vlUInt64{8} << 20;
/// Bytes that pay for one more thread under the default policy.
constexpr vlUInt64 g_sizePerThread = vlUInt64{16} << 20;

/// The cut of an image into runs of pixels of one plane, numbered plane by plane in (t, c, z) order: whole
/// rows, or parts of a row where a row is larger than a run.
class PixelRuns {
  public:
    /// The image must have pixels.
    explicit PixelRuns(BaseImageGeometry const& geometry)
        : _geometry(geometry), _nbPixelsPerPlan(geometry.getPlanNbPixels()) {
        constexpr vlUInt64 nbLargestPixels = g_runSize / 4; // no pixel takes more than 4 bytes
        vlUInt64 const nbRows = std::max<vlUInt64>(1, nbLargestPixels / geometry.getSizeX());
        _nbPixels = std::min(nbRows * std::min(geometry.getSizeX(), nbLargestPixels), _nbPixelsPerPlan);
        _nbRunsPerPlan = divideUp(_nbPixelsPerPlan, _nbPixels);
    }

    vlUInt64 getNbRuns() const { return _geometry.getNbPlans() * _nbRunsPerPlan; }
    PlanIndexes getPlan(vlUInt64 run) const { return _geometry.getPlanIndexes(run / _nbRunsPerPlan); }
    vlUInt64 getFirstPixel(vlUInt64 run) const { return run % _nbRunsPerPlan * _nbPixels; }
    vlUInt64 getNbPixels(vlUInt64 run) const {
        return std::min(_nbPixels, _nbPixelsPerPlan - getFirstPixel(run));
    }

  private:
    BaseImageGeometry const& _geometry;
    vlUInt64 _nbPixelsPerPlan;
    vlUInt64 _nbPixels = 1;
    vlUInt64 _nbRunsPerPlan = 1;
};

class RunCopier {
  public:
    RunCopier(BaseImage const& source, BaseImage& target, vlUInt64 nbThreads)
        : _source(source), _target(target), _runs(target.getGeometry()) {
        vlUInt64 const nbUnits = target.getGeometry().getFullMemorySize() / g_unitSize;
        _nbRunsPerUnit = std::max<vlUInt64>(1, _runs.getNbRuns() / std::max<vlUInt64>(nbUnits, nbThreads));
        _buffers.resize(std::min(nbThreads, getNbUnits()));
    }

    /// No more than there are units.
    vlUInt64 getNbThreads() const { return _buffers.size(); }

    vlUInt64 getNbUnits() const { return divideUp(_runs.getNbRuns(), _nbRunsPerUnit); }

    BoolResult copyUnit(vlUInt64 thread, vlUInt64 unit) {
        vlUInt64 const first = unit * _nbRunsPerUnit;
        vlUInt64 const end = std::min(first + _nbRunsPerUnit, _runs.getNbRuns());
        BoolResult result = success();
        for (vlUInt64 run = first; run < end && result; ++run) {
            result = copyRun(thread, run);
        }
        return result;
    }

  private:
    BoolResult copyRun(vlUInt64 thread, vlUInt64 run) {
        PlanIndexes const plan = _runs.getPlan(run);
        vlUInt64 const first = _runs.getFirstPixel(run);
        vlUInt64 const nbPixels = _runs.getNbPixels(run);
        vlUInt64 const offset = first * getPixelSize(plan.t);
        if (void* const pPlan = _target.accessPlan(plan.z, plan.c, plan.t)) {
            return _source.readPixels(plan.z, plan.c, plan.t, first, nbPixels,
                                      static_cast<std::byte*>(pPlan) + offset);
        }
        if (void const* const pPlan = _source.accessPlan(plan.z, plan.c, plan.t)) {
            return _target.writePixels(plan.z, plan.c, plan.t, first, nbPixels,
                                       static_cast<std::byte const*>(pPlan) + offset);
        }
        std::vector<std::byte>& buffer = _buffers[thread];
        buffer.resize(std::max<std::size_t>(buffer.size(), nbPixels * getPixelSize(plan.t)));
        BoolResult result = _source.readPixels(plan.z, plan.c, plan.t, first, nbPixels, buffer.data());
        if (result) {
            result = _target.writePixels(plan.z, plan.c, plan.t, first, nbPixels, buffer.data());
        }
        return result;
    }

    vlUInt64 getPixelSize(vlUInt64 t) const {
        return _target.getGeometry().getPlanGeometry(t).getPixelSize();
    }

    BaseImage const& _source;
    BaseImage& _target;
    PixelRuns _runs;
    vlUInt64 _nbRunsPerUnit = 1;
    std::vector<std::vector<std::byte>> _buffers; ///< one a thread, for copies that pass by no memory image
};

std::string toRecord(boost::shared_ptr<image::BaseDiskImageAccessor> const& pAccessor) {
    std::ostringstream stream;
    BinaryOArchive archive(stream);
    archive.writeObject("accessor", pAccessor);
    return stream.str();
}

vlUInt64 getUsefulThreads(processor::ProcessorDispatchPolicy const& policy,
                          BaseImageGeometry const& geometry) {
    if (!policy.isDefault()) {
        return policy.getNbThreads();
    }
    return std::clamp<vlUInt64>(geometry.getFullMemorySize() / g_sizePerThread, 1, policy.getNbThreads());
}

} // namespace

template <>
void CopyImgLvl1::set<attr::InImg>(image::ImageConstPtr const& value) {
    requireInit(attr::InImg::s_name);
    if (!value) {
        raiseValueMissing(attr::InImg::s_name);
    }
    if (_pTarget) {
        requireSamePixels(*value, *_pTarget);
    }
    _pSource = value;
}

template <>
void CopyImgLvl1::set<attr::OutImg>(image::ImagePtr const& value) {
    requireInit(attr::OutImg::s_name);
    if (!value) {
        raiseValueMissing(attr::OutImg::s_name);
    }
    if (_pSource) {
        requireSamePixels(*_pSource, *value);
    }
    forgetLastResult();
    _pTarget = value;
}

template <>
image::ImagePtr CopyImgLvl1::getStorage<attr::OutImg>() const {
    requireResult(attr::OutImg::s_name);
    return _pTarget;
}

BoolResult CopyImgLvl1::runDerived() {
    if (!_pSource) {
        raiseValueMissing(attr::InImg::s_name);
    }
    if (!_pTarget) {
        raiseValueMissing(attr::OutImg::s_name);
    }
    if (_pTarget->getGeometry().getFullMemorySize() == 0) {
        return success();
    }
    auto* const pDistributed = dynamic_cast<image::DistributedImage*>(_pTarget.get());
    auto const* const pDisk = dynamic_cast<image::DiskImage const*>(_pSource.get());
    if (getDispatchPolicy().isDefault() && pDistributed != nullptr && pDisk != nullptr &&
        pDisk->getAccessor()->canBeRebuilt()) {
        return pDistributed->fillFromAccessor(toRecord(pDisk->getAccessor()));
    }
    RunCopier copier(*_pSource, *_pTarget, getUsefulThreads(getDispatchPolicy(), _pTarget->getGeometry()));
    return runParallel(copier.getNbThreads(), copier.getNbUnits(),
                       [&](vlUInt64 thread, vlUInt64 unit) { return copier.copyUnit(thread, unit); });
}

std::string CopyImgLvl1::getProcessorName() const {
    return "CopyImgLvl1";
}

void CopyImgLvl1::resetAttributes() {
    _pSource.reset();
    _pTarget.reset();
}

} // namespace velmo::imaproc::util
