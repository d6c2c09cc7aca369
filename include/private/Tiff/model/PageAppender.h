// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "Tiff/model/DirectoryPattern.h"

#include <map>

namespace velmo::image::file {

/// Appends pages to a new file without libtiff, byte for byte as libtiff would. Pages of one kind have the
/// same values (see `DirectoryPattern`). libtiff writes the first page of the file and the first two pages of
/// each kind; only if these have the same pattern, the others are derived from them.
///
/// Pages are collected and written together. If they cannot be written, the file is cut to the last `flush`,
/// and libtiff must write these and all further pages, because it reports errors.
class PageAppender {
  public:
    /// During its lifetime libtiff writes all pages of new files of this thread. Tests compare both ways.
    class Disabled {
      public:
        Disabled();
        ~Disabled();
        Disabled(Disabled const&) = delete;
        Disabled& operator=(Disabled const&) = delete;
    };

    /// `nbPages`: number of pages that the file will have.
    PageAppender(TIFF* pTiff, vlUInt64 nbPages);

    /// False if libtiff writes all pages: in a file of few pages, and after a failure.
    bool isEnabled() const { return _bEnabled; }
    /// Appends a page and returns the offset of its strips. Empty if libtiff must write it, after a `flush`.
    std::optional<vlUInt64> append(vlUInt64 kind, PageLabel const& label);
    /// Whether enough pages were collected for a `flush`.
    bool isFlushDue() const;
    /// Writes the collected pages. After a failure it returns false, and the file does not contain them.
    bool flush();

    /// Before libtiff writes a page, after it has written its strips, and after it has written its directory.
    /// `bZeros`: its strips contain zeros.
    void beginPage();
    void endStrips();
    void endPage(vlUInt64 kind, PageLabel const& label, bool bZeros);

  private:
    struct Learned {
        DirectoryPattern pattern;
        vlUInt64 index; ///< of a page with this pattern
        bool bConfirmed;
    };

    bool writeBuffer();
    bool addZeros(vlUInt64 nbBytes);
    void link(vlUInt64 directory);
    bool writeLink(vlUInt64 place, vlUInt64 directory);

    TIFF* _pTiff;
    TiffStream& _stream;
    bool _bEnabled;
    std::map<vlUInt64, Learned> _learned; ///< by kind
    vlUInt64 _index = 0;                  ///< of the next page
    PageExtent _extent{};                 ///< of the page that libtiff writes
    vlUInt64 _lastLink = 0;               ///< offset of the link of the last page; 0 if it is not known

    bool _bCollecting = false; ///< whether pages were appended after the last page of libtiff
    bool _bFailed = false;
    vlUInt64 _flushed = 0;     ///< end of the file at the last flush
    vlUInt64 _flushedLink = 0; ///< `_lastLink` at the last flush
    vlUInt64 _bufferStart = 0; ///< offset of the buffer in the file
    std::string _buffer;
    vlUInt64 _outerLink = 0; ///< offset of a link before the buffer that will lead to the buffer; or 0
    vlUInt64 _outerTarget = 0;
};

} // namespace velmo::image::file
