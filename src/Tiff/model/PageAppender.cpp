// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/model/PageAppender.h"

#include "Tiff/handle/DirectoryChain.h"
#include "Tiff/handle/DirectoryLayout.h"
#include "Tiff/handle/TiffStream.h"

namespace velmo::image::file {

namespace {

/// With fewer pages there is nothing to derive.
constexpr vlUInt64 g_fewPages = 3;
/// libtiff does not write many more pages.
constexpr vlUInt64 g_mostPages = 1000000;
/// Leaves room for a directory.
constexpr vlUInt64 g_largestClassicOffset = 0xFF000000;
/// The file system provides longer zeros faster than a write.
constexpr vlUInt64 g_longZeros = 32768;
constexpr vlUInt64 g_bufferSize = vlUInt64{1} << 18;
constexpr vlUInt64 g_flushDistance = vlUInt64{1} << 24;

thread_local int g_nbDisabled = 0;

} // namespace

PageAppender::Disabled::Disabled() {
    ++g_nbDisabled;
}

PageAppender::Disabled::~Disabled() {
    --g_nbDisabled;
}

PageAppender::PageAppender(TIFF* pTiff, vlUInt64 nbPages)
    : _pTiff(pTiff), _stream(*TiffStream::find(pTiff)),
      _bEnabled(g_nbDisabled == 0 && nbPages > g_fewPages && nbPages <= g_mostPages) {}

void PageAppender::beginPage() {
    _extent.strips = _bEnabled ? _stream.getSize() : 0;
}

void PageAppender::endStrips() {
    _extent.stripsEnd = _bEnabled ? _stream.getSize() : 0;
}

void PageAppender::endPage(vlUInt64 kind, PageLabel const& label, bool bZeros) {
    vlUInt64 const index = _index++;
    _bCollecting = false;
    _lastLink = 0;
    if (!_bEnabled) {
        return;
    }
    DirectoryChain& chain = _stream.accessChain();
    _stream.discardReadAhead();
    _extent.directory = chain.findAppended(_pTiff, _stream, index).value_or(0);
    _extent.end = _stream.getSize();
    auto pattern = DirectoryPattern::read(_pTiff, _stream, _extent, label, bZeros);
    if (index == 0 || !pattern) {
        return;
    }
    _lastLink = _extent.directory + pattern->getLinkPlace();
    auto const found = _learned.find(kind);
    bool const bSame = found != _learned.end() && found->second.pattern == *pattern &&
                       chain.findShape(found->second.index) == chain.findShape(index);
    _learned.insert_or_assign(kind, Learned{std::move(*pattern), index, bSame});
}

std::optional<vlUInt64> PageAppender::append(vlUInt64 kind, PageLabel const& label) {
    auto const found = _bEnabled && _lastLink != 0 ? _learned.find(kind) : _learned.end();
    if (found == _learned.end() || !found->second.bConfirmed) {
        return std::nullopt;
    }
    DirectoryPattern const& pattern = found->second.pattern;
    if (!_bCollecting) {
        _bCollecting = true;
        _bufferStart = _extent.end;
        _flushed = _extent.end;
        _flushedLink = _lastLink;
    }
    vlUInt64 const strips = _bufferStart + _buffer.size();
    if (TIFFIsBigTIFF(_pTiff) == 0 && strips + pattern.getStripsSize() > g_largestClassicOffset) {
        return std::nullopt;
    }
    if (!pattern.hasZeros()) {
        _buffer += pattern.getStrips();
    } else if (!addZeros(pattern.getStripsSize())) {
        _bFailed = true;
        return strips;
    }
    _buffer.append((_bufferStart + _buffer.size()) % 2, '\0');
    vlUInt64 const directory = _bufferStart + _buffer.size();
    link(directory);
    _lastLink = directory + pattern.getLinkPlace();
    _stream.accessChain().append(pattern.appendDirectory(strips, directory, label, _buffer),
                                 found->second.index);
    ++_index;
    return strips;
}

bool PageAppender::addZeros(vlUInt64 nbBytes) {
    if (nbBytes <= g_longZeros) {
        _buffer.append(nbBytes, '\0');
        return true;
    }
    if (!writeBuffer() || !_stream.extendByZeros(_bufferStart, nbBytes)) {
        return false;
    }
    _bufferStart += nbBytes;
    return true;
}

/// Sets the link of the last page.
void PageAppender::link(vlUInt64 directory) {
    if (_lastLink >= _bufferStart) {
        storeOffset(_pTiff, directory, _buffer.data() + (_lastLink - _bufferStart));
    } else {
        _outerLink = _lastLink;
        _outerTarget = directory;
    }
}

bool PageAppender::isFlushDue() const {
    return _bFailed || _buffer.size() >= g_bufferSize || _bufferStart - _flushed >= g_flushDistance;
}

/// Writes the buffer, then the link that leads to it, so that the chain of the file is always complete.
bool PageAppender::writeBuffer() {
    bool bWritten = _stream.writeAt(_bufferStart, _buffer.data(), _buffer.size()) == _buffer.size();
    _bufferStart += _buffer.size();
    _buffer.clear();
    if (bWritten && _outerLink != 0) {
        bWritten = writeLink(_outerLink, _outerTarget);
        _outerLink = 0;
    }
    return bWritten;
}

bool PageAppender::flush() {
    if (!_bCollecting) {
        return true;
    }
    bool const bWritten = !_bFailed && writeBuffer();
    if (!bWritten) {
        _stream.cut(_flushed);
        writeLink(_flushedLink, 0);
        _stream.accessChain().invalidate();
        _bEnabled = false;
        _bCollecting = false;
    }
    _flushed = _bufferStart;
    _flushedLink = _lastLink;
    return bWritten;
}

bool PageAppender::writeLink(vlUInt64 place, vlUInt64 directory) {
    char bytes[sizeof(directory)];
    storeOffset(_pTiff, directory, bytes);
    vlUInt64 const size = getDirectoryLayout(_pTiff).linkSize;
    return _stream.writeAt(place, bytes, size) == size;
}

} // namespace velmo::image::file
