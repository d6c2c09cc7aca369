// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "CliFixture.h"
#include "TiffSample.h"

#include <sys/stat.h>
#include <thread>

namespace velmo::test {

constexpr unsigned long g_gibibyte = 1UL << 30;

/// Work that does not end before the test ends it, and what it has written so far.
class StreamingFixture : public CliTest {
  protected:
    /// A raw file "in.raw" of zeros, more than any machine reads in the time of a test.
    std::string createEndless() const { return createSparse("in.raw", 1UL << 41); }
    static Arguments rawVolume() { return raw("131072,1024,16384", "uint8"); }
    static Arguments rawPlane() { return raw("2097152,1048576", "uint8"); }

    /// The same for what compresses it: more than any machine compresses. A TIFF output for it is soon laid
    /// out.
    std::string createEndlessToCompress() const { return createSparse("in.raw", 1UL << 36); }
    static Arguments rawVolumeToCompress() { return raw("131072,8192,64", "uint8"); }

    /// A folder "s" of TIFF files of 6 GiB, all the same. Ten are more than any machine compresses in the
    /// time of a test, thousands more than it opens.
    void createEndlessSeries(int nbFiles) const {
        constexpr std::uint32_t nbPlanes = 100;
        create("volume", makeSharedStripTiff(nbPlanes));
        link("../volume", nbFiles);
    }

    void link(std::string const& target, int nbFiles) const {
        boost::filesystem::create_directory(_folder / "s");
        for (int number = 0; number < nbFiles; ++number) {
            boost::filesystem::create_symlink(target,
                                              _folder / "s" / ("a" + std::to_string(number) + ".tif"));
        }
    }

    /// Until the tool has read pixels for longer than the second after which it draws a bar. Any machine may
    /// take longer.
    static bool waitForLongWork(pid_t pid) {
        bool const bBegun = waitForReads(pid);
        std::this_thread::sleep_for(std::chrono::milliseconds(1200));
        return bBegun && waitForReads(pid);
    }

    /// Bytes on the disk of the file that is neither the input nor the output.
    unsigned long getTemporarySize() const {
        for (std::string const& name : list()) {
            struct stat state = {};
            if (name.find(".velmo-image-") == 0 && stat(path(name).c_str(), &state) == 0) {
                return static_cast<unsigned long>(state.st_blocks) * 512;
            }
        }
        return 0;
    }

    /// Until the tool has written pixels.
    bool waitForPixels() const {
        return waitUntil([this] { return getTemporarySize() > (1UL << 20); });
    }

    /// Until the tool has read a few planes more.
    static bool waitForReads(pid_t pid) {
        unsigned long const begin = countReadBytes(pid);
        return waitUntil([&] { return countReadBytes(pid) > begin + (1UL << 27); });
    }

    /// Asks for the size first: a wrong output is too large to be shown.
    void expectOutput(std::string const& bytes) const {
        ASSERT_EQ(bytes.size(), boost::filesystem::file_size(_folder / "out.raw"));
        EXPECT_EQ(bytes, read("out.raw"));
    }
};

} // namespace velmo::test
