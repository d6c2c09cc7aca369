// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOGeometricTransform/ResampleCustomZStack3dImgLvl1.h"

#include "VELMOBase/CheckedArithmetic.h"
#include "VELMOBase/PageBuffer.h"
#include "VELMOBase/ParallelRun.h"
#include "VELMOBaseProcessing/VELMOBaseProcessingLog.h"
#include "VELMOGeometricTransform/detail/PlaneBlend.h"
#include "VELMOGeometricTransform/detail/PlaneWeights.h"
#include "VELMOImage/ImageFactory.h"
#include "VELMOImage/ImageGeometry.h"
#include "VELMOUtil/Failures.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <optional>

namespace velmo::imaproc::gtrans {

namespace {

using image::BaseImage;
using image::BaseImageGeometry;
using processor::eProcessorMessage;

void requireSteps(RaiseSite const& site, std::vector<float> const& steps) {
    auto const refused = std::find_if_not(steps.begin(), steps.end(),
                                          [](float step) { return std::isfinite(step) && step > 0; });
    if (refused != steps.end()) {
        raiseMessage(site, processor::g_velmoBaseProcessingRaise, eProcessorMessage::ePM_StepRefused,
                     attr::InZSteps::s_name, (refused - steps.begin()), *refused);
    }
}

void requireCount(RaiseSite const& site, std::vector<float> const& steps, BaseImageGeometry const& geometry) {
    if (steps.size() + 1 != geometry.getSizeZ()) {
        raiseMessage(site, processor::g_velmoBaseProcessingRaise, eProcessorMessage::ePM_StepsCount,
                     attr::InZSteps::s_name, steps.size(), attr::InImg3d::s_name, geometry.getSizeZ());
    }
}

/// Planes can be blended with each other only where they have one type.
void requireUniform(RaiseSite const& site, BaseImageGeometry const& geometry) {
    if (auto const plane = image::findPlaneOfOtherType(geometry)) {
        auto const& types =
            dynamic_cast<image::HeterogeneousImageGeometry const&>(geometry).getBufferTypeRuns();
        raiseMessage(site, processor::g_velmoBaseProcessingRaise, eProcessorMessage::ePM_TypesDiffer,
                     attr::InImg3d::s_name, *plane, types.getType(*plane));
    }
}

/// The geometry of a single time step has one type then: a list of types for the planes of the source would
/// not fit the planes of the result.
image::ImageGeometryPtr makeResultGeometry(BaseImageGeometry const& source, vlUInt64 sizeZ) {
    image::ImageGeometryPtr pGeometry = duplicateGeometry(source);
    if (source.getSizeT() == 1) {
        pGeometry = image::geometry(source.getBufferType(), source.getSizeX(), source.getSizeY(),
                                    source.getVolumeGeometry(), source.getColorGeometry(),
                                    source.getTemporalGeometry());
    }
    pGeometry->getVolumeGeometry().init3d(sizeZ);
    return pGeometry;
}

[[noreturn]] void raiseRefused(RaiseSite const& site, char const* attribute, vlUInt64 value) {
    raiseMessage(site, processor::g_velmoBaseProcessingRaise, eProcessorMessage::ePM_ValueRefused, attribute,
                 value);
}

bool isBlendable(image::eImageBufferType type) {
    return type <= image::eIBT_Real32;
}

/// The planes of one channel and time step that are in use, read when they are asked for.
class PlaneWindow {
  public:
    PlaneWindow(BaseImage const& source, vlUInt64 c, vlUInt64 t)
        : _source(source), _c(c), _t(t), _planeSize(source.getGeometry().getPlanMemorySize(t)) {}

    /// Valid until four other planes were asked for.
    BoolResult find(vlUInt64 z, std::byte const*& pPlane) {
        if (void const* const pInMemory = _source.accessPlan(z, _c, _t)) {
            pPlane = static_cast<std::byte const*>(pInMemory);
            return success();
        }
        if (_pixels.getSize() == 0) {
            _pixels = PageBuffer(_planes.size() * _planeSize);
        }
        auto const slot =
            static_cast<std::size_t>(z % _planes.size()); // neighbours fall into different slots
        std::byte* const pPixels = _pixels.getData() + slot * _planeSize;
        BoolResult result = success();
        if (_planes[slot] != z) {
            _planes[slot].reset();
            result = _source.readPixels(z, _c, _t, 0, _source.getGeometry().getPlanNbPixels(), pPixels);
            if (result) {
                _planes[slot] = z;
            }
        }
        pPlane = pPixels;
        return result;
    }

