// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "measure/ImageStatistics.h"

#include "terminal/Failure.h"

#include <VELMOBase/AvailableMemory.h>
#include <VELMOBase/CheckedArithmetic.h>
#include <VELMOBase/ParallelRun.h>
#include <algorithm>

namespace velmo::tool {

namespace {

using namespace image;

/// Pixels that a thread counts before it adds the counts to those of the others.
constexpr vlUInt64 g_unitPixels = vlUInt64{1} << 22;

/// Memory that the counts of a set of pixels usually take.
constexpr vlUInt64 g_tallyBytes = vlUInt64{2} << 20;

bool measuresChannelsApart(eGrouping grouping) {
    return grouping == eGrouping::Channel || grouping == eGrouping::Plane;
}

/// The planes in the order in which they are read: those of a group, which are measured together, one after
/// the other. With runs of all channels a plane stands for all of its channels.
class PlaneGroups {
  public:
    PlaneGroups(BaseImageGeometry const& geometry, bool bAllChannels, eGrouping grouping)
        : _sizeZ(geometry.getSizeZ()), _sizeC(bAllChannels ? 1 : geometry.getSizeC()),
          _sizeT(geometry.getSizeT()), _grouping(grouping),
          _nbSets(bAllChannels && measuresChannelsApart(grouping) ? geometry.getSizeC() : 1) {}

    vlUInt64 getNbGroups() const {
        switch (_grouping) {
        case eGrouping::Plane:
            return _sizeZ * _sizeC * _sizeT;
        case eGrouping::Channel:
            return _sizeC;
        case eGrouping::Time:
            return _sizeT;
        case eGrouping::Image:
            break;
        }
        return 1;
    }
    /// Sets of pixels of a group: its channels, if they are measured apart.
    vlUInt64 getNbSets() const { return _nbSets; }

    vlUInt64 getNbPlanes() const {
        switch (_grouping) {
        case eGrouping::Plane:
            return 1;
        case eGrouping::Channel:
            return _sizeZ * _sizeT;
        case eGrouping::Time:
            return _sizeZ * _sizeC;
        case eGrouping::Image:
            break;
        }
        return _sizeZ * _sizeC * _sizeT;
    }

    PlanIndexes getPlane(vlUInt64 group, vlUInt64 index) const {
        switch (_grouping) {
        case eGrouping::Channel:
            return {index % _sizeZ, group, index / _sizeZ};
        case eGrouping::Time:
            return {index % _sizeZ, index / _sizeZ, group};
        case eGrouping::Plane:
        case eGrouping::Image:
            break;
        }
        vlUInt64 const number = _grouping == eGrouping::Plane ? group : index;
        return {number % _sizeZ, number / _sizeZ % _sizeC, number / _sizeZ / _sizeC};
    }

    /// The indexes of a set, without its measurements.
    PixelStatistics describe(vlUInt64 group, vlUInt64 set, BaseImageGeometry const& geometry) const {
        PlanIndexes const plane = getPlane(group, 0);
        PixelStatistics statistics = {};
        bool const bPlane = _grouping == eGrouping::Plane;
        if (bPlane) {
            statistics.z = plane.z;
        }
        if (bPlane || _grouping == eGrouping::Channel) {
            statistics.c = plane.c + set;
        }
        if (bPlane || _grouping == eGrouping::Time) {
            statistics.t = plane.t;
        }
        statistics.type = geometry.getPlanGeometry(plane.t).getBufferType();
        return statistics;
    }

  private:
    vlUInt64 _sizeZ;
    vlUInt64 _sizeC;
    vlUInt64 _sizeT;
    eGrouping _grouping;
    vlUInt64 _nbSets;
};

/// The counts of each set of a group.
using Tallies = std::vector<std::unique_ptr<Tally>>;

/// What is counted in a unit of the work.
struct CountedUnit {
    Tallies tallies;
    std::vector<PixelStatistics> statistics; ///< of the sets, if the unit is a whole group
};

class Measurement {
  public:
    Measurement(PixelReader const& reader, StatisticsRequest const& request)
        : _reader(reader), _request(request), _layout(reader.layOut()),
          _groups(reader.getGeometry(), _layout.nbChannels > 1, request.grouping),
          _nbRunsPerGroup(_groups.getNbPlanes() * _layout.nbRunsPerPlane),
          _nbRunsPerUnit(std::max<vlUInt64>(g_unitPixels / (_layout.nbRunPixels * _layout.nbChannels), 1)),
          _nbUnitsPerGroup(divideUp(_nbRunsPerGroup, _nbRunsPerUnit)) {}

