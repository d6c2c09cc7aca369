// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "MpiJob.h"
#include "TemporaryFolder.h"

#include <gtest/gtest.h>

namespace velmo::test {

/// A folder with the files that mpi_probe reads, as a job's working folder.
class MpiJobFixture : public testing::Test {
  protected:
    MpiJobFixture();

    boost::filesystem::path getFile(std::string const& name) const { return _folder / "work" / name; }
    boost::filesystem::path getOther() const { return _folder / "other"; }

    JobResult run(int nbRanks, std::string const& command, RankFault const& fault = {}) const;

    /// The end of a text of rank 1.
    static std::string placeOfRank1(boost::filesystem::path const& folder);

    /// A rank dies or hangs during a command of rank 0: the job ends, names the rank and leaves no partial
    /// file.
    void expectEnd(std::string const& command, RankFault const& fault) const;

    TemporaryFolder const _folder;
};

} // namespace velmo::test
