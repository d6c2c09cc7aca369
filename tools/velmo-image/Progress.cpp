// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Progress.h"

#include <algorithm>
#include <cstdio>
#include <string>
#include <unistd.h>

namespace velmo {
namespace tool {

namespace {

constexpr auto g_delay = std::chrono::seconds(1);
constexpr auto g_interval = std::chrono::milliseconds(100);
constexpr int g_barWidth = 40;

} // namespace

Progress::Progress(vlUInt64 nbPixels, bool bQuiet)
    : _nbPixels(std::max<vlUInt64>(1, nbPixels)), _bEnabled(!bQuiet && isatty(STDERR_FILENO) == 1),
      _nextDrawing(Clock::now() + g_delay) {}

Progress::~Progress() {
    if (_bDrawn) {
        std::fputs("\r\x1b[K", stderr);
    }
}

void Progress::add(vlUInt64 nbPixels) {
    if (!_bEnabled) {
        return;
    }
    std::lock_guard<std::mutex> const lock(_mutex);
    _nbDone += nbPixels;
    if (Clock::now() >= _nextDrawing) {
        draw();
        _bDrawn = true;
        _nextDrawing = Clock::now() + g_interval;
    }
}

void Progress::draw() const {
    double const share = std::min(1.0, static_cast<double>(_nbDone) / static_cast<double>(_nbPixels));
    auto const filled = static_cast<std::size_t>(share * g_barWidth);
    std::string const bar = std::string(filled, '=') + std::string(g_barWidth - filled, ' ');
    std::fprintf(stderr, "\r[%s] %3d %%", bar.c_str(), static_cast<int>(share * 100));
}

} // namespace tool
} // namespace velmo
