// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "ImageBytes.h"

#include <VELMOImage/DiskImage.h>
#include <VELMOImage/ImageAccessor.h>
#include <boost/filesystem/path.hpp>
#include <chrono>
#include <functional>
#include <string>
#include <vector>

namespace velmo::test {

constexpr unsigned int g_nbThreads = 16;

/// Goes on for half a second, which sanitized runs take longer for, and at least for a few rounds.
class Rounds {
  public:
    bool goOn() { return ++_round <= g_fewest || (_round <= g_most && Clock::now() < _end); }

  private:
    using Clock = std::chrono::steady_clock;
    static constexpr unsigned int g_fewest = 3;
    static constexpr unsigned int g_most = 400;

    unsigned int _round = 0;
    Clock::time_point const _end = Clock::now() + std::chrono::milliseconds(500);
};

/// An image and what has to be in it.
struct Expected {
    std::string name;
    image::ImagePtr pImage;
    std::string pixels;
    vlUInt64 lastPart =
        0; ///< where the last of joined files begins, which is asked for planes beyond the end
};

/// One plane, another for each `choice`, or a part of it.
void expectPlane(Expected const& expected, unsigned int choice);

/// A call that fails, and the text that a thread gets which makes no other call meanwhile.
struct Failing {
    std::function<std::string()> call; ///< the text that it returned or threw
    std::string text;
};

/// Files in a folder whose names and pixels are those of one thread, in all formats, whole and broken.
class ThreadFiles {
  public:
    ThreadFiles(boost::filesystem::path const& folder, unsigned int thread);
    ThreadFiles(ThreadFiles const&) = delete;
    ThreadFiles& operator=(ThreadFiles const&) = delete;

    boost::filesystem::path at(std::string const& name) const { return _folder / (_prefix + name); }

    /// Opens each file with each function, compares all pixels and closes it.
    void expectPixels() const;
    /// Saves to files that are there already and compares.
    void expectSaves() const;
    /// Calls that raise a failure. All texts hold words or names of this thread's own.
    std::vector<Failing> const& getRaising() const { return _raising; }
    /// Calls that return one. In this order, again and again: where libtiff says nothing, what it said before
    /// stands in the text.
    std::vector<Failing> const& getFailing() const { return _failing; }

    /// Of a plane that no file has, another for each thread.
    std::string getReadFailure(image::BaseDiskImageAccessor const& accessor) const;

    image::DiskImagePtr openRaw() const;
    image::DiskImagePtr openIm6() const;
    image::DiskImagePtr openTiff() const;
    image::ImagePtr openJoined() const;
    std::string const& getPixels() const { return _pixels; }

  private:
    void writeFiles() const;
    BoolResult readWrongPlane(image::BaseDiskImageAccessor const& accessor) const;
    void makeRaising(unsigned int thread);
    void makeFailing(unsigned int thread);

    boost::filesystem::path const _folder;
    vlUInt64 const _wrongPlane;
    std::string const _prefix;
    image::ImageGeometryPtr const _pGeometry;
    std::string const _pixels;
    std::vector<Failing> _raising;
    std::vector<Failing> _failing;
};

} // namespace velmo::test
