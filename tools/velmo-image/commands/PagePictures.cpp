// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/PagePictures.h"

#include "terminal/Interrupt.h"

namespace velmo::tool {

PictureLayout PagePictures::getLayout(PlaneRun const& run) const {
    return layOutRun(_image.getGeometry(), _display, run, 1, _maxSize);
}

std::shared_ptr<Picture const> PagePictures::compose(PlaneRun const& run) {
    constexpr vlUInt64 mostKeptBytes = vlUInt64{64} << 20;
    constexpr vlUInt64 bytesOfEntry = 256;
    throwIfInterrupted();
    Key const key = {run.firstZ, run.channels.front(), run.t};
    auto const kept = _kept.find(key);
    if (kept != _kept.end()) {
        return kept->second;
    }
    std::shared_ptr<Picture const> pPicture =
        std::make_shared<Picture const>(composePicture(_image, _display, run, getLayout(run)));
    vlUInt64 const nbBytes = pPicture->values.size() * sizeof(double) + bytesOfEntry;
    if (_nbKeptBytes + nbBytes <= mostKeptBytes) {
        _nbKeptBytes += nbBytes;
        _kept.emplace(key, pPicture);
    }
    return pPicture;
}

} // namespace velmo::tool
