// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Suite.h"

#include "LowerBound.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <exception>
#include <stdexcept>

namespace velmo::bench {

namespace {

std::string getUnit(Quantity const& quantity) {
    switch (quantity.kind) {
    case Quantity::eKind::Time:
        return "ms";
    case Quantity::eKind::Rate:
        return "MB/s";
    case Quantity::eKind::Memory:
        break;
    }
    return "KiB";
}

double toFigure(Quantity const& quantity, double measured) {
    switch (quantity.kind) {
    case Quantity::eKind::Time:
        return measured * 1e3;
    case Quantity::eKind::Rate:
        return static_cast<double>(quantity.nbBytes) / measured / 1e6;
    case Quantity::eKind::Memory:
        break;
    }
    return measured / 1024;
}

/// Measures ours and the other alternately. The order changes from pair to pair, so that neither always runs
/// after the other.
void measurePairs(benchmark::State& state, Quantity const& quantity, Contenders const& contenders,
                  Figure& figure) {
    bool bOursFirst = true;
    for ([[maybe_unused]] auto const step : state) {
        double other = bOursFirst ? 0 : contenders.other();
        Stopwatch const stopwatch;
        double const ours = contenders.ours();
        state.SetIterationTime(quantity.kind == Quantity::eKind::Memory ? stopwatch.getSeconds() : ours);
        other = bOursFirst ? contenders.other() : other;
        figure.add(toFigure(quantity, ours), toFigure(quantity, other));
        bOursFirst = !bOursFirst;
    }
    state.counters["ours"] = figure.getOurs();
    state.counters["other"] = figure.getOther();
    state.counters["ratio"] = figure.getRatio();
}

} // namespace

double measureMedian(vlUInt64 nbTimes, Measure const& measure) {
    std::vector<double> values(nbTimes);
    std::generate(values.begin(), values.end(), measure);
    auto const middle = values.begin() + static_cast<std::ptrdiff_t>(nbTimes / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

vlUInt64 Suite::cut(vlUInt64 number) const {
    return _options.bQuick ? std::max<vlUInt64>(2, number / 50) : number;
}

void Suite::add(std::string const& name, Quantity const& quantity, Limit const& limit,
                std::function<Contenders()> const& prepare) {
    auto const run = [this, name, quantity, limit, prepare](benchmark::State& state) {
        try {
            Contenders const contenders = prepare();
            Figure figure(name, getUnit(quantity), _options.bQuick ? noLimit() : limit);
            if (!_options.bQuick) {
                contenders.ours();
                contenders.other();
            }
            measurePairs(state, quantity, contenders, figure);
            _figures.push_back(figure);
        } catch (std::exception const& exception) {
            ++_nbFailed;
            state.SkipWithError(exception.what());
        }
    };
    benchmark::RegisterBenchmark(name.c_str(), run)
        ->UseManualTime()
        ->Iterations(static_cast<benchmark::IterationCount>(_options.nbPairs))
        ->Unit(benchmark::kMillisecond);
}

void require(bool bDone, std::string const& what) {
    if (!bDone) {
        throw std::runtime_error(what);
    }
}

} // namespace velmo::bench
