// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "ChildProcess.h"
#include "Suite.h"
#include "TiffData.h"

#include <cstdlib>
#include <string>

namespace velmo::bench {

namespace {

/// Seconds of work over some ranks, without the start of the job.
double timeRanks(vlUInt64 nbRanks, std::string const& work, TiffFile const& file) {
    setenv("OMPI_ALLOW_RUN_AS_ROOT", "1", 1);
    setenv("OMPI_ALLOW_RUN_AS_ROOT_CONFIRM", "1", 1);
    return std::stod(runProgram(
        {VELMO_MPIRUN, "-n", std::to_string(nbRanks), "--oversubscribe", VELMO_MPI_TIMER, work, file.path}));
}

void addLoad(Suite& suite, std::string const& what, TiffLayout const& layout, int compression, double most) {
    suite.add("load over 2 ranks, " + what + " / 1 rank", Quantity::time(), atMost(most), [=, &suite] {
        TiffLayout cut = layout;
        cut.nbPlanes = suite.cut(layout.nbPlanes);
        TiffFile const file = makeTiff(suite.getData(), cut, compression);
        return Contenders{[=] { return timeRanks(2, "load", file); },
                          [=] { return timeRanks(1, "load", file); }};
    });
}

} // namespace

void addMpiBenchmarks(Suite& suite) {
    addLoad(suite, "250 Deflate planes of 2 MB", {1024, 1024, 250}, COMPRESSION_ADOBE_DEFLATE, 0.6);
    addLoad(suite, "20,000 planes of 4 KB", {64, 64, 20000, 1}, COMPRESSION_NONE, 1.1);
    suite.add("gather from 2 ranks, 250 planes of 2 MB / memcpy", Quantity::time(), atMost(2), [&suite] {
        TiffFile const file = makeTiff(suite.getData(), {1024, 1024, suite.cut(250)});
        return Contenders{[=] { return timeRanks(2, "gather", file); },
                          [=] { return timeRanks(1, "copy", file); }};
    });
}

} // namespace velmo::bench
