// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Results.h"

#include <VELMOBase/SystemResult.h>
#include <cerrno>

namespace velmo::test {

TEST(SystemResult, HasTheTextOfTheSystemUnlessItIsASuccess) {
    EXPECT_THAT(SystemResult(0), Succeeds());
    EXPECT_THAT(SystemResult(ENOSPC), FailsWith("No space left on device"));
    EXPECT_THAT(SystemResult(EISDIR), FailsWith("Is a directory"));
}

} // namespace velmo::test
