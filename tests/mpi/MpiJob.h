// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <boost/filesystem/path.hpp>
#include <chrono>
#include <string>
#include <vector>

namespace velmo::test {

/// How a job of mpirun ended.
struct JobResult {
    int status = 0; ///< exit status of mpirun; 1000 if it had to be killed
    double seconds = 0;
    std::string out;
    std::string err;
};

/// What a rank does wrong (MpiProbe.cpp).
struct RankFault {
    int rank = -1;
    std::string fault;
};

/// Runs a program on ranks of this machine, in a folder. It is killed after a minute.
JobResult runJob(int nbRanks, std::vector<std::string> const& program, boost::filesystem::path const& folder,
                 RankFault const& fault = {});

/// The same for the program mpi_probe.
JobResult runProbe(int nbRanks, std::vector<std::string> const& arguments,
                   boost::filesystem::path const& folder, RankFault const& fault = {});

} // namespace velmo::test
