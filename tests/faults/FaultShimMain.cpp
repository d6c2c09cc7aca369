// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "FaultShim.h"

#include <cstdio>
#include <cstdlib>
#include <dlfcn.h>

namespace {

using Main = int (*)(int, char**, char**);

Main g_main = nullptr;

/// The program's own entry, with faults.
int runMain(int argc, char** argv, char** environment) {
    char const* const faults = std::getenv("VELMO_FAULTS");
    unsigned int calls = 0;
    long at = 0;
    unsigned int mode = 0;
    if (faults == nullptr || std::sscanf(faults, "%u %ld %u", &calls, &at, &mode) != 3) {
        return g_main(argc, argv, environment);
    }
    velmoArmFaults(calls, at, mode);
    int const status = g_main(argc, argv, environment);
    long const nbCalls = velmoDisarmFaults();
    if (char const* const path = std::getenv("VELMO_FAULTS_COUNT")) {
        if (FILE* const pFile = std::fopen(path, "w")) {
            std::fprintf(pFile, "%ld", nbCalls);
            std::fclose(pFile);
        }
    }
    return status;
}

} // namespace

extern "C" {

// What starts a program calls this with its entry.
int __libc_start_main(Main main, int argc, char** argv, void (*init)(), void (*fini)(), void (*rtldFini)(),
                      void* stackEnd) {
    g_main = main;
    auto const next = reinterpret_cast<decltype(&__libc_start_main)>(dlsym(RTLD_NEXT, "__libc_start_main"));
    return next(runMain, argc, argv, init, fini, rtldFini, stackEnd);
}
}
