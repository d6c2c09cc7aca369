// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "RawFunctions.h"

#include <boost/filesystem/operations.hpp>

namespace velmo::test {

namespace fs = boost::filesystem;
using namespace image;
using namespace image::file;

std::optional<Raised> expectRaised(Action const& action) {
    return expectRaisedFrom("src/Raw/RawImageFileUtils.cpp", action);
}

void expectRaisedText(Action const& action, std::string const& text) {
    auto const raised = expectRaised(action);
    EXPECT_EQ(raised ? raised->text : std::string(), text);
}

std::string loadError(fs::path const& path, std::string const& lower) {
    return "Error while loading raw image file " + quoted(path) + '\n' + lower;
}

std::string saveError(fs::path const& path, std::string const& lower) {
    return "Error while saving raw image file " + quoted(path) + '\n' + lower;
}

RawFunctions::RawFunctions()
    : _path(fs::canonical(_folder.getPath()) / "image.raw"), _saved(_path.parent_path() / "saved.raw"),
      _pGeometry(makeSequence(eIBT_UInt16)), _pixels(makePixels(*_pGeometry)),
      _pModel(makeDistributedImage(*makeSequence(eIBT_UInt8), std::string(48, '\0'))) {
    writeFile(_path, _pixels);
}

std::vector<RawFunctions::Load> RawFunctions::getLoads() const {
    using Path = fs::path;
    return {
        {"open",
         [this](Path const& path, vlUInt64 start) { return openRawImageFile(path, *_pGeometry, start); }},
        {"load into a target",
         [this](Path const& path, vlUInt64 start) {
             ImagePtr pImage = makeMemoryImage(*_pGeometry, std::string(_pixels.size(), '\0'));
             loadRawImageFile(path, *_pGeometry, pImage, start);
             return pImage;
         }},
        {"load",
         [this](Path const& path, vlUInt64 start) { return loadRawImageFile(path, *_pGeometry, start); }},
        {"distributed, default",
         [this](Path const& path, vlUInt64 start) {
             return loadDistributedRawImageFile(path, *_pGeometry, start, true);
         }},
        {"distributed, local",
         [this](Path const& path, vlUInt64 start) {
             return loadDistributedRawImageFile(path, *_pGeometry, start, false);
         }},
        {"model, default",
         [this](Path const& path, vlUInt64 start) {
             return loadDistributedRawImageFile(path, *_pModel, eIBT_UInt16, start, true);
         }},
        {"model, local",
         [this](Path const& path, vlUInt64 start) {
             return loadDistributedRawImageFile(path, *_pModel, eIBT_UInt16, start, false);
         }},
    };
}

} // namespace velmo::test
