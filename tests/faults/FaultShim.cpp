// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "FaultShim.h"

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <dlfcn.h>
#include <fcntl.h>
#include <link.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <sys/syscall.h>
#include <sys/uio.h>
#include <unistd.h>

// The C library's own allocation, below the names that stand here.
extern "C" {
void* __libc_malloc(std::size_t nbBytes) noexcept;
void* __libc_calloc(std::size_t count, std::size_t nbBytes) noexcept;
void* __libc_realloc(void* pOld, std::size_t nbBytes) noexcept;
void* __libc_memalign(std::size_t alignment, std::size_t nbBytes) noexcept;
}

namespace {

using namespace velmo::test;

std::atomic<unsigned int> g_calls{0};
std::atomic<unsigned int> g_mode{eFM_Count};
std::atomic<long> g_at{0};
std::atomic<long> g_nbCalls{0};

enum class eFate { Passes, Fails, IsInterrupted, IsHalved };

eFate decide(eFaultCalls family) {
    if ((g_calls & family) == 0) {
        return eFate::Passes;
    }
    long const call = ++g_nbCalls;
    unsigned int const mode = g_mode;
    if (mode == eFM_Count || call < g_at) {
        return eFate::Passes;
    }
    if (mode == eFM_Stop) {
        if (call == g_at) {
            kill(getpid(), SIGSTOP);
        }
        return eFate::Passes;
    }
    if (mode == eFM_Halve) {
        return eFate::IsHalved;
    }
    bool const bThisOne = call == g_at || mode == eFM_FailFromThere;
    return !bThisOne ? eFate::Passes : mode == eFM_Interrupt ? eFate::IsInterrupted : eFate::Fails;
}

/// Whether a call that moves no bytes fails; `errno` says why.
bool fails(eFaultCalls family, int error) {
    eFate const fate = decide(family);
    if (fate == eFate::Fails || fate == eFate::IsInterrupted) {
        errno = fate == eFate::Fails ? error : EINTR;
        return true;
    }
    return false;
}

bool fails(eFaultCalls family, int descriptor, int error) {
    return descriptor > STDERR_FILENO && fails(family, error);
}

/// Where the code of libtiff lies in this process.
struct CodeRange {
    std::uintptr_t begin = 0;
    std::uintptr_t end = 0;
};

CodeRange findLibtiff() {
    CodeRange range;
    dl_iterate_phdr(
        [](dl_phdr_info* pInfo, std::size_t /*size*/, void* pRange) {
            for (int index = 0;
                 std::strstr(pInfo->dlpi_name, "libtiff.so") != nullptr && index < pInfo->dlpi_phnum;
                 ++index) {
                ElfW(Phdr) const& segment = pInfo->dlpi_phdr[index];
                if (segment.p_type == PT_LOAD && (segment.p_flags & PF_X) != 0) {
                    std::uintptr_t const begin = pInfo->dlpi_addr + segment.p_vaddr;
                    *static_cast<CodeRange*>(pRange) = {begin, begin + segment.p_memsz};
                }
            }
            return 0;
        },
        &range);
    return range;
}

/// Where an allocation that fails is the end of the process, by the C library's own word.
CodeRange findThreadExitList() {
    auto const begin = reinterpret_cast<std::uintptr_t>(dlsym(RTLD_DEFAULT, "__cxa_thread_atexit_impl"));
    constexpr std::uintptr_t atMost = 256;
    return {begin, begin + atMost};
}

CodeRange g_libtiff;
CodeRange g_threadExitList;

bool isIn(CodeRange const& range, void* pCaller) {
    auto const caller = reinterpret_cast<std::uintptr_t>(pCaller);
    return caller >= range.begin && caller < range.end;
}

/// For an allocation that returns to `pCaller`.
bool isOutOfMemory(void* pCaller) {
    return !isIn(g_threadExitList, pCaller) &&
           fails(isIn(g_libtiff, pCaller) ? eFC_AllocateInLibtiff : eFC_Allocate, ENOMEM);
}

#define VELMO_CALLER __builtin_return_address(0)

/// A call that moves bytes: `move` is given as many of `nbBytes` as it is to move.
template <class Move>
ssize_t moveBytes(eFaultCalls family, int descriptor, std::size_t nbBytes, Move const& move) {
    eFate const fate = descriptor > STDERR_FILENO ? decide(family) : eFate::Passes;
    switch (fate) {
    case eFate::Passes:
        return move(nbBytes);
    case eFate::IsHalved:
        return move(nbBytes < 2 ? nbBytes : nbBytes / 2);
    default:
        errno = fate == eFate::IsInterrupted ? EINTR : family == eFC_Write ? ENOSPC : EIO;
        return -1;
    }
}

/// The same for pieces, which are moved one after the other up to one that is not moved whole.
ssize_t movePieces(eFaultCalls family, long call, int descriptor, iovec const* pPieces, int nbPieces) {
    std::size_t nbBytes = 0;
    for (int piece = 0; piece < nbPieces; ++piece) {
        nbBytes += pPieces[piece].iov_len;
    }
    return moveBytes(family, descriptor, nbBytes, [&](std::size_t nbAllowed) {
        ssize_t done = 0;
        for (int piece = 0; piece < nbPieces && nbAllowed != 0; ++piece) {
            std::size_t const size = std::min(pPieces[piece].iov_len, nbAllowed);
            ssize_t const moved = syscall(call, descriptor, pPieces[piece].iov_base, size);
            if (moved < 0) {
                return done == 0 ? moved : done;
            }
            done += moved;
            nbAllowed -= size;
            if (static_cast<std::size_t>(moved) < size) {
                break;
            }
        }
        return done;
    });
}

constexpr int g_noDescriptor = STDERR_FILENO + 1; ///< of calls that have none
/// A call of the system, unless it fails.
template <class... Arguments>
int failOr(eFaultCalls family, int descriptor, int error, long call, Arguments... arguments) {
    return fails(family, descriptor, error) ? -1 : static_cast<int>(syscall(call, arguments...));
}

template <class Function>
Function* next(char const* name) {
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

/// What is looked up before anything is counted: the lookup allocates.
struct NextFunctions {
    decltype(&fclose) pClose = next<int(FILE*)>("fclose");
    decltype(&fopen) pOpen = next<FILE*(char const*, char const*)>("fopen");
};

NextFunctions const& getNext() {
    static NextFunctions const functions;
    return functions;
}

[[gnu::constructor]] void lookUp() {
    getNext();
    g_libtiff = findLibtiff();
    g_threadExitList = findThreadExitList();
}

} // namespace

#pragma GCC diagnostic ignored "-Wmissing-declarations"

extern "C" {

void velmoArmFaults(unsigned int calls, long at, unsigned int mode) {
    g_calls = 0;
    g_nbCalls = 0;
    g_at = at;
    g_mode = mode;
    g_calls = calls;
}

long velmoDisarmFaults() {
    g_calls = 0;
    return g_nbCalls;
}

// Memory

void* malloc(std::size_t nbBytes) noexcept {
    return isOutOfMemory(VELMO_CALLER) ? nullptr : __libc_malloc(nbBytes);
}

void* calloc(std::size_t count, std::size_t nbBytes) noexcept {
    return isOutOfMemory(VELMO_CALLER) ? nullptr : __libc_calloc(count, nbBytes);
}

void* realloc(void* pOld, std::size_t nbBytes) noexcept {
    return isOutOfMemory(VELMO_CALLER) ? nullptr : __libc_realloc(pOld, nbBytes);
}

void* aligned_alloc(std::size_t alignment, std::size_t nbBytes) noexcept {
    return isOutOfMemory(VELMO_CALLER) ? nullptr : __libc_memalign(alignment, nbBytes);
}

int posix_memalign(void** ppMemory, std::size_t alignment, std::size_t nbBytes) noexcept {
    void* const pMemory = isOutOfMemory(VELMO_CALLER) ? nullptr : __libc_memalign(alignment, nbBytes);
    if (pMemory == nullptr) {
        return ENOMEM;
    }
    *ppMemory = pMemory;
    return 0;
}

void* mmap(void* pWish, std::size_t nbBytes, int protection, int flags, int descriptor,
           off_t offset) noexcept {
    return isOutOfMemory(VELMO_CALLER) ? MAP_FAILED
                                       : reinterpret_cast<void*>(syscall(SYS_mmap, pWish, nbBytes, protection,
                                                                         flags, descriptor, offset));
}

// Reads

ssize_t read(int descriptor, void* pBuffer, std::size_t nbBytes) {
    return moveBytes(eFC_Read, descriptor, nbBytes, [&](std::size_t nbAllowed) {
        return syscall(SYS_read, descriptor, pBuffer, nbAllowed);
    });
}

ssize_t pread(int descriptor, void* pBuffer, std::size_t nbBytes, off_t offset) {
    return moveBytes(eFC_Read, descriptor, nbBytes, [&](std::size_t nbAllowed) {
        return syscall(SYS_pread64, descriptor, pBuffer, nbAllowed, offset);
    });
}

ssize_t readv(int descriptor, iovec const* pPieces, int nbPieces) {
    return movePieces(eFC_Read, SYS_read, descriptor, pPieces, nbPieces);
}

// Writes

ssize_t write(int descriptor, void const* pBuffer, std::size_t nbBytes) {
    return moveBytes(eFC_Write, descriptor, nbBytes, [&](std::size_t nbAllowed) {
        return syscall(SYS_write, descriptor, pBuffer, nbAllowed);
    });
}

ssize_t pwrite(int descriptor, void const* pBuffer, std::size_t nbBytes, off_t offset) {
    return moveBytes(eFC_Write, descriptor, nbBytes, [&](std::size_t nbAllowed) {
        return syscall(SYS_pwrite64, descriptor, pBuffer, nbAllowed, offset);
    });
}

ssize_t writev(int descriptor, iovec const* pPieces, int nbPieces) {
    return movePieces(eFC_Write, SYS_write, descriptor, pPieces, nbPieces);
}

int fallocate(int descriptor, int mode, off_t offset, off_t nbBytes) {
    return failOr(eFC_Write, descriptor, ENOSPC, SYS_fallocate, descriptor, mode, offset, nbBytes);
}

int ftruncate(int descriptor, off_t size) noexcept {
    return failOr(eFC_Write, descriptor, EIO, SYS_ftruncate, descriptor, size);
}

// Opens, looks, names and closes

int open(char const* path, int flags, ...) {
    std::va_list arguments;
    va_start(arguments, flags);
    mode_t const mode = (flags & O_CREAT) != 0 ? va_arg(arguments, mode_t) : 0;
    va_end(arguments);
    return failOr(eFC_Open, g_noDescriptor, EMFILE, SYS_openat, AT_FDCWD, path, flags, mode);
}

FILE* fopen(char const* path, char const* mode) {
    return fails(eFC_Open, EMFILE) ? nullptr : getNext().pOpen(path, mode);
}

off_t lseek(int descriptor, off_t offset, int whence) noexcept {
    return fails(eFC_Look, descriptor, EIO) ? -1 : syscall(SYS_lseek, descriptor, offset, whence);
}

int fstat(int descriptor, struct stat* pStatus) noexcept {
    return failOr(eFC_Look, descriptor, EIO, SYS_fstat, descriptor, pStatus);
}

int fstat64(int descriptor, struct stat64* pStatus) noexcept {
    return failOr(eFC_Look, descriptor, EIO, SYS_fstat, descriptor, pStatus);
}

int rename(char const* path, char const* newPath) noexcept {
    return failOr(eFC_Name, g_noDescriptor, EIO, SYS_rename, path, newPath);
}

int renameat2(int folder, char const* path, int newFolder, char const* newPath, unsigned int flags) noexcept {
    return failOr(eFC_Name, g_noDescriptor, EIO, SYS_renameat2, folder, path, newFolder, newPath, flags);
}

int unlink(char const* path) noexcept {
    return failOr(eFC_Name, g_noDescriptor, EIO, SYS_unlink, path);
}

int close(int descriptor) {
    bool const bFails = fails(eFC_Close, descriptor, EIO);
    int const error = errno;
    auto const result = static_cast<int>(syscall(SYS_close, descriptor));
    errno = bFails ? error : errno;
    return bFails ? -1 : result;
}

int fclose(FILE* pStream) {
    bool const bFails = fails(eFC_Close, fileno(pStream), EIO);
    int const error = errno;
    int const result = getNext().pClose(pStream);
    errno = bFails ? error : errno;
    return bFails ? EOF : result;
}

// The same calls by the names that they have where offsets have 64 bits

void* mmap64(void*, std::size_t, int, int, int, off64_t) noexcept __attribute__((alias("mmap")));
ssize_t pread64(int, void*, std::size_t, off64_t) __attribute__((alias("pread")));
ssize_t pwrite64(int, void const*, std::size_t, off64_t) __attribute__((alias("pwrite")));
int fallocate64(int, int, off64_t, off64_t) __attribute__((alias("fallocate")));
int ftruncate64(int, off64_t) noexcept __attribute__((alias("ftruncate")));
int open64(char const*, int, ...) __attribute__((alias("open")));
FILE* fopen64(char const*, char const*) __attribute__((alias("fopen")));
off64_t lseek64(int, off64_t, int) noexcept __attribute__((alias("lseek")));
}
