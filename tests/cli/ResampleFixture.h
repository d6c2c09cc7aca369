// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "SeriesFixture.h"

namespace velmo::test {

class Resample : public SeriesFixture {
  protected:
    /// To five planes of one value each, out of planes at the heights 0, 1 and 4.
    void SetUp() override {
        SeriesFixture::SetUp();
        putPlane("a2.tif", 10);
        putPlane("a3.tif", 20);
        putPlane("a10.tif", 80);
        create("steps.txt", "1\n3\n");
    }

    void putPlane(std::string const& name, int value) const {
        put(name, std::string(6, static_cast<char>(value)));
    }

    static std::string planes(std::vector<int> const& values) {
        std::string pixels;
        for (int const value : values) {
            pixels += std::string(6, static_cast<char>(value));
        }
        return pixels;
    }

    Arguments resample(Arguments const& options = {}, std::string const& steps = "steps.txt",
                       std::string const& pattern = "a<INDEX>.tif") const {
        return Arguments{"resample",      path("s"),  pattern, steps.front() == '/' ? steps : path(steps),
                         path("out.raw"), "--size-z", "5"} +
               options;
    }

    /// A run that warns of the gap in the numbers alone.
    std::string resampleToRaw(Arguments const& options = {}) const {
        expectWarning(runTool(resample(Arguments{"--overwrite"} + options)), "missing 4-9\n");
        return read("out.raw");
    }

    /// A failure with these words, behind the warning of the gap.
    template <class... Words>
    void expectStepsFailure(std::string const& steps, Words const&... words) const {
        ToolResult const result = runTool(resample({}, steps));
        EXPECT_EQ(1, result.status);
        std::string const gap = "velmo-image: warning: missing 4-9\n";
        EXPECT_EQ(gap, result.err.substr(0, gap.size()));
        EXPECT_THAT(result.err.substr(std::min(gap.size(), result.err.size())), isMessage(words...));
        EXPECT_FALSE(exists("out.raw"));
    }
};

} // namespace velmo::test
