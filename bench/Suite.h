// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "BenchData.h"
#include "Figure.h"

#include <functional>
#include <string>
#include <vector>

namespace velmo::bench {

/// One measurement, in seconds, or in bytes for memory.
using Measure = std::function<double()>;

/// The median of `nbTimes` measurements. For short measurements a mean would include the time of other
/// programs on the processor.
double measureMedian(vlUInt64 nbTimes, Measure const& measure);

/// The two functions that are measured alternately. The other one is a lower bound (system calls), a loop
/// over libtiff, or another call of the library.
struct Contenders {
    Measure ours;
    Measure other;
};

/// The quantity of a figure. A rate is this number of bytes divided by the measured seconds.
struct Quantity {
    enum class eKind { Time, Rate, Memory };

    static Quantity time() { return {eKind::Time, 0}; }
    static Quantity rate(vlUInt64 nbBytes) { return {eKind::Rate, nbBytes}; }
    static Quantity memory() { return {eKind::Memory, 0}; }

    eKind kind;
    vlUInt64 nbBytes;
};

/// How the benchmarks run.
struct RunOptions {
    vlUInt64 nbPairs = 9;
    bool bQuick = false; ///< a fiftieth of the work, one pair and no limits
};

/// The benchmarks and the figures of those that ran.
class Suite {
  public:
    Suite(BenchData& data, RunOptions const& options) : _data(data), _options(options) {}

    BenchData& getData() const { return _data; }
    std::vector<Figure> const& getFigures() const { return _figures; }
    /// Benchmarks that ended with an exception and have no figure.
    vlUInt64 getNbFailed() const { return _nbFailed; }
    /// The number of planes, files or repetitions of a measurement: `number`, or in a quick run less.
    vlUInt64 cut(vlUInt64 number) const;

    /// Registers a benchmark. Its name is "work / what it is compared with". `prepare` runs once, when the
    /// benchmark runs, and creates what it needs.
    void add(std::string const& name, Quantity const& quantity, Limit const& limit,
             std::function<Contenders()> const& prepare);

  private:
    BenchData& _data;
    RunOptions _options;
    vlUInt64 _nbFailed = 0;
    std::vector<Figure> _figures;
};

/// Throws std::runtime_error with the text `what` unless the measured code gave the correct result.
void require(bool bDone, std::string const& what);

// Each of these functions adds the benchmarks of one source file.
void addLoadBenchmarks(Suite& suite);
void addCopyBenchmarks(Suite& suite);
void addThreadsBenchmarks(Suite& suite);
void addOpenBenchmarks(Suite& suite);
void addSaveBenchmarks(Suite& suite);
void addTiffLoadBenchmarks(Suite& suite);
void addTiffSaveBenchmarks(Suite& suite);
void addTiffPlanesBenchmarks(Suite& suite);
void addTiffFilesBenchmarks(Suite& suite);
void addToolBenchmarks(Suite& suite);
void addMemoryBenchmarks(Suite& suite);
void addIm6Benchmarks(Suite& suite);
void addPatternBenchmarks(Suite& suite);
void addResampleBenchmarks(Suite& suite);
#if defined(VELMO_MPI)
void addMpiBenchmarks(Suite& suite);
#endif

} // namespace velmo::bench
