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

    Arguments resample(Arguments const& options = {}) const {
        return Arguments{"resample", path("s"), "a<INDEX>.tif", path("steps.txt"), path("out.raw"),
                         "--size-z", "5"} +
               options;
    }

    /// A run that warns of the gap in the numbers alone.
    std::string resampleToRaw(Arguments const& options = {}) const {
        ToolResult const result = runTool(resample(Arguments{"--overwrite"} + options));
        EXPECT_EQ(0, result.status);
        EXPECT_EQ("velmo-image: warning: missing 4-9\n", result.err);
        return read("out.raw");
    }

    /// A failure with this message, behind the warning of the gap.
    void expectStepsFailure(std::string const& message, std::string const& steps = "steps.txt") const {
        Arguments arguments = resample();
        arguments[3] = steps.front() == '/' ? steps : path(steps);
        ToolResult const result = runTool(arguments);
        EXPECT_EQ(1, result.status);
        EXPECT_EQ("velmo-image: warning: missing 4-9\nvelmo-image: " + message + '\n', result.err);
        EXPECT_FALSE(boost::filesystem::exists(path("out.raw")));
    }
};

} // namespace velmo::test
