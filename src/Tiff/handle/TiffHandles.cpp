// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/handle/TiffHandles.h"

#include "Tiff/handle/TiffStream.h"

#include <algorithm>
#include <new>
#include <tiffio.h>
#include <utility>

namespace velmo::image::file {

TiffHandles::TiffHandles() {
    _idle.push_back(std::make_unique<Entry>(nullptr));
}

void TiffHandles::open(TIFF* pTiff, eUse use) {
    std::unique_ptr<TIFF, void (*)(TIFF*)> pOwned(pTiff, TIFFClose);
    close();
    TiffStream* const pStream = use == eUse::SeveralAtATime ? TiffStream::find(pTiff) : nullptr;
    if (pStream != nullptr) {
        pStream->accessChain().count(pTiff, *pStream); // from now on it does not change
        _pFile = pStream->getFile();
    }
    _idle.front()->pTiff = pOwned.release();
    _bClosed = false;
}

void TiffHandles::close() {
    _idle.resize(1);
    _idle.front()->close();
    _pFile.reset();
    _bClosed = true;
}

void TiffHandles::Entry::close() {
    if (pTiff != nullptr) {
        TIFFClose(std::exchange(pTiff, nullptr));
    }
}

/// A new handle is opened while the lock is held: this needs one read, and threads that wait for it need a
/// handle too.
std::unique_ptr<TiffHandles::Entry> TiffHandles::take() {
    std::unique_lock<std::mutex> lock(_mutex);
    std::unique_ptr<Entry> pEntry = takeIdle();
    if (!pEntry && _pFile && !_bClosed) {
        pEntry = openAgain();
    }
    while (!pEntry) {
        _givenBack.wait(lock);
        pEntry = takeIdle();
    }
    if (_bClosed) {
        pEntry->close();
    }
    pEntry->user = std::this_thread::get_id();
    ++_nbLent;
    return pEntry;
}

/// The idle handle that this thread used last, because it has the directory and the strip of that access;
/// otherwise the one that was not used for the longest time.
std::unique_ptr<TiffHandles::Entry> TiffHandles::takeIdle() {
    if (_idle.empty()) {
        return nullptr;
    }
    auto const user = std::this_thread::get_id();
    auto found =
        std::find_if(_idle.rbegin(), _idle.rend(), [&](auto const& pEntry) { return pEntry->user == user; });
    auto const taken = found != _idle.rend() ? std::prev(found.base()) : _idle.begin();
    std::unique_ptr<Entry> pEntry = std::move(*taken);
    _idle.erase(taken);
    return pEntry;
}

/// Null if the system has no memory for another handle, or for all of its tags.
std::unique_ptr<TiffHandles::Entry> TiffHandles::openAgain() {
    try {
        _idle.reserve(_nbLent + 1); // `giveBack` must not fail
        auto pEntry = std::make_unique<Entry>(nullptr);
        pEntry->pTiff = TiffStream::openAgain(_pFile);
        bool const bWhole = pEntry->pTiff != nullptr && !TiffStream::find(pEntry->pTiff)->getMissedError();
        return bWhole ? std::move(pEntry) : nullptr;
    } catch (std::bad_alloc const&) {
        return nullptr;
    }
}

void TiffHandles::giveBack(std::unique_ptr<Entry> pEntry) {
    {
        std::lock_guard<std::mutex> const lock(_mutex);
        _bClosed = _bClosed || pEntry->pTiff == nullptr;
        _idle.push_back(std::move(pEntry));
        --_nbLent;
    }
    _givenBack.notify_one();
}

} // namespace velmo::image::file
