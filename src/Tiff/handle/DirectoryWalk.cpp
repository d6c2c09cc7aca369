// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/handle/DirectoryWalk.h"

#include "Tiff/handle/DirectoryChain.h"
#include "Tiff/handle/TiffStream.h"
#include "Tiff/handle/TiffTags.h"

namespace velmo::image::file {

// libtiff reads a broken chain, because it reports where the chain is broken.
DirectoryWalk::DirectoryWalk(TIFF* pTiff)
    : _pTiff(pTiff), _pStream(TiffStream::find(pTiff)), _offset(TIFFCurrentDirOffset(pTiff)) {
    if (_pStream != nullptr && _pStream->accessChain().isBroken(pTiff, *_pStream)) {
        _pStream = nullptr;
    }
    if (_pStream != nullptr) {
        _fileSize = _pStream->getSize();
    }
}

bool DirectoryWalk::next() {
    if (_pStream == nullptr) {
        bool const bRead = TIFFReadDirectory(_pTiff) == 1;
        _offset = bRead ? TIFFCurrentDirOffset(_pTiff) : _offset;
        return bRead;
    }
    DirectoryChain& chain = _pStream->accessChain();
    ++_index;
    if (_index >= chain.count(_pTiff, *_pStream)) {
        return false;
    }
    auto const shape = chain.findShape(_index);
    auto const found = shape ? _models.find(*shape) : _models.end();
    bool const bAlike =
        found != _models.end() && chain.hasValidStrips(_pTiff, *_pStream, _index, found->second.index,
                                                       found->second.bCompressed, _fileSize);
    _model = bAlike ? std::optional(found->second.index) : std::nullopt;
    if (!bAlike && !readNext()) {
        return false;
    }
    _offset = *chain.find(_pTiff, *_pStream, _index);
    return true;
}

bool DirectoryWalk::readNext() {
    _nbMessages = _pStream->countMessages();
    DirectoryChain& chain = _pStream->accessChain();
    bool const bBehindCurrent = chain.findIndex(TIFFCurrentDirOffset(_pTiff)) == _index - 1;
    return (bBehindCurrent ? TIFFReadDirectory(_pTiff)
                           : TIFFSetSubDirectory(_pTiff, *chain.find(_pTiff, *_pStream, _index))) == 1;
}

void DirectoryWalk::accept() {
    auto const shape = _pStream == nullptr ? std::nullopt : _pStream->accessChain().findShape(_index);
    if (shape && _pStream->countMessages() == _nbMessages) {
        _models[*shape] = {_index, getCompression(_pTiff) != COMPRESSION_NONE};
    }
}

} // namespace velmo::image::file
