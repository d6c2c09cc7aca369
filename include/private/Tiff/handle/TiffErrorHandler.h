// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <boost/thread/mutex.hpp>
#include <boost/thread/thread.hpp>
#include <cstdarg>
#include <map>
#include <string>

namespace velmo::image::file {

/// Guards the texts of TiffErrorHandler and its first use; built at load.
struct TiffHandlerMutex {
    static boost::mutex& get();
};

/// What libtiff says last, for each thread, in place of its output to the console. libtiff's handlers are the
/// process's: what another user of libtiff in the process provokes is kept here as well.
///
/// Nothing is captured before the first `getInstance`, so what libtiff says of a process's first failure goes
/// to its default output. A text is never reset by itself: a failure of which libtiff says nothing shows the
/// thread's last text, however old. Safe from any thread.
class TiffErrorHandler {
  public:
    static TiffErrorHandler& getInstance();

    /// Gives libtiff its handlers back.
    ~TiffErrorHandler();
    TiffErrorHandler(TiffErrorHandler const&) = delete;
    TiffErrorHandler& operator=(TiffErrorHandler const&) = delete;

    /// Empties the calling thread's text.
    void clearCurrentError();
    /// The calling thread's last text, "Tiff Error : " or "Tiff Warning : " and libtiff's words; empty for a
    /// thread of which libtiff said nothing.
    std::string getCurrentError() const;

  private:
    TiffErrorHandler() = default;
    static TiffErrorHandler& accessInstance();
    static void tiffErrorHandler(char const* module, char const* format, va_list args);
    static void tiffWarningHandler(char const* module, char const* format, va_list args);
    static void keep(char const* prefix, char const* format, va_list args);

    mutable std::map<boost::thread::id, std::string> _currentErrors;
};

/// libtiff's last words on the calling thread.
std::string lastTiffMessage();

} // namespace velmo::image::file
