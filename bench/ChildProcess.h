// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOUtil/Types.h>

#include <string>
#include <vector>

namespace velmo::bench {

// Measurements of whole processes. Programs are searched in $PATH; one whose exit status is not 0 is thrown
// as std::runtime_error.

using Words = std::vector<std::string>;

/// Runs a program and returns its standard output.
std::string runProgram(Words const& command);

/// Seconds from the start of a program to its end. Its standard output is discarded.
double timeProgram(Words const& command);

/// The largest resident memory of the process of a program, in bytes.
double measurePeak(Words const& command);

/// Calls `velmo_bench --work NAME ARGUMENT...`, which runs `runWork`.
Words toWork(std::string const& name, Words const& arguments);
constexpr char const* g_workOption = "--work";

/// A work that the benchmarks run in a process of its own (MemoryBench.cpp). Returns the exit status.
int runWork(std::string const& name, Words const& arguments);

/// The work behind `measurePeak`: runs a program and prints its peak. The kernel also counts the memory of
/// the process that starts a program; the one that does this work is small.
void printPeak(Words const& command);

} // namespace velmo::bench
