// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "LowerBound.h"
#include "Patterns/FilePatterns.h"
#include "Suite.h"

#include <VELMOImageFile/FilePatternMatching.h>
#include <fnmatch.h>
#include <memory>

namespace velmo::bench {

namespace {

using Names = std::vector<std::string>;

/// Names of files, a multiple of 10: most belong to a series, some to another series, some differ at the end.
std::shared_ptr<Names const> makeNames(vlUInt64 nbNames) {
    auto const pNames = std::make_shared<Names>();
    for (vlUInt64 number = 0; number < nbNames; ++number) {
        std::string const digits = std::to_string(number);
        pNames->push_back((number % 10 == 0   ? "dark_" + digits + ".tif"
                           : number % 10 == 1 ? "img_" + digits + ".txt"
                                              : "img_" + digits + ".tif"));
    }
    return pNames;
}

/// Seconds to test each name, of which four fifths match.
template <class Matches>
double timeMatches(Names const& names, Matches const& matches) {
    Stopwatch const stopwatch;
    vlUInt64 nbMatches = 0;
    for (std::string const& name : names) {
        nbMatches += matches(name) ? 1 : 0;
    }
    double const seconds = stopwatch.getSeconds();
    require(nbMatches == names.size() / 5 * 4, "A wrong number of names matches");
    return seconds;
}

double timeFnmatch(Names const& names) {
    return timeMatches(names,
                       [](std::string const& name) { return fnmatch("img_*.tif", name.c_str(), 0) == 0; });
}

double timeCompiledOnce(Names const& names) {
    image::file::FilePatterns patterns("img_<INDEX>.tif");
    return timeMatches(names, [&](std::string const& name) {
        vlUInt64 index = 0;
        return patterns.test(name, index);
    });
}

double timeCompiledAnew(Names const& names) {
    return timeMatches(names, [](std::string const& name) {
        unsigned long index = 0;
        return image::file::testFilePatternMatching("img_<INDEX>.tif", name, index);
    });
}

} // namespace

void addPatternBenchmarks(Suite& suite) {
    suite.add("pattern compiled once, 1,000,000 names / fnmatch", Quantity::time(), atMost(1.5), [&suite] {
        auto const pNames = makeNames(suite.cut(1000000));
        return Contenders{[=] { return timeCompiledOnce(*pNames); }, [=] { return timeFnmatch(*pNames); }};
    });
    suite.add("pattern compiled for each name, 1,000,000 names / fnmatch", Quantity::time(), atMost(10),
              [&suite] {
                  auto const pNames = makeNames(suite.cut(1000000));
                  return Contenders{[=] { return timeCompiledAnew(*pNames); },
                                    [=] { return timeFnmatch(*pNames); }};
              });
}

} // namespace velmo::bench
