// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "measure/Comparison.h"

#include "measure/Lanes.h"
#include "measure/PixelValues.h"

#include <VELMOBase/CheckedArithmetic.h>
#include <VELMOBase/ParallelRun.h>
#include <algorithm>
#include <cmath>
#include <limits>

namespace velmo::tool {

namespace {

using namespace image;

constexpr vlUInt64 g_comparedBlock = vlUInt64{1} << 12;
constexpr vlUInt64 g_pixelsPerUnit = vlUInt64{1} << 20;
constexpr double g_infinity = std::numeric_limits<double>::infinity();

using BlockValues = std::array<double, g_comparedBlock>;

void loadBlock(eImageBufferType type, std::byte const* pPixels, vlUInt64 nb, BlockValues& values) {
    withValueType(type, [&](auto zero) {
        for (vlUInt64 index = 0; index < nb; ++index) {
            values[index] = static_cast<double>(loadValue<decltype(zero)>(pPixels, index));
        }
    });
}

/// b - a, 0 for equal values; NaN or infinite if there is no difference.
double subtract(double a, double b) {
    bool const bEqual = a == b || (a != a && b != b);
    return bEqual ? 0.0 : b - a;
}

/// Infinite if there is no difference: NaN is not less than infinity.
double getDistance(double difference) {
    return std::min(g_infinity, std::abs(difference));
}

/// What a part of the pixels adds to a comparison.
struct PartialComparison {
    Comparison totals;
    double least = g_infinity; ///< of the finite values of a, which are floating point
    double greatest = -g_infinity;

    void add(PartialComparison const& other) {
        totals.nbPixels += other.totals.nbPixels;
        totals.nbDifferent += other.totals.nbDifferent;
        totals.nbWithoutDifference += other.totals.nbWithoutDifference;
        totals.sum += other.totals.sum;
        totals.sumOfSquares += other.totals.sumOfSquares;
        least = std::min(least, other.least);
        greatest = std::max(greatest, other.greatest);
        auto const& found = other.totals.greatest;
        if (found && (!totals.greatest || found->difference > totals.greatest->difference)) {
            totals.greatest = found;
        }
    }
};

class BlockComparer {
  public:
    BlockComparer(double tolerance, vlUInt64 sizeX) : _tolerance(tolerance), _sizeX(sizeX) {}

    /// Compares a channel of a run; `plane` is its plane.
    void compare(RunPixels const& a, RunPixels const& b, vlUInt64 channel, PlanIndexes const& plane,
                 vlUInt64 start, PartialComparison& result) {
        vlUInt64 const sizeA = getImageBufferBaseSize(a.type);
        vlUInt64 const sizeB = getImageBufferBaseSize(b.type);
        bool const bReal = toDataType(a.type) == eDT_Real32;
        for (vlUInt64 first = 0; first < a.nbPixels; first += g_comparedBlock) {
            vlUInt64 const nb = std::min(g_comparedBlock, a.nbPixels - first);
            std::byte const* const pA = a.getChannel(channel) + first * sizeA;
            std::byte const* const pB = b.getChannel(channel) + first * sizeB;
            bool const bEqual =
                toDataType(a.type) == toDataType(b.type) && std::memcmp(pA, pB, nb * sizeA) == 0;
            if (!bEqual || bReal) {
                loadBlock(a.type, pA, nb, _a);
            }
            if (bReal) {
                takeRange(nb, result);
            }
            if (!bEqual) {
                loadBlock(b.type, pB, nb, _b);
                compareBlock(nb, plane, start + first, result);
            }
        }
        result.totals.nbPixels += a.nbPixels;
    }

  private:
    void takeRange(vlUInt64 nb, PartialComparison& result) const {
        Lanes<double> least;
        Lanes<double> greatest;
        least.fill(result.least);
        greatest.fill(result.greatest);
        spreadOverLanes(nb, [&](vlUInt64 index, std::size_t lane) {
            double const value = _a[index];
            bool const bFinite = std::abs(value) < g_infinity;
            least[lane] = bFinite && value < least[lane] ? value : least[lane];
            greatest[lane] = bFinite && value > greatest[lane] ? value : greatest[lane];
        });
        result.least = *std::min_element(least.begin(), least.end());
        result.greatest = *std::max_element(greatest.begin(), greatest.end());
    }

    void compareBlock(vlUInt64 nb, PlanIndexes const& plane, vlUInt64 start,
                      PartialComparison& result) const {
        Lanes<double> sums{};
        Lanes<double> squares{};
        Lanes<double> greatest{};
        Lanes<vlUInt64> nbDifferent{};
        Lanes<vlUInt64> nbWithout{};
        spreadOverLanes(nb, [&](vlUInt64 index, std::size_t lane) {
            double const difference = subtract(_a[index], _b[index]);
            double const distance = getDistance(difference);
            double const finite = distance < g_infinity ? difference : 0.0;
            sums[lane] += finite;
            squares[lane] += finite * finite;
            greatest[lane] = distance > greatest[lane] ? distance : greatest[lane];
            nbDifferent[lane] += distance > _tolerance ? 1U : 0U;
            nbWithout[lane] += distance < g_infinity ? 0U : 1U;
        });
        Comparison& totals = result.totals;
        totals.sum += sumLanes(sums);
        totals.sumOfSquares += sumLanes(squares);
        totals.nbDifferent += sumLanes(nbDifferent);
        totals.nbWithoutDifference += sumLanes(nbWithout);
        double const found = *std::max_element(greatest.begin(), greatest.end());
        if (found > (totals.greatest ? totals.greatest->difference : 0.0)) {
            totals.greatest = locate(found, plane, start);
        }
    }

