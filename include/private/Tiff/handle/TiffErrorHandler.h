// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <boost/thread/mutex.hpp>
#include <boost/thread/thread.hpp>
#include <cstdarg>
#include <map>
#include <string>

namespace velmo::image::file {

/// Protects the texts of TiffErrorHandler and its first use; constructed at load.
struct TiffHandlerMutex {
    static boost::mutex& get();
};

/// Stores libtiff's last message for each thread instead of printing it. libtiff's handlers belong to the
/// whole process: messages that other users of libtiff in the process cause are stored here too.
///
/// Nothing is stored before the first `getInstance`; libtiff prints the message of the first error of the
/// process. A message is not cleared automatically: if libtiff reports nothing for an error, the last message
/// of the thread is returned, however old. Thread-safe.
class TiffErrorHandler {
  public:
    static TiffErrorHandler& getInstance();

    /// Restores libtiff's former handlers.
    ~TiffErrorHandler();
    TiffErrorHandler(TiffErrorHandler const&) = delete;
    TiffErrorHandler& operator=(TiffErrorHandler const&) = delete;

    /// Clears the calling thread's message.
    void clearCurrentError();
    /// The calling thread's last message: "Tiff Error : " or "Tiff Warning : " and libtiff's text; empty if
    /// there is none.
    std::string getCurrentError() const;

  private:
    TiffErrorHandler() = default;
    static TiffErrorHandler& accessInstance();
    static void tiffErrorHandler(char const* module, char const* format, va_list args);
    static void tiffWarningHandler(char const* module, char const* format, va_list args);
    static void keep(char const* prefix, char const* format, va_list args);

    mutable std::map<boost::thread::id, std::string> _currentErrors;
};

/// libtiff's last message on the calling thread. Installs the handlers at its first use.
std::string lastTiffMessage();

} // namespace velmo::image::file
