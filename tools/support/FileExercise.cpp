// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "FileExercise.h"

#include <VELMOSerialization/BinaryArchive.h>
#include <algorithm>
#include <boost/algorithm/string/trim.hpp>
#include <boost/crc.hpp>
#include <cstring>
#include <iterator>
#include <sstream>

namespace velmo::tool {

namespace {

using namespace image;

/// Largest number of pixels of a run.
constexpr vlUInt64 g_runPixels = 4096;
/// Values that fill a buffer before a read. They differ for planes and runs, so that a byte which a read does
/// not set differs between both.
constexpr unsigned char g_fillOfPlanes = 0xA5;
constexpr unsigned char g_fillOfRuns = 0x5A;

struct Run {
    vlUInt64 start;
    vlUInt64 nbPixels;
};

std::string describePlane(PlanIndexes const& plane) {
    return "plane z=" + std::to_string(plane.z) + " c=" + std::to_string(plane.c) +
           " t=" + std::to_string(plane.t);
}

/// Runs at both ends of a plane and one in its middle.
std::vector<Run> chooseRuns(vlUInt64 nbPixels, vlUInt64 sizeX) {
    if (nbPixels == 0) {
        return {{0, 0}};
    }
    vlUInt64 const length = std::min({sizeX + 1, nbPixels, g_runPixels});
    return {{0, 1}, {nbPixels - 1, 1}, {(nbPixels - length) / 2, length}};
}

/// Numbers of the planes to read, from 0: all, or the first and the last ones.
std::vector<vlUInt64> choosePlanes(vlUInt64 nbPlanes, vlUInt64 nbChosen) {
    std::vector<vlUInt64> numbers;
    for (vlUInt64 number = 0; number < std::min(nbPlanes, nbChosen); ++number) {
        bool const bFirstHalf = nbPlanes <= nbChosen || number < nbChosen / 2;
        numbers.push_back(bFirstHalf ? number : nbPlanes - nbChosen + number);
    }
    return numbers;
}

std::uint32_t getChecksum(std::vector<unsigned char> const& bytes) {
    boost::crc_32_type crc;
    crc.process_bytes(bytes.data(), bytes.size());
    return crc.checksum();
}

/// One pass through the planes of an accessor.
class Walk {
  public:
    Walk(BaseDiskImageAccessor const& accessor, ExerciseLimits const& limits)
        : _accessor(accessor), _limits(limits) {}

    Exercise run() {
        BaseImageGeometry const& geometry = _accessor.getGeometry();
        vlUInt64 nbBytes = 0;
        for (vlUInt64 const number : choosePlanes(geometry.getNbPlans(), _limits.nbPlanes)) {
            if (nbBytes >= _limits.fileBytes) {
                break;
            }
            _limits.beforePlane();
            PlanIndexes const plane = geometry.getPlanIndexes(number);
            vlUInt64 const planeBytes = geometry.getPlanMemorySize(plane.t);
            nbBytes += std::min(planeBytes, _limits.planeBytes);
            readPlane(plane, planeBytes);
        }
        return std::move(_exercise);
    }

  private:
    void readPlane(PlanIndexes const& plane, vlUInt64 planeBytes) {
        vlUInt64 const nbPixels = _accessor.getGeometry().getPlanNbPixels();
        ExercisedPlane outcome = {plane, 0, {}};
        bool const bWhole = planeBytes <= _limits.planeBytes;
        _plane.assign(bWhole ? planeBytes : 0, g_fillOfPlanes);
        if (bWhole) {
            outcome.failure = read(plane, {0, nbPixels}, _plane);
            outcome.checksum = outcome.failure.empty() ? getChecksum(_plane) : 0;
        }
        bool const bCompared = bWhole && outcome.failure.empty() && _limits.bComparesRuns;
        for (Run const& run : chooseRuns(nbPixels, _accessor.getGeometry().getSizeX())) {
            std::string const failure = readRun(plane, run, bCompared);
            if (!bWhole && outcome.failure.empty()) {
                outcome.failure = failure;
            }
        }
        _exercise.planes.push_back(outcome);
    }

    std::string readRun(PlanIndexes const& plane, Run const& run, bool bCompared) {
        vlUInt64 const pixelBytes = _accessor.getGeometry().getPlanGeometry(plane.t).getPixelSize();
        _run.assign(run.nbPixels * pixelBytes, g_fillOfRuns);
        std::string failure = read(plane, run, _run);
        if (!bCompared || _run.empty()) {
            return failure;
        }
        std::string const pixels = "pixels " + std::to_string(run.start) + " to " +
                                   std::to_string(run.start + run.nbPixels - 1) + " of " +
                                   describePlane(plane);
        if (!failure.empty() && _limits.bRequiresRuns) {
            _exercise.contradictions.push_back(pixels + " cannot be read, and the plane can: " + failure);
        } else if (failure.empty() &&
                   std::memcmp(_plane.data() + run.start * pixelBytes, _run.data(), _run.size()) != 0) {
            _exercise.contradictions.push_back(pixels + " are others than those of the whole plane");
        }
        return failure;
    }

