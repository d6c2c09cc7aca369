// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "ImageBytes.h"
#include "TemporaryFolder.h"

#include <VELMOImage/ImageAccessor.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <string>

namespace velmo::test {

/// What another program wrote to its standard output, and its exit status.
struct Outcome {
    int status;
    std::string output;
};

/// Accessors in archives, of the kind of the parameter, that a fresh program reads.
class ArchiveProcess : public testing::TestWithParam<std::string> {
  protected:
    void writeRecord(boost::shared_ptr<image::BaseDiskImageAccessor> const& pAccessor) const;
    /// Has a fresh program rebuild the accessor and read all pixels into the file "pixels".
    Outcome runReader() const;

    TemporaryFolder const _folder;
};

inline std::string getName(testing::TestParamInfo<std::string> const& kind) {
    return kind.param;
}

} // namespace velmo::test
