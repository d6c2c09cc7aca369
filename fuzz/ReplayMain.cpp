// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "FuzzTarget.h"
#include "Sandbox.h"

#include <algorithm>
#include <boost/filesystem/operations.hpp>
#include <cstdio>
#include <vector>

// Runs a target on files and on all files of folders, without a fuzzer.

namespace fs = boost::filesystem;

static std::vector<fs::path> findInputs(fs::path const& path) {
    std::vector<fs::path> inputs;
    if (!fs::is_directory(path)) {
        return {path};
    }
    for (fs::directory_entry const& entry : fs::directory_iterator(path)) {
        inputs.push_back(entry.path());
    }
    std::sort(inputs.begin(), inputs.end());
    return inputs;
}

int main(int argc, char** argv) {
    unsigned int nbInputs = 0;
    for (int argument = 1; argument < argc; ++argument) {
        for (fs::path const& path : findInputs(argv[argument])) {
            std::fprintf(stderr, "%s\n",
                         path.c_str()); // if the process ends, the last path shown is the input
            std::string const bytes = velmo::fuzz::readBytes(path);
            LLVMFuzzerTestOneInput(reinterpret_cast<std::uint8_t const*>(bytes.data()), bytes.size());
            ++nbInputs;
        }
    }
    if (nbInputs == 0) {
        std::fprintf(stderr, "usage: %s FILE-OR-FOLDER...: nothing to replay\n", argv[0]);
        return 2;
    }
    return 0;
}
