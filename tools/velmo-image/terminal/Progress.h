// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOUtil/Types.h>
#include <chrono>
#include <functional>
#include <mutex>

namespace velmo::tool {

/// A bar on standard error for work that lasts longer than a second, drawn only on a terminal that can erase
/// a line, as wide as that has room for. Its line is removed at the end of its life. Any thread may count.
class Progress {
  public:
    Progress(vlUInt64 nbPixels, bool bQuiet);
    ~Progress();
    Progress(Progress const&) = delete;
    Progress& operator=(Progress const&) = delete;

    void add(vlUInt64 nbPixels);
    /// Removes the line, and calls `print`, which writes to the terminal. The bar is not drawn meanwhile.
    void pauseFor(std::function<void()> const& print);

  private:
    using Clock = std::chrono::steady_clock;

    void draw() const;
    void erase();

    vlUInt64 const _nbPixels;
    bool const _bEnabled;
    std::mutex _mutex;
    vlUInt64 _nbDone = 0;
    Clock::time_point _nextDrawing;
    bool _bDrawn = false;
};

} // namespace velmo::tool