  private:
    BaseImage const& _source;
    vlUInt64 _c;
    vlUInt64 _t;
    vlUInt64 _planeSize;
    PageBuffer _pixels;                               ///< of all slots, one behind the other
    std::array<std::optional<vlUInt64>, 4> _planes{}; ///< what each slot holds
};

BoolResult blendPlane(PlaneWindow& window, PlaneWeights const& weights, BaseImageGeometry const& geometry,
                      vlUInt64 t, std::byte* pTarget) {
    std::byte const* pBase = nullptr;
    BoolResult result = window.find(weights.base, pBase);
    std::array<BlendTerm, 3> terms{};
    for (unsigned int term = 0; result && term < weights.nbTerms; ++term) {
        terms[term].weight = weights.terms[term].weight;
        result = window.find(weights.terms[term].plane, terms[term].pPlane);
    }
    if (result) {
        blendPlanes(geometry.getPlanGeometry(t).getBufferType(), geometry.getPlanNbPixels(), pBase,
                    terms.data(), weights.nbTerms, pTarget);
    }
    return result;
}

/// Consecutive planes of one channel and time step of the result.
struct PlaneRun {
    vlUInt64 firstZ;
    vlUInt64 endZ;
    vlUInt64 c;
    vlUInt64 t;
};

/// The planes of the result in runs, in the order in which one thread makes them.
class PlaneRuns {
  public:
    PlaneRuns(BaseImageGeometry const& geometry, vlUInt64 nbThreads)
        : _geometry(geometry),
          _length(nbThreads == 1 ? geometry.getSizeZ()
                                 : std::max(g_fewestPlanes, divideUp(geometry.getSizeZ(), 2 * nbThreads))),
          _nbOfChannel(divideUp(geometry.getSizeZ(), _length)) {}

    vlUInt64 getNb() const { return _nbOfChannel * _geometry.getSizeC() * _geometry.getSizeT(); }
    PlaneRun get(vlUInt64 number) const {
        vlUInt64 const firstZ = number % _nbOfChannel * _length;
        vlUInt64 const channel = number / _nbOfChannel;
        return {firstZ, std::min(firstZ + _length, _geometry.getSizeZ()), channel % _geometry.getSizeC(),
                channel / _geometry.getSizeC()};
    }

  private:
    /// Each run reads up to three planes that its neighbours read as well.
    static constexpr vlUInt64 g_fewestPlanes = 8;

