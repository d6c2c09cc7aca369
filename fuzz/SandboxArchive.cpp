// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "SandboxArchive.h"

#include "Samples.h"
#include "Sandbox.h"
#include "TiffTarget.h"

#include <array>
#include <boost/filesystem/operations.hpp>

namespace velmo::fuzz {

void SandboxArchive::readItem(std::string const& name, unsigned long& value) {
    constexpr unsigned long largestSize = 64;
    _archive.readItem(name, value);
    if (_bMissing && name.find("size") == 0) {
        value %= largestSize;
    }
}

void SandboxArchive::readItem(std::string const& name, std::string& value) {
    _archive.readItem(name, value);
    if (name != "filePath") {
        return;
    }
    std::string const file = boost::filesystem::path(value).filename().string();
    bool bSample = false;
    for (char const* const sample : {"a.tif", "b.tif", "c.im6", "d.raw"}) {
        bSample = bSample || file == sample;
    }
    _bMissing = !bSample;
    value = (Sandbox::get() / (bSample ? file : g_missingName)).string();
}

void writeSamples() {
    static bool const bWritten = [] {
        Sandbox const& sandbox = Sandbox::get();
        sandbox.write("a.tif", makeTiff("", "", "", 0));
        sandbox.write("b.tif", makeTiff("", "", "", 64));
        sandbox.write("c.im6", makeIm6("Calibration", true));
        sandbox.write("d.raw", std::string(240, 'r'));
        return true;
    }();
    static_cast<void>(bWritten);
}

} // namespace velmo::fuzz
