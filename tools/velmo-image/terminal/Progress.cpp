// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "terminal/Progress.h"

#include "terminal/Interrupt.h"
#include "terminal/Terminal.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <unistd.h>

namespace velmo::tool {

namespace {

constexpr auto g_delay = std::chrono::seconds(1);
constexpr auto g_interval = std::chrono::milliseconds(100);
constexpr std::size_t g_longestBar = 40;
constexpr std::size_t g_shortestBar = 5;

/// Whether there is a terminal that can erase a line.
bool canDraw() {
    char const* const pType = std::getenv("TERM");
    return isatty(STDERR_FILENO) == 1 && pType != nullptr && std::string(pType) != "dumb";
}

/// A bar with the share in percent that leaves the last column free, since some terminals go to the next line
/// from there; without room for a bar the share alone, and without room for that nothing.
std::string composeLine(double share, std::size_t nbColumns) {
    std::string percent = std::to_string(static_cast<int>(share * 100)) + " %";
    percent.insert(0, 5 - std::min<std::size_t>(5, percent.size()), ' ');
    if (nbColumns <= percent.size()) {
        return {};
    }
    std::size_t const nbFree = nbColumns - 1 - percent.size();
    if (nbFree < g_shortestBar + 3) {
        return percent;
    }
    std::size_t const length = std::min(g_longestBar, nbFree - 3);
    auto const nbFilled = static_cast<std::size_t>(share * static_cast<double>(length));
    return '[' + std::string(nbFilled, '=') + std::string(length - nbFilled, ' ') + "] " + percent;
}

} // namespace

Progress::Progress(vlUInt64 nbPixels, bool bQuiet)
    : _nbPixels(std::max<vlUInt64>(1, nbPixels)), _bEnabled(!bQuiet && canDraw()),
      _nextDrawing(Clock::now() + g_delay) {}

Progress::~Progress() {
    erase();
}

void Progress::erase() {
    if (_bDrawn) {
        std::fputs("\r\x1b[K", stderr);
        _bDrawn = false;
        setBarDrawn(false);
    }
}

void Progress::pauseFor(std::function<void()> const& print) {
    std::lock_guard<std::mutex> const lock(_mutex);
    erase();
    print();
}

void Progress::add(vlUInt64 nbPixels) {
    if (!_bEnabled) {
        return;
    }
    std::lock_guard<std::mutex> const lock(_mutex);
    _nbDone += nbPixels;
    if (Clock::now() >= _nextDrawing) {
        setBarDrawn(true);
        draw();
        _bDrawn = true;
        _nextDrawing = Clock::now() + g_interval;
    }
}

void Progress::draw() const {
    double const share = std::min(1.0, static_cast<double>(_nbDone) / static_cast<double>(_nbPixels));
    std::fputs(("\r" + composeLine(share, findColumns(STDERR_FILENO).value_or(0)) + "\x1b[K").c_str(),
               stderr);
}

} // namespace velmo::tool
