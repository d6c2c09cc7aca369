// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "input/StreamedInput.h"

#include "terminal/Failure.h"
#include "terminal/Interrupt.h"
#include "terminal/Progress.h"

#include <VELMOBase/TransferAll.h>
#include <algorithm>
#include <array>
#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace velmo::tool {

namespace {

constexpr std::size_t g_pieceSize = std::size_t{1} << 18;

/// A descriptor that is closed at the end of its life, unless it is that of the standard input.
class Descriptor {
  public:
    explicit Descriptor(int number) : _number(number) {}
    ~Descriptor() {
        if (_number > STDIN_FILENO) {
            close(_number);
        }
    }
    Descriptor(Descriptor const&) = delete;
    Descriptor& operator=(Descriptor const&) = delete;
    int get() const { return _number; }

  private:
    int const _number;
};

std::string getTemporaryFolder() {
    char const* const pFolder = std::getenv("TMPDIR");
    return pFolder != nullptr && *pFolder != '\0' ? pFolder : "/tmp";
}

[[noreturn]] void failToSpool(int error) {
    throw WorkFailure("cannot keep the bytes of a pipe in a temporary file in " +
                      quoted(getTemporaryFolder()) + ": " +
                      std::error_code(error, std::generic_category()).message() +
                      "; the variable TMPDIR names another folder");
}

int createNamelessFile() {
    std::string const folder = getTemporaryFolder();
    int descriptor = open(folder.c_str(), O_TMPFILE | O_RDWR | O_CLOEXEC, S_IRUSR | S_IWUSR);
    if (descriptor < 0) { // file systems without such files
        std::string name = folder + "/velmo-image-XXXXXX";
        descriptor = mkostemp(name.data(), O_CLOEXEC);
        if (descriptor < 0) {
            failToSpool(errno);
        }
        unlink(name.c_str());
    }
    return descriptor;
}

int openStream(boost::filesystem::path const& path) {
    if (isStandardInput(path)) {
        if (isatty(STDIN_FILENO) == 1) {
            throw WorkFailure("cannot read " + quoted(path.string()) +
                              ": the standard input is a terminal; redirect it from a file or a pipe");
        }
        return STDIN_FILENO;
    }
    // Opened without waiting for a writer: that is done where an interrupt ends it.
    int const descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) {
        failAt("read", path, errno);
    }
    return descriptor;
}

/// Reads some bytes, at least one except at the end.
std::size_t readSome(int descriptor, boost::filesystem::path const& path, std::vector<char>& buffer,
                     std::size_t nbMost) {
    while (true) {
        if (!waitForDescriptor(descriptor, POLLIN)) {
            throw Interrupted();
        }
        ssize_t const nbRead = read(descriptor, buffer.data(), std::min(nbMost, buffer.size()));
        if (nbRead >= 0) {
            return static_cast<std::size_t>(nbRead);
        }
        if (errno != EINTR && errno != EAGAIN) {
            failAt("read", path, errno);
        }
    }
}

void store(int file, std::vector<char> const& buffer, std::size_t nbBytes) {
    Transferred const moved = transferAll(
        nbBytes, [&](std::uint64_t done) { return write(file, buffer.data() + done, nbBytes - done); });
    if (moved.nbBytes != nbBytes) {
        failToSpool(moved.error);
    }
}

} // namespace

bool isStandardInput(boost::filesystem::path const& path) {
    constexpr std::array<char const*, 4> names = {"-", "/dev/stdin", "/dev/fd/0", "/proc/self/fd/0"};
    return std::find(names.begin(), names.end(), path.string()) != names.end();
}

boost::filesystem::path toInputPath(boost::filesystem::path const& path) {
    return path == "-" ? "/dev/stdin" : path;
}

bool isStreamedInput(boost::filesystem::path const& path) {
    struct stat state = {};
    if (isStandardInput(path)) {
        return fstat(STDIN_FILENO, &state) == 0 && !S_ISREG(state.st_mode) && !S_ISDIR(state.st_mode) &&
               !S_ISBLK(state.st_mode);
    }
    return stat(path.c_str(), &state) == 0 && (S_ISFIFO(state.st_mode) || S_ISSOCK(state.st_mode));
}

vlUInt64 getInputPosition(boost::filesystem::path const& path) {
    off_t const position = isStandardInput(path) ? lseek(STDIN_FILENO, 0, SEEK_CUR) : 0;
    return position > 0 ? static_cast<vlUInt64>(position) : 0;
}

StreamedInput::StreamedInput(boost::filesystem::path const& path, vlUInt64 nbSkipped, vlUInt64 nbBytes,
                             bool bQuiet) {
    Descriptor const stream(openStream(path));
    Descriptor const file(createNamelessFile());
    std::vector<char> buffer(g_pieceSize);
    Progress progress(nbSkipped + nbBytes, bQuiet);
    for (vlUInt64 done = 0; done < nbSkipped + nbBytes;) {
        bool const bSkips = done < nbSkipped;
        vlUInt64 const nbLeft = (bSkips ? nbSkipped : nbSkipped + nbBytes) - done;
        std::size_t const nbRead = readSome(stream.get(), path, buffer, nbLeft);
        if (nbRead == 0) {
            throw WorkFailure("cannot read " + quoted(path.string()) + ": it ends after " +
                              std::to_string(done) + " of " + std::to_string(nbSkipped + nbBytes) +
                              " bytes that its dimensions and the offset need");
        }
        store(file.get(), buffer, bSkips ? 0 : nbRead);
        done += nbRead;
        progress.add(nbRead);
    }
    _bSurplus = readSome(stream.get(), path, buffer, 1) != 0;
    _file = fcntl(file.get(), F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    if (_file < 0) {
        failToSpool(errno);
    }
}

StreamedInput::~StreamedInput() {
    if (_file >= 0) {
        close(_file);
    }
}

boost::filesystem::path StreamedInput::getPath() const {
    return "/proc/self/fd/" + std::to_string(_file);
}

} // namespace velmo::tool