    std::vector<PixelStatistics> measure() {
        requireMemory();
        auto const nbBytes = checkedAdd(_reader.countBytes(_layout), _groups.getNbSets() * g_tallyBytes);
        vlUInt64 const nbThreads = limitThreads(_request.nbThreads, nbBytes ? *nbBytes : ~vlUInt64{0});
        std::vector<PageBuffer> buffers(nbThreads);
        auto const count = [&](vlUInt64 thread, vlUInt64 unit) {
            CountedUnit counted = {countUnit(unit, buffers[thread]), {}};
            if (_nbUnitsPerGroup == 1) {
                counted.statistics = finishGroup(unit, counted.tallies);
            }
            return counted;
        };
        auto const add = [&](vlUInt64 unit, CountedUnit& counted) {
            addUnit(unit, counted);
            return true;
        };
        runInOrder(nbThreads, _groups.getNbGroups() * _nbUnitsPerGroup, count, add);
        if (_request.grouping == eGrouping::Plane && _groups.getNbSets() > 1) {
            sortPlanes();
        }
        return std::move(_results);
    }

  private:
    void requireMemory() const {
        auto const perSet = checkedMultiply(_request.nbHistogramParts, sizeof(vlUInt64));
        auto const nbBytes =
            checkedMultiply(*perSet + sizeof(PixelStatistics), _groups.getNbGroups() * _groups.getNbSets());
        vlUInt64 const nbAvailable = getAvailableMemory();
        if (!nbBytes || *nbBytes > nbAvailable) {
            throw WorkFailure("not enough memory for the statistics of " +
                              std::to_string(_groups.getNbGroups() * _groups.getNbSets()) +
                              " sets of pixels: " + std::to_string(nbAvailable) +
                              " bytes are available; use fewer parts of the histogram");
        }
    }

    Tallies createTallies(eImageBufferType type) const {
        Tallies tallies(_groups.getNbSets());
        for (auto& pTally : tallies) {
            pTally = createTally(type);
        }
        return tallies;
    }

    Tallies countUnit(vlUInt64 unit, PageBuffer& memory) const {
        vlUInt64 const group = unit / _nbUnitsPerGroup;
        vlUInt64 const firstRun = unit % _nbUnitsPerGroup * _nbRunsPerUnit;
        vlUInt64 const nbRuns = std::min(_nbRunsPerUnit, _nbRunsPerGroup - firstRun);
        Tallies tallies = createTallies(_groups.describe(group, 0, _reader.getGeometry()).type);
        for (vlUInt64 run = firstRun; run < firstRun + nbRuns; ++run) {
            PlanIndexes const plane = _groups.getPlane(group, run / _layout.nbRunsPerPlane);
            RunPixels const pixels =
                _reader.read(_layout.getRun(plane, run % _layout.nbRunsPerPlane), memory);
            for (vlUInt64 channel = 0; channel < _layout.nbChannels; ++channel) {
                tallies[channel % tallies.size()]->take(pixels.getChannel(channel), pixels.nbPixels);
            }
        }
        return tallies;
    }

    void addUnit(vlUInt64 unit, CountedUnit& counted) {
        vlUInt64 const index = unit % _nbUnitsPerGroup;
        if (index == 0) {
            _tallies = std::move(counted.tallies);
        } else {
            for (std::size_t set = 0; set < _tallies.size(); ++set) {
                _tallies[set]->add(*counted.tallies[set]);
            }
        }
        if (index + 1 == _nbUnitsPerGroup && index != 0) {
            counted.statistics = finishGroup(unit / _nbUnitsPerGroup, _tallies);
        }
        std::move(counted.statistics.begin(), counted.statistics.end(), std::back_inserter(_results));
    }

    std::vector<PixelStatistics> finishGroup(vlUInt64 group, Tallies const& tallies) const {
        std::vector<PixelStatistics> finished;
        for (vlUInt64 set = 0; set < tallies.size(); ++set) {
            PixelStatistics statistics = _groups.describe(group, set, _reader.getGeometry());
            Tally& tally = *tallies[set];
            tally.close();
            statistics.summary = tally.summarise();
            statistics.percentiles = findPercentiles(tally, _request.percents);
            if (_request.nbHistogramParts != 0) {
                statistics.histogram = createHistogram(tally, _request.nbHistogramParts);
            }
            finished.push_back(std::move(statistics));
        }
        return finished;
    }

    void sortPlanes() {
        std::sort(_results.begin(), _results.end(), [](auto const& left, auto const& right) {
            return std::tie(left.t, left.c, left.z) < std::tie(right.t, right.c, right.z);
        });
    }

    PixelReader const& _reader;
    StatisticsRequest const& _request;
    RunLayout const _layout;
    PlaneGroups const _groups;
    vlUInt64 const _nbRunsPerGroup;
    vlUInt64 const _nbRunsPerUnit;
    vlUInt64 const _nbUnitsPerGroup;
    Tallies _tallies; ///< of the group whose units are added
    std::vector<PixelStatistics> _results;
};

} // namespace

std::vector<PixelStatistics> measureImage(PixelReader const& reader, StatisticsRequest const& request) {
    reader.requirePixels();
    if (request.grouping == eGrouping::Image || request.grouping == eGrouping::Channel) {
        reader.requireOneType("; use --by time or --by plane");
    } else if (findPlaneOfOtherType(reader.getGeometry())) {
        reader.requireOneType(" in one time step");
    }
    return Measurement(reader, request).measure();
}

} // namespace velmo::tool
