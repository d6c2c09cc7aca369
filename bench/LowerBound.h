// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOUtil/Types.h>

#include <chrono>
#include <cstddef>
#include <functional>
#include <string>

namespace velmo::bench {

// The time that the operating system needs for the same bytes: the lower bound of the benchmarks. This code
// shares nothing with the measured code. All errors are thrown as std::system_error.

/// Anonymous memory that was not accessed yet, aligned to a huge page and advised to use huge pages.
class FreshMemory {
  public:
    explicit FreshMemory(vlUInt64 nbBytes);
    ~FreshMemory();
    FreshMemory(FreshMemory const&) = delete;
    FreshMemory& operator=(FreshMemory const&) = delete;

    std::byte* getData() const { return _pData; }

  private:
    void* _pMapping;
    vlUInt64 _mappingSize;
    std::byte* _pData;
};

class Descriptor {
  public:
    static Descriptor openForReading(std::string const& path);
    /// Creates a file or empties an existing one.
    static Descriptor create(std::string const& path);
    ~Descriptor();
    Descriptor(Descriptor const&) = delete;
    Descriptor& operator=(Descriptor const&) = delete;

    void read(void* pTarget, vlUInt64 nbBytes, vlUInt64 offset) const;
    void write(void const* pSource, vlUInt64 nbBytes, vlUInt64 offset) const;
    void setSize(vlUInt64 nbBytes) const;
    /// Waits until all files of the same file system are on the disk, so that no write-back runs during a
    /// measurement.
    void syncFileSystem() const;

  private:
    Descriptor(std::string const& path, int flags);

    int _descriptor;
};

/// Processors of the machine, at least 1: the threads that a call of the library uses by default.
vlUInt64 countProcessors();

/// Seconds since the construction.
class Stopwatch {
  public:
    double getSeconds() const { return std::chrono::duration<double>(Clock::now() - _start).count(); }

  private:
    using Clock = std::chrono::steady_clock;

    Clock::time_point _start = Clock::now();
};

using ThreadWork = std::function<void(vlUInt64 thread)>;

/// Seconds from the moment when `nbThreads` threads have all finished `prepare` to the end of the last
/// `work`. An exception in a thread ends the program.
double timeThreads(vlUInt64 nbThreads, ThreadWork const& prepare, ThreadWork const& work);

/// Seconds to read a whole file into fresh memory, with allocating the memory and opening the file.
double timePread(std::string const& path, vlUInt64 nbBytes);
/// Seconds in which as many threads as the machine has processors read a whole file, each one part, without
/// allocating the memory and opening the file.
double timePreadOfAllThreads(std::string const& path, vlUInt64 nbBytes);

} // namespace velmo::bench
