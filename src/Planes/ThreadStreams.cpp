// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Planes/ThreadStreams.h"

#include <VELMOBase/FileKind.h>
#include <boost/make_shared.hpp>
#include <boost/thread/lock_guard.hpp>
#include <cerrno>

namespace velmo::image::file {

namespace {

FStreamPtr open(boost::filesystem::path const& path, std::ios::openmode mode) {
    auto pStream = boost::make_shared<std::fstream>();
    if (std::error_code const error = getSeekError(path)) {
        pStream->setstate(std::ios::failbit);
        errno = error.value();
        return pStream;
    }
    pStream->rdbuf()->pubsetbuf(nullptr, 0); // has no effect after the opening
    pStream->open(path.string(), mode | std::ios::binary);
    return pStream;
}

} // namespace

FStreamPtr openStream(boost::filesystem::path const& path, eImageAccessMode const& accessMode) {
    return open(path, accessMode == eIAM_ReadOnly ? std::ios::in : std::ios::in | std::ios::out);
}

FStreamPtr createStream(boost::filesystem::path const& path) {
    return open(path, std::ios::out);
}

FStreamPtr ThreadStreams::find(boost::filesystem::path const& path, eImageAccessMode const& accessMode) {
    boost::lock_guard<boost::mutex> const lock(_streamsMutex);
    auto const found = _threadStreams.find(boost::this_thread::get_id());
    if (found != _threadStreams.end()) {
        return found->second;
    }
    FStreamPtr pStream = openStream(path, accessMode);
    if (!pStream->good()) {
        return FStreamPtr();
    }
    insert(pStream);
    return pStream;
}

void ThreadStreams::insert(FStreamPtr const& pStream) {
    _threadStreams[boost::this_thread::get_id()] = pStream;
}

void ThreadStreams::closeAll() {
    int firstError = 0;
    for (auto const& [thread, pStream] : _threadStreams) {
        errno = 0;
        if (pStream->rdbuf()->close() == nullptr) {
            firstError = firstError == 0 ? errno : firstError;
            pStream->setstate(std::ios::failbit);
        }
    }
    _threadStreams.clear();
    errno = firstError;
}

} // namespace velmo::image::file
