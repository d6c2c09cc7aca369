// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "output/StreamedOutput.h"

#include "terminal/Failure.h"
#include "terminal/Interrupt.h"

#include <VELMOBase/PageBuffer.h>
#include <VELMOImage/ImageGeometry.h>
#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <poll.h>
#include <sys/stat.h>
#include <unistd.h>

namespace velmo::tool {

namespace {

/// Bytes that are read from the image at a time.
constexpr vlUInt64 g_runSize = vlUInt64{4} << 20;

mode_t getMode(int descriptor) {
    struct stat state = {};
    return fstat(descriptor, &state) == 0 ? state.st_mode : 0;
}

/// A descriptor that is written to. A pipe gets one of its own that does not block, so that an interrupt ends
/// each wait; the descriptor that other processes share is not changed.
class Stream {
  public:
    explicit Stream(boost::filesystem::path const& path) : _path(path) {
        if (!isStandardOutput(path)) {
            _descriptor = open(path.c_str(), O_WRONLY | O_CLOEXEC); // waits for a reader
            throwIfInterrupted();
            _bBlocks = _descriptor >= 0 && fcntl(_descriptor, F_SETFL, O_WRONLY | O_NONBLOCK) != 0;
        } else if (S_ISFIFO(getMode(STDOUT_FILENO))) {
            _descriptor = open("/proc/self/fd/1", O_WRONLY | O_CLOEXEC | O_NONBLOCK);
            _bBlocks = false;
        }
        if (_descriptor < 0 && isStandardOutput(path)) {
            _descriptor = fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
            _bBlocks = !S_ISREG(getMode(STDOUT_FILENO));
        }
        if (_descriptor < 0) {
            failAt("write", _path, errno);
        }
    }
    ~Stream() {
        if (_descriptor >= 0) {
            ::close(_descriptor);
        }
    }
    Stream(Stream const&) = delete;
    Stream& operator=(Stream const&) = delete;

    void write(void const* bytes, vlUInt64 nbBytes) const {
        // A pipe that is ready takes PIPE_BUF bytes without a wait.
        vlUInt64 const nbMost = _bBlocks ? PIPE_BUF : nbBytes;
        for (vlUInt64 done = 0; done < nbBytes;) {
            if (!waitForDescriptor(_descriptor, POLLOUT)) {
                throw Interrupted();
            }
            ssize_t const nbWritten = ::write(_descriptor, static_cast<char const*>(bytes) + done,
                                              std::min(nbMost, nbBytes - done));
            if (nbWritten >= 0) {
                done += static_cast<vlUInt64>(nbWritten);
            } else if (errno != EINTR && errno != EAGAIN) {
                fail(errno);
            }
        }
    }

    /// Some file systems report a failure only here.
    void close() {
        int const descriptor = _descriptor;
        _descriptor = -1;
        if (::close(descriptor) != 0 && errno != EINTR) {
            fail(errno);
        }
    }

  private:
    [[noreturn]] void fail(int error) const {
        if (error == EPIPE) {
            throw WorkFailure("cannot write " + quoted(_path.string()) +
                              ": its reader has closed the pipe before the last plane");
        }
        failAt("write", _path, error);
    }

    boost::filesystem::path const& _path;
    int _descriptor = -1;
    bool _bBlocks = true;
};

void writePlane(image::BaseImage const& image, image::PlanIndexes const& plane, PageBuffer& buffer,
                Stream const& stream) {
    image::ImagePlanGeometry const geometry = image.getGeometry().getPlanGeometry(plane.t);
    vlUInt64 const pixelSize = image::getImageBufferBaseSize(geometry.getBufferType());
    vlUInt64 const nbPixels = geometry.getNbPixels();
    vlUInt64 const runLength = g_runSize / pixelSize;
    for (vlUInt64 start = 0; start < nbPixels; start += runLength) {
        vlUInt64 const length = std::min(runLength, nbPixels - start);
        BoolResult const result = image.readPixels(plane, start, length, buffer.getData());
        throwIfInterrupted();
        if (!result) {
            throw WorkFailure(result.getMessage());
        }
        stream.write(buffer.getData(), length * pixelSize);
    }
}

} // namespace

bool isStandardOutput(boost::filesystem::path const& path) {
    constexpr std::array<char const*, 4> names = {"-", "/dev/stdout", "/dev/fd/1", "/proc/self/fd/1"};
    return std::find(names.begin(), names.end(), path.string()) != names.end();
}

bool isStreamedOutput(boost::filesystem::path const& path) {
    struct stat state = {};
    return isStandardOutput(path) || (stat(path.c_str(), &state) == 0 && S_ISFIFO(state.st_mode));
}

boost::filesystem::path getOutputFile(boost::filesystem::path const& path) {
    if (!isStandardOutput(path)) {
        return path;
    }
    return S_ISREG(getMode(STDOUT_FILENO)) ? "/proc/self/fd/1" : "";
}

void writeStream(boost::filesystem::path const& path, std::string const& header,
                 image::BaseImage const& image) {
    if (image.isStoredIn(getOutputFile(path))) {
        throw WorkFailure("cannot write " + quoted(path.string()) + ": it is the input");
    }
    Stream stream(path);
    stream.write(header.data(), header.size());
    image::BaseImageGeometry const& geometry = image.getGeometry();
    PageBuffer buffer(g_runSize);
    for (vlUInt64 number = 0; number < geometry.getNbPlans(); ++number) {
        writePlane(image, geometry.getPlanIndexes(number), buffer, stream);
    }
    stream.close();
}

} // namespace velmo::tool
