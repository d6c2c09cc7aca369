// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "BenchData.h"
#include "Figure.h"

#include <functional>
#include <string>
#include <vector>

namespace velmo::bench {

/// One measurement, in seconds; of memory in bytes.
using Measure = std::function<double()>;

/// The median of `nbTimes` measurements: of short ones, where the mean would count the turns of other
/// programs on the processor.
double measureMedian(vlUInt64 nbTimes, Measure const& measure);

/// What is measured in turn.
struct Contenders {
    Measure ours;
    Measure floor;
};

/// What a figure counts. A rate is that many bytes in the measured seconds.
struct Quantity {
    enum class eKind { Time, Rate, Memory };

    static Quantity time() { return {eKind::Time, 0}; }
    static Quantity rate(vlUInt64 nbBytes) { return {eKind::Rate, nbBytes}; }
    static Quantity memory() { return {eKind::Memory, 0}; }

    eKind kind;
    vlUInt64 nbBytes;
};

/// The benchmarks and the figures of those that ran.
class Suite {
  public:
    Suite(BenchData& data, vlUInt64 nbPairs) : _data(data), _nbPairs(nbPairs) {}

    BenchData& getData() const { return _data; }
    std::vector<Figure> const& getFigures() const { return _figures; }
    /// Benchmarks that ended with an exception and have no figure.
    vlUInt64 getNbFailed() const { return _nbFailed; }

    /// Registers a benchmark. `prepare` runs once, when the benchmark does, and makes what it needs.
    void add(std::string const& name, Quantity const& quantity, Limit const& limit,
             std::function<Contenders()> const& prepare);

  private:
    BenchData& _data;
    vlUInt64 _nbPairs;
    vlUInt64 _nbFailed = 0;
    std::vector<Figure> _figures;
};

/// Throws std::runtime_error, with `what` in its text, where ours did not do its work.
void require(bool bDone, std::string const& what);

// Each of them adds the benchmarks of one file.
void addLoadBenchmarks(Suite& suite);
void addCopyBenchmarks(Suite& suite);
void addThreadsBenchmarks(Suite& suite);
void addOpenBenchmarks(Suite& suite);
void addSaveBenchmarks(Suite& suite);
void addTiffLoadBenchmarks(Suite& suite);
void addTiffSaveBenchmarks(Suite& suite);
void addTiffPlanesBenchmarks(Suite& suite);
void addTiffFilesBenchmarks(Suite& suite);
void addIm6Benchmarks(Suite& suite);
void addPatternBenchmarks(Suite& suite);
void addResampleBenchmarks(Suite& suite);

} // namespace velmo::bench
