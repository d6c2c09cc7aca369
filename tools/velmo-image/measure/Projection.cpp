// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "measure/Projection.h"

#include "terminal/Failure.h"

#include <VELMOBase/CheckedArithmetic.h>
#include <VELMOBase/ParallelRun.h>
#include <VELMOImage/MemoryImage.h>
#include <boost/make_shared.hpp>

namespace velmo::tool {

namespace {

using namespace image;

/// The steps along an axis, for each run of the result. With runs of all channels, all channels of the result
/// are projected at once; along C they are one step.
class ProjectionSteps {
  public:
    ProjectionSteps(BaseImageGeometry const& geometry, RunLayout const& layout, eProjectionAxis axis)
        : _layout(layout), _axis(axis), _sizeZ(geometry.getSizeZ()),
          _sizeC(geometry.getSizeC() / layout.nbChannels), _sizeT(geometry.getSizeT()) {}

    vlUInt64 getNbSteps() const {
        return _axis == eProjectionAxis::Z ? _sizeZ : _axis == eProjectionAxis::C ? _sizeC : _sizeT;
    }
    vlUInt64 getNbRuns() const { return _sizeZ * _sizeC * _sizeT / getNbSteps() * _layout.nbRunsPerPlane; }
    /// Runs of the result that are made at once.
    vlUInt64 getNbResults() const { return _axis == eProjectionAxis::C ? 1 : _layout.nbChannels; }

    /// Of the input.
    PixelRun getRun(vlUInt64 number, vlUInt64 step) const {
        PlanIndexes plane = getPlane(number);
        (_axis == eProjectionAxis::Z ? plane.z : _axis == eProjectionAxis::C ? plane.c : plane.t) = step;
        return _layout.getRun(plane, number % _layout.nbRunsPerPlane);
    }
    /// The first plane of the results.
    PlanIndexes getPlane(vlUInt64 number) const {
        vlUInt64 const plane = number / _layout.nbRunsPerPlane;
        switch (_axis) {
        case eProjectionAxis::Z:
            return {0, plane % _sizeC, plane / _sizeC};
        case eProjectionAxis::C:
            return {plane % _sizeZ, 0, plane / _sizeZ};
        case eProjectionAxis::T:
            break;
        }
        return {plane % _sizeZ, plane / _sizeZ, 0};
    }

  private:
    RunLayout _layout;
    eProjectionAxis _axis;
    vlUInt64 _sizeZ;
    vlUInt64 _sizeC; ///< in runs
    vlUInt64 _sizeT;
};

vlUInt64 getSizeAlong(BaseImageGeometry const& geometry, eProjectionAxis axis) {
    switch (axis) {
    case eProjectionAxis::Z:
        return geometry.getSizeZ();
    case eProjectionAxis::C:
        return geometry.getSizeC();
    case eProjectionAxis::T:
        break;
    }
    return geometry.getSizeT();
}

ImageGeometryPtr createGeometry(BaseImageGeometry const& input, eProjectionAxis axis, eImageBufferType type) {
    VolumeGeometry volume = input.getVolumeGeometry();
    ColorGeometry color = input.getColorGeometry();
    TemporalGeometry temporal = input.getTemporalGeometry();
    switch (axis) {
    case eProjectionAxis::Z:
        volume.init2d();
        break;
    case eProjectionAxis::C:
        color.initGrey();
        break;
    case eProjectionAxis::T:
        temporal.initSingle();
        break;
    }
    return geometry(type, input.getSizeX(), input.getSizeY(), volume, color, temporal);
}

class ImageProjection {
  public:
    ImageProjection(PixelReader const& reader, eProjectionAxis axis, eProjection projection)
        : _reader(reader), _layout(reader.layOut()), _steps(reader.getGeometry(), _layout, axis),
          _pResult(boost::make_shared<MemoryImage>()) {
        BaseImageGeometry const& input = reader.getGeometry();
        vlUInt64 const nb = getSizeAlong(input, axis);
        createProjectors(projection, nb);
        BoolResult const result = _pResult->init(
            *createGeometry(input, axis, getProjectedType(input.getBufferType(), projection, nb)));
        if (!result) {
            throw WorkFailure(result.getMessage());
        }
    }

    ImagePtr project(vlUInt64 nbWishedThreads) {
        vlUInt64 const nbThreads = limitThreads(nbWishedThreads, countThreadBytes());
        std::vector<PageBuffer> buffers(nbThreads);
        vlUInt64 const nbSteps = _steps.getNbSteps();
        runInOrder(
            nbThreads, _steps.getNbRuns() * nbSteps,
            [&](vlUInt64 thread, vlUInt64 unit) {
                return _reader.read(_steps.getRun(unit / nbSteps, unit % nbSteps), buffers[thread]);
            },
            [&](vlUInt64 unit, RunPixels const& pixels) {
                take(unit / nbSteps, unit % nbSteps, pixels);
                return true;
            });
        return _pResult;
    }

  private:
    void createProjectors(eProjection projection, vlUInt64 nb) {
        try {
            for (vlUInt64 result = 0; result < _steps.getNbResults(); ++result) {
                _projectors.push_back(createProjector(_reader.getGeometry().getBufferType(), projection, nb));
            }
        } catch (WorkFailure const& failure) {
            _reader.fail(failure.what());
        }
    }

    /// At most, with the sums.
    vlUInt64 countThreadBytes() const {
        auto const sums = checkedMultiply(_layout.nbRunPixels, sizeof(double) * _steps.getNbResults());
        auto const nbBytes = sums ? checkedAdd(*sums, _reader.countBytes(_layout)) : std::nullopt;
        return nbBytes ? *nbBytes : ~vlUInt64{0};
    }

    void take(vlUInt64 number, vlUInt64 step, RunPixels const& pixels) {
        if (step == 0) {
            for (auto const& pProjector : _projectors) {
                pProjector->begin(pixels.nbPixels);
            }
        }
        for (vlUInt64 channel = 0; channel < _layout.nbChannels; ++channel) {
            _projectors[channel % _projectors.size()]->take(pixels.getChannel(channel));
        }
        if (step + 1 == _steps.getNbSteps()) {
            finish(number, _steps.getRun(number, step).start);
        }
    }

    void finish(vlUInt64 number, vlUInt64 start) {
        PlanIndexes const plane = _steps.getPlane(number);
        vlUInt64 const pixelSize = getImageBufferBaseSize(_pResult->getBufferType());
        for (vlUInt64 result = 0; result < _projectors.size(); ++result) {
            auto* const pPlane =
                static_cast<std::byte*>(_pResult->accessPlan(plane.z, plane.c + result, plane.t));
            if (!_projectors[result]->finish(pPlane + start * pixelSize)) {
                _reader.fail("has a sum that exceeds the range of 32-bit floating point");
            }
        }
    }

    PixelReader const& _reader;
    RunLayout const _layout;
    ProjectionSteps const _steps;
    boost::shared_ptr<MemoryImage> const _pResult;
    std::vector<std::unique_ptr<Projector>> _projectors; ///< of the results that are made at once
};

} // namespace

ImagePtr projectImage(PixelReader const& reader, eProjectionAxis axis, eProjection projection,
                      vlUInt64 nbThreads) {
    reader.requirePixels();
    reader.requireOneType("");
    return ImageProjection(reader, axis, projection).project(nbThreads);
}

} // namespace velmo::tool