    std::string read(PlanIndexes const& plane, Run const& run, std::vector<unsigned char>& bytes) {
        unsigned char none = 0;
        BoolResult const result = _accessor.readRawData(plane.z, plane.c, plane.t, run.start, run.nbPixels,
                                                        bytes.empty() ? &none : bytes.data());
        if (!result && result.getMessage().empty()) {
            _exercise.contradictions.push_back(describePlane(plane) + " fails without a word");
        }
        return result ? std::string() : result.getMessage();
    }

    BaseDiskImageAccessor const& _accessor;
    ExerciseLimits const& _limits;
    Exercise _exercise;
    std::vector<unsigned char> _plane;
    std::vector<unsigned char> _run;
};

std::string toRecord(BaseDiskImageAccessor const& accessor, std::string& failure) {
    std::ostringstream stream;
    BinaryOArchive archive(stream);
    BoolResult const result = accessor.write(archive);
    failure = result ? std::string() : result.getMessage();
    return stream.str();
}

/// Creates an accessor from the archive record of another one. Null, with the reason in `failure`, if that
/// fails.
boost::shared_ptr<BaseDiskImageAccessor> reopen(BaseDiskImageAccessor const& accessor, std::string& failure) {
    std::string const record = toRecord(accessor, failure);
    if (!failure.empty()) {
        return {};
    }
    auto pAccessor = boost::dynamic_pointer_cast<BaseDiskImageAccessor>(accessor.createShared());
    std::istringstream stream(record);
    BinaryIArchive archive(stream);
    BoolResult const result = pAccessor->read(archive);
    if (!result) {
        failure = result.getMessage();
        return {};
    }
    std::string const again = toRecord(*pAccessor, failure);
    if (again != record) {
        failure = "the record of the new accessor differs";
        return {};
    }
    return pAccessor;
}

std::string describeOutcome(ExercisedPlane const& plane) {
    return plane.failure.empty() ? "bytes of CRC-32 " + std::to_string(plane.checksum) : plane.failure;
}

void compare(Exercise const& second, Exercise& first) {
    for (std::size_t plane = 0; plane < first.planes.size(); ++plane) {
        ExercisedPlane const& before = first.planes[plane];
        ExercisedPlane const& after = second.planes[plane];
        if (before.checksum != after.checksum || before.failure != after.failure) {
            first.contradictions.push_back(describePlane(before.plane) +
                                           " is another one when it is read again: " +
                                           describeOutcome(before) + ", then " + describeOutcome(after));
        }
    }
}

/// The indexes of up to ten planes, and the number of the others.
std::string listPlanes(std::vector<ExercisedPlane> const& planes) {
    constexpr std::size_t maxListed = 10;
    std::string list;
    for (std::size_t plane = 0; plane < std::min(planes.size(), maxListed); ++plane) {
        list += (plane == 0 ? "" : ", ") + describePlane(planes[plane].plane);
    }
    return list + (planes.size() > maxListed ? " and " + std::to_string(planes.size() - maxListed) + " more"
                                             : std::string());
}

} // namespace

Exercise exerciseFile(BaseDiskImageAccessor const& accessor, ExerciseLimits const& limits) {
    Exercise exercise = Walk(accessor, limits).run();
    std::string failure;
    auto const pReopened = reopen(accessor, failure);
    if (pReopened) {
        compare(Walk(*pReopened, limits).run(), exercise);
    } else {
        exercise.contradictions.push_back("the file cannot be opened again from an archive: " + failure);
    }
    return exercise;
}

std::vector<std::string> describeDamage(Exercise const& exercise) {
    std::vector<ExercisedPlane> lost;
    std::copy_if(exercise.planes.begin(), exercise.planes.end(), std::back_inserter(lost),
                 [](ExercisedPlane const& plane) { return !plane.failure.empty(); });
    std::vector<std::string> damage;
    if (!lost.empty()) {
        damage.push_back("of " + std::to_string(exercise.planes.size()) + " planes tried " +
                         std::to_string(lost.size()) + " cannot be read: " + listPlanes(lost) +
                         "; the first one: " + boost::algorithm::trim_right_copy(lost.front().failure));
    }
    damage.insert(damage.end(), exercise.contradictions.begin(), exercise.contradictions.end());
    return damage;
}

} // namespace velmo::tool
