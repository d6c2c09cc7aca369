// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOBase/SequentialFile.h"

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <fcntl.h>
#include <poll.h>
#include <streambuf>
#include <string>
#include <sys/stat.h>
#include <system_error>
#include <unistd.h>
#include <utility>
#include <vector>

namespace velmo {

namespace {

constexpr std::size_t g_bufferSize = std::size_t{1} << 16U;

/// Waits until there is something to read, an end of the writers, or an error. False at the deadline.
bool waitForInput(int descriptor, std::chrono::steady_clock::time_point const* pDeadline) {
    for (;;) {
        int milliseconds = -1;
        if (pDeadline != nullptr) {
            auto const left = std::chrono::duration_cast<std::chrono::milliseconds>(
                *pDeadline - std::chrono::steady_clock::now());
            milliseconds = std::max(0, static_cast<int>(left.count()));
        }
        pollfd entry = {descriptor, POLLIN, 0};
        int const nbReady = poll(&entry, 1, milliseconds);
        if (nbReady >= 0 || errno != EINTR) {
            return nbReady != 0;
        }
    }
}

} // namespace

class SequentialFile::Buffer : public std::streambuf {
  public:
    /// Without waiting for the writer of a pipe.
    explicit Buffer(boost::filesystem::path const& path)
        : _bytes(g_bufferSize),
          _descriptor(open(path.c_str(), O_RDONLY | O_NONBLOCK | O_CLOEXEC | O_NOCTTY)) {
        struct stat status = {};
        if (_descriptor < 0 || fstat(_descriptor, &status) != 0) {
            _failure = std::system_category().message(errno);
            return;
        }
        _bOrdinary = S_ISREG(status.st_mode);
        _bPipe = S_ISFIFO(status.st_mode);
    }
    ~Buffer() override {
        if (_descriptor >= 0) {
            close(_descriptor);
        }
    }
    Buffer(Buffer const&) = delete;
    Buffer& operator=(Buffer const&) = delete;

    std::string const& getFailure() const { return _failure; }

  protected:
    int_type underflow() override {
        std::size_t const nbBytes = _failure.empty() ? readSome() : 0;
        setg(_bytes.data(), _bytes.data(), _bytes.data() + nbBytes);
        return nbBytes == 0 ? traits_type::eof() : traits_type::to_int_type(*gptr());
    }

  private:
    /// 0 at the end, and with a failure.
    std::size_t readSome() {
        for (;;) {
            ssize_t const nbBytes = ::read(_descriptor, _bytes.data(), _bytes.size());
            if (nbBytes > 0) {
                return take(static_cast<std::size_t>(nbBytes));
            }
            if (nbBytes == 0 && (!_bPipe || _bWriterSeen)) {
                return 0;
            }
            if (nbBytes == 0) {
                if (!waitForWriter()) {
                    return fail("No process has opened the pipe for writing within " +
                                std::to_string(s_maxSecondsWithoutWriter) + " seconds");
                }
            } else if (errno == EAGAIN) {
                waitForInput(_descriptor, nullptr);
            } else if (errno != EINTR) {
                return fail(std::system_category().message(errno));
            }
        }
    }

    std::size_t take(std::size_t nbBytes) {
        _bWriterSeen = true;
        _nbBytes += nbBytes;
        if (!_bOrdinary && _nbBytes > s_maxStreamSize) {
            return fail("The stream does not end within " + std::to_string(s_maxStreamSize) + " bytes");
        }
        return nbBytes;
    }

    bool waitForWriter() {
        auto const deadline =
            std::chrono::steady_clock::now() + std::chrono::seconds(s_maxSecondsWithoutWriter);
        _bWriterSeen = waitForInput(_descriptor, &deadline);
        return _bWriterSeen;
    }

    /// 0, as `readSome` returns it.
    std::size_t fail(std::string reason) {
        _failure = std::move(reason);
        return 0;
    }

    std::vector<char> _bytes;
    int _descriptor;
    bool _bOrdinary = false;
    bool _bPipe = false;
    bool _bWriterSeen = false;  ///< from then on the pipe ends where no writer is left
    std::uint64_t _nbBytes = 0; ///< read so far
    std::string _failure;
};

SequentialFile::SequentialFile(boost::filesystem::path const& path)
    : std::istream(nullptr), _pBuffer(new Buffer(path)) {
    rdbuf(_pBuffer.get());
    exceptions(std::ios::badbit); // lack of memory is thrown, and does not look like an end
}

SequentialFile::~SequentialFile() = default;

std::string const& SequentialFile::getFailure() const {
    return _pBuffer->getFailure();
}

} // namespace velmo
