// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "SeriesFixture.h"

#include <cstdlib>

namespace velmo::test {

/// Runs lines of bash on files of a folder.
class Pipe : public SeriesFixture {
  protected:
    /// Lines of bash, in the folder of the test; $tool is the tool.
    ToolResult runScript(std::string const& script) const {
        create("script", "set -o pipefail\ntool='" VELMO_IMAGE_TOOL "'\ncd '" + _folder.getPath().string() +
                             "'\n" + script + '\n');
        int const status = std::system(("bash --norc '" + path("script") + "' >'" + path("script.out") +
                                        "' 2>'" + path("script.err") + "' </dev/null")
                                           .c_str());
        ToolResult const result = {WEXITSTATUS(status), 0, read("script.out"), read("script.err")};
        for (char const* const name : {"script", "script.out", "script.err"}) {
            boost::filesystem::remove(_folder / name);
        }
        return result;
    }

    void writeInput(std::string const& pixels) const {
        TiffPage one = page(pixels);
        writeTiff(_folder / "in.tif", {one, one});
    }
};

/// The options of an input of eight bytes.
inline std::string const g_raw = " --size 2,2,2 --type uint8 ";

} // namespace velmo::test
