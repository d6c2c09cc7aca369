// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <chrono>

namespace velmo {

/// Measures elapsed time.
class Chrono {
  public:
    /// Starts the measurement; a second call restarts it.
    void start() { _start = std::chrono::steady_clock::now(); }
    /// Seconds since `start`.
    double getElapsed() const {
        return std::chrono::duration<double>(std::chrono::steady_clock::now() - _start).count();
    }

  private:
    std::chrono::steady_clock::time_point _start;
};

} // namespace velmo
