// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "LowerBound.h"

#include <algorithm>
#include <cerrno>
#include <condition_variable>
#include <cstdint>
#include <fcntl.h>
#include <mutex>
#include <optional>
#include <sys/mman.h>
#include <system_error>
#include <thread>
#include <unistd.h>
#include <vector>

namespace velmo::bench {

namespace {

constexpr vlUInt64 g_hugePageSize = vlUInt64{2} << 20;

[[noreturn]] void raise(std::string const& what) {
    throw std::system_error(errno, std::generic_category(), what);
}

/// Repeats a transfer until all bytes have moved; each call may move fewer bytes than requested.
template <class Transfer>
void transferAll(vlUInt64 nbBytes, std::string const& what, Transfer const& transfer) {
    for (vlUInt64 done = 0; done < nbBytes;) {
        ssize_t const moved = transfer(done);
        if (moved <= 0) {
            raise(what);
        }
        done += static_cast<vlUInt64>(moved);
    }
}

/// Blocks threads until all of them have arrived, then starts the clock.
class StartingLine {
  public:
    explicit StartingLine(vlUInt64 nbThreads) : _nbMissing(nbThreads) {}

    void wait() {
        std::unique_lock<std::mutex> lock(_mutex);
        if (--_nbMissing == 0) {
            _stopwatch.emplace();
            _allHere.notify_all();
        }
        _allHere.wait(lock, [this] { return _nbMissing == 0; });
    }

    double getSeconds() const { return _stopwatch->getSeconds(); }

  private:
    std::mutex _mutex;
    std::condition_variable _allHere;
    vlUInt64 _nbMissing;
    std::optional<Stopwatch> _stopwatch;
};

} // namespace

FreshMemory::FreshMemory(vlUInt64 nbBytes) : _mappingSize(nbBytes + g_hugePageSize) {
    _pMapping = mmap(nullptr, _mappingSize, PROT_READ | PROT_WRITE,
                     MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0);
    if (_pMapping == MAP_FAILED) {
        raise("mmap");
    }
    auto const address = reinterpret_cast<std::uintptr_t>(_pMapping);
    _pData =
        static_cast<std::byte*>(_pMapping) + (g_hugePageSize - address % g_hugePageSize) % g_hugePageSize;
    madvise(_pData, nbBytes, MADV_HUGEPAGE); // without huge pages in the kernel, ours has none either
}

FreshMemory::~FreshMemory() {
    munmap(_pMapping, _mappingSize);
}

Descriptor::Descriptor(std::string const& path, int flags)
    : _descriptor(::open(path.c_str(), flags | O_CLOEXEC, 0644)) {
    if (_descriptor < 0) {
        raise(path);
    }
}

Descriptor Descriptor::openForReading(std::string const& path) {
    return Descriptor(path, O_RDONLY);
}

Descriptor Descriptor::create(std::string const& path) {
    return Descriptor(path, O_WRONLY | O_CREAT | O_TRUNC);
}

Descriptor::~Descriptor() {
    ::close(_descriptor);
}

void Descriptor::read(void* pTarget, vlUInt64 nbBytes, vlUInt64 offset) const {
    transferAll(nbBytes, "pread", [&](vlUInt64 done) {
        return pread(_descriptor, static_cast<std::byte*>(pTarget) + done, nbBytes - done,
                     static_cast<off_t>(offset + done));
    });
}

void Descriptor::write(void const* pSource, vlUInt64 nbBytes, vlUInt64 offset) const {
    transferAll(nbBytes, "pwrite", [&](vlUInt64 done) {
        return pwrite(_descriptor, static_cast<std::byte const*>(pSource) + done, nbBytes - done,
                      static_cast<off_t>(offset + done));
    });
}

void Descriptor::setSize(vlUInt64 nbBytes) const {
    if (ftruncate(_descriptor, static_cast<off_t>(nbBytes)) != 0) {
        raise("ftruncate");
    }
}

void Descriptor::syncFileSystem() const {
    if (syncfs(_descriptor) != 0) {
        raise("syncfs");
    }
}

vlUInt64 countProcessors() {
    return std::max(1U, std::thread::hardware_concurrency());
}

double timeThreads(vlUInt64 nbThreads, ThreadWork const& prepare, ThreadWork const& work) {
    StartingLine start(nbThreads);
    std::vector<std::thread> threads;
    for (vlUInt64 thread = 0; thread < nbThreads; ++thread) {
        threads.emplace_back([&, thread] {
            prepare(thread);
            start.wait();
            work(thread);
        });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    return start.getSeconds();
}

double timePread(std::string const& path, vlUInt64 nbBytes) {
    Stopwatch const stopwatch;
    FreshMemory const memory(nbBytes);
    Descriptor::openForReading(path).read(memory.getData(), nbBytes, 0);
    return stopwatch.getSeconds();
}

double timePreadOfAllThreads(std::string const& path, vlUInt64 nbBytes) {
    FreshMemory const memory(nbBytes);
    Descriptor const descriptor = Descriptor::openForReading(path);
    vlUInt64 const nbThreads = countProcessors();
    auto const readPart = [&](vlUInt64 thread) {
        vlUInt64 const first = nbBytes / nbThreads * thread;
        vlUInt64 const end = thread + 1 == nbThreads ? nbBytes : nbBytes / nbThreads * (thread + 1);
        descriptor.read(memory.getData() + first, end - first, first);
    };
    return timeThreads(
        nbThreads, [](vlUInt64) {}, readPart);
}

} // namespace velmo::bench
