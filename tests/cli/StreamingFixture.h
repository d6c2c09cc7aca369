// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "CliFixture.h"

#include <chrono>
#include <sys/stat.h>
#include <thread>

namespace velmo {
namespace test {

constexpr unsigned long g_gibibyte = 1UL << 30;

/// Long work, and what it has written so far.
class StreamingFixture : public CliTest {
  protected:
    /// Bytes on the disk of the file that is neither the input nor the output.
    unsigned long getTemporarySize() const {
        for (std::string const& name : list()) {
            struct stat state = {};
            if (name.find(".velmo-image-") == 0 && stat(path(name).c_str(), &state) == 0) {
                return static_cast<unsigned long>(state.st_blocks) * 512;
            }
        }
        return 0;
    }

    /// Whether the tool has begun to write pixels, within a minute.
    bool waitForPixels() const {
        for (int tries = 0; tries < 6000; ++tries) {
            if (getTemporarySize() > (1UL << 20)) {
                return true;
            }
            std::this_thread::sleep_for(std::chrono::milliseconds(10));
        }
        return false;
    }

    /// Asks for the size first: a wrong output is too large to be shown.
    void expectOutput(std::string const& bytes) const {
        ASSERT_EQ(bytes.size(), boost::filesystem::file_size(_folder / "out.raw"));
        EXPECT_EQ(bytes, read("out.raw"));
    }
};

} // namespace test
} // namespace velmo