    /// The first pixel of the block with that distance, which there must be.
    DifferentPixel locate(double distance, PlanIndexes const& plane, vlUInt64 start) const {
        vlUInt64 index = 0;
        while (getDistance(subtract(_a[index], _b[index])) != distance) {
            ++index;
        }
        vlUInt64 const place = start + index;
        return {place % _sizeX, place / _sizeX, plane, _a[index], _b[index], distance};
    }

    double _tolerance;
    vlUInt64 _sizeX;
    BlockValues _a{};
    BlockValues _b{};
};

/// Of integers; 0 for floating point.
double getTypeRange(eImageBufferType type) {
    if (type == eIBT_Binary) {
        return 1;
    }
    return withValueType(type, [](auto zero) {
        using Limits = std::numeric_limits<decltype(zero)>;
        return Limits::is_integer ? static_cast<double>(Limits::max()) - static_cast<double>(Limits::min())
                                  : 0.0;
    });
}

/// Memory of a thread.
struct ComparedRuns {
    PageBuffer a;
    PageBuffer b;
};

class ImageComparer {
  public:
    ImageComparer(PixelReader const& a, PixelReader const& b, double tolerance)
        : _a(a), _b(b), _tolerance(tolerance),
          _layout(layOutRuns(a.getGeometry(), a.prefersWholePlanes() || b.prefersWholePlanes(),
                             a.prefersAllChannels() || b.prefersAllChannels())),
          _nbRuns(_layout.countRuns(a.getGeometry())),
          _nbRunsPerUnit(
              std::max<vlUInt64>(g_pixelsPerUnit / (_layout.nbRunPixels * _layout.nbChannels), 1)) {}

    Comparison compare(vlUInt64 nbWishedThreads) const {
        auto const nbBytes = checkedAdd(_a.countBytes(_layout), _b.countBytes(_layout));
        vlUInt64 const nbThreads = limitThreads(nbWishedThreads, nbBytes ? *nbBytes : ~vlUInt64{0});
        std::vector<ComparedRuns> memory(nbThreads);
        PartialComparison result;
        runInOrder(
            nbThreads, divideUp(_nbRuns, _nbRunsPerUnit),
            [&](vlUInt64 thread, vlUInt64 unit) { return compareUnit(unit, memory[thread]); },
            [&](vlUInt64, PartialComparison& part) {
                result.add(part);
                return true;
            });
        double const typeRange = getTypeRange(_a.getGeometry().getBufferType());
        double const valueRange = result.least <= result.greatest ? result.greatest - result.least : 0;
        result.totals.peak = typeRange != 0 ? typeRange : valueRange;
        return result.totals;
    }

  private:
    PartialComparison compareUnit(vlUInt64 unit, ComparedRuns& memory) const {
        PartialComparison part;
        auto const pComparer = std::make_unique<BlockComparer>(_tolerance, _a.getGeometry().getSizeX());
        vlUInt64 const first = unit * _nbRunsPerUnit;
        for (vlUInt64 number = first; number < std::min(first + _nbRunsPerUnit, _nbRuns); ++number) {
            PixelRun const run = _layout.getRun(_a.getGeometry(), number);
            RunPixels const a = _a.read(run, memory.a);
            RunPixels const b = _b.read(run, memory.b);
            for (vlUInt64 channel = 0; channel < run.nbChannels; ++channel) {
                PlanIndexes const plane = {run.plane.z, run.plane.c + channel, run.plane.t};
                pComparer->compare(a, b, channel, plane, run.start, part);
            }
        }
        return part;
    }

    PixelReader const& _a;
    PixelReader const& _b;
    double const _tolerance;
    RunLayout const _layout;
    vlUInt64 const _nbRuns;
    vlUInt64 const _nbRunsPerUnit;
};

} // namespace

double Comparison::getMean() const {
    vlUInt64 const nb = nbPixels - nbWithoutDifference;
    return nb == 0 ? 0 : sum / static_cast<double>(nb);
}

double Comparison::getRms() const {
    vlUInt64 const nb = nbPixels - nbWithoutDifference;
    return nb == 0 ? 0 : std::sqrt(sumOfSquares / static_cast<double>(nb));
}

double Comparison::getPsnr() const {
    return sumOfSquares == 0 ? g_infinity : 20 * std::log10(peak / getRms());
}

Comparison compareImages(PixelReader const& a, PixelReader const& b, double tolerance, vlUInt64 nbThreads) {
    return ImageComparer(a, b, tolerance).compare(nbThreads);
}

} // namespace velmo::tool