    BaseImageGeometry const& _geometry;
    vlUInt64 const _length;
    vlUInt64 const _nbOfChannel;
};

BoolResult resampleRun(BaseImage const& source, PlanePositions const& positions,
                       attr::eInterpolationPolicy policy, PlaneRun const& run, BaseImage& target) {
    BaseImageGeometry const& geometry = target.getGeometry();
    bool const bBlendable = isBlendable(geometry.getPlanGeometry(run.t).getBufferType());
    PlaneWindow window(source, run.c, run.t);
    BoolResult result = success();
    for (vlUInt64 z = run.firstZ; result && z < run.endZ; ++z) {
        PlaneWeights const weights =
            positions.weigh(z, geometry.getSizeZ(), bBlendable ? policy : attr::eIP_Nearest);
        auto* const pTarget = static_cast<std::byte*>(target.accessPlan(z, run.c, run.t));
        result = blendPlane(window, weights, geometry, run.t, pTarget);
    }
    return result;
}

/// A thread has four planes in memory. As many threads as are useful are fewer than the processors if these
/// planes would be more than 4 % of the result.
vlUInt64 getUsefulThreads(processor::ProcessorDispatchPolicy const& policy,
                          BaseImageGeometry const& geometry) {
    constexpr vlUInt64 nbPlanesForThread = 100;
    return policy.isDefault()
               ? std::clamp<vlUInt64>(geometry.getNbPlans() / nbPlanesForThread, 1, policy.getNbThreads())
               : policy.getNbThreads();
}

BoolResult resample(BaseImage const& source, PlanePositions const& positions,
                    attr::eInterpolationPolicy policy, vlUInt64 nbThreads, BaseImage& target) {
    BaseImageGeometry const& geometry = target.getGeometry();
    if (geometry.getFullMemorySize() == 0) {
        return success();
    }
    PlaneRuns const runs(geometry, nbThreads);
    return runParallel(nbThreads, runs.getNb(), [&](vlUInt64 /*thread*/, vlUInt64 number) {
        return resampleRun(source, positions, policy, runs.get(number), target);
    });
}

} // namespace

template <>
void ResampleCustomZStack3dImgLvl1::set<attr::InImg3d>(image::ImageConstPtr const& value) {
    requireInit(attr::InImg3d::s_name);
    if (!value) {
        raiseValueMissing(attr::InImg3d::s_name);
    }
    requireUniform(VELMO_HERE, value->getGeometry());
    if (_pSteps) {
        requireCount(VELMO_HERE, _pSteps->getSteps(), value->getGeometry());
    }
    _pSource = value;
}

template <>
void ResampleCustomZStack3dImgLvl1::set<attr::InZSteps>(attr::ZStepsConstPtr const& value) {
    requireInit(attr::InZSteps::s_name);
    if (!value) {
        raiseValueMissing(attr::InZSteps::s_name);
    }
    requireSteps(VELMO_HERE, value->getSteps());
    if (_pSource) {
        requireCount(VELMO_HERE, value->getSteps(), _pSource->getGeometry());
    }
    _pSteps = value;
}

template <>
void ResampleCustomZStack3dImgLvl1::set<attr::InInterpolationPolicy>(
    attr::eInterpolationPolicy const& value) {
    requireInit(attr::InInterpolationPolicy::s_name);
    if (value > attr::eIP_Cubic) {
        raiseRefused(VELMO_HERE, attr::InInterpolationPolicy::s_name, value);
    }
    _policy = value;
}

template <>
void ResampleCustomZStack3dImgLvl1::set<attr::InOutputImg3dZSize>(unsigned long const& value) {
    requireInit(attr::InOutputImg3dZSize::s_name);
    if (value == 0) {
        raiseRefused(VELMO_HERE, attr::InOutputImg3dZSize::s_name, value);
    }
    _sizeZ = value;
}

template <>
image::ImagePtr ResampleCustomZStack3dImgLvl1::getStorage<attr::OutImg>() const {
    requireResult(attr::OutImg::s_name);
    return _pTarget;
}

BoolResult ResampleCustomZStack3dImgLvl1::runDerived() {
    _pTarget.reset();
    if (!_pSource) {
        raiseValueMissing(attr::InImg3d::s_name);
    }
    if (!_pSteps) {
        raiseValueMissing(attr::InZSteps::s_name);
    }
    if (_sizeZ == 0) {
        raiseValueMissing(attr::InOutputImg3dZSize::s_name);
    }
    image::ImageGeometryPtr const pGeometry = makeResultGeometry(_pSource->getGeometry(), _sizeZ);
    image::ImagePtr pTarget;
    BoolResult result = image::ImageFactory::getInstance().createDefaultImage(*pGeometry, pTarget);
    if (result) {
        pTarget->setGeometricCalibration(_pSource->getGeometricCalibrationConstPtr());
        result = resample(*_pSource, PlanePositions(_pSteps->getSteps()), _policy,
                          getUsefulThreads(getDispatchPolicy(), *pGeometry), *pTarget);
    }
    if (result) {
        _pTarget = pTarget;
    }
    return result;
}

std::string ResampleCustomZStack3dImgLvl1::getProcessorName() const {
    return "ResampleCustomZStack3dImgLvl1";
}

void ResampleCustomZStack3dImgLvl1::resetAttributes() {
    _pSource.reset();
    _pSteps.reset();
    _policy = attr::eIP_Linear;
    _sizeZ = 0;
    _pTarget.reset();
}

} // namespace velmo::imaproc::gtrans
