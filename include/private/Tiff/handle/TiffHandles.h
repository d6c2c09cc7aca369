// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOUtil/Types.h>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

using TIFF = struct tiff;

namespace velmo::image::file {

struct TiffFile;

/// The handles of an open file. A thread borrows a handle for each access. Thread-safe except for `open` and
/// `close`.
///
/// A file has one handle, for which threads wait, or one for each thread that accesses it at the same time.
/// All handles share the descriptor and the directories. If an access closes its handle because of an error,
/// all later accesses get a null handle.
class TiffHandles {
    struct Entry {
        explicit Entry(TIFF* pGiven) : pTiff(pGiven) {}
        ~Entry() { close(); }
        Entry(Entry const&) = delete;
        Entry& operator=(Entry const&) = delete;
        void close();

        TIFF* pTiff;
        std::thread::id user; ///< the last one
    };

  public:
    /// Handles that several threads use at the same time are for reading only.
    enum class eUse { OneAtATime, SeveralAtATime };

    /// No file is open.
    TiffHandles();
    TiffHandles(TiffHandles const&) = delete;
    TiffHandles& operator=(TiffHandles const&) = delete;

    /// Closes all handles and takes the ownership of another one, also if it throws. No handle may be on
    /// loan.
    void open(TIFF* pTiff, eUse use);
    /// Closes all handles. No handle may be on loan.
    void close();

    /// A handle until the end of the scope.
    class Loan {
      public:
        explicit Loan(TiffHandles& handles) : _handles(handles), _pEntry(handles.take()) {}
        ~Loan() { _handles.giveBack(std::move(_pEntry)); }
        Loan(Loan const&) = delete;
        Loan& operator=(Loan const&) = delete;

        /// The handle. The borrower sets it to null if it closes it.
        TIFF*& access() { return _pEntry->pTiff; }

      private:
        TiffHandles& _handles;
        std::unique_ptr<Entry> _pEntry;
    };

  private:
    std::unique_ptr<Entry> take();
    std::unique_ptr<Entry> takeIdle();
    std::unique_ptr<Entry> openAgain();
    void giveBack(std::unique_ptr<Entry> pEntry);

    std::mutex _mutex;
    std::condition_variable _givenBack;
    std::vector<std::unique_ptr<Entry>> _idle; ///< the last one was used last
    vlUInt64 _nbLent = 0;
    bool _bClosed = true;             ///< after an error, and without a file
    std::shared_ptr<TiffFile> _pFile; ///< null if threads wait for the only handle
};

} // namespace velmo::image::file
