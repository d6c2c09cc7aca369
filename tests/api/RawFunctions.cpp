// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "RawFunctions.h"

#include <VELMOImageFile/VELMOImageFileException.h>
#include <VELMOUtil/Logging.h>
#include <algorithm>
#include <boost/filesystem/operations.hpp>
#include <thread>

namespace velmo {
namespace test {

namespace fs = boost::filesystem;
using namespace image;
using namespace image::file;

namespace {

void expectLogged(BaseException const& exception, std::vector<CapturedLog::Record> const& records) {
    ASSERT_EQ(records.size(), 1U);
    EXPECT_EQ(records[0].logger, getVELMOImageFileLoggerName());
    EXPECT_EQ(records[0].level, log4cplus::ERROR_LOG_LEVEL);
    EXPECT_EQ(records[0].message, exception.what());
    EXPECT_EQ(records[0].file, exception.getFile());
    EXPECT_EQ(records[0].line, static_cast<int>(exception.getLine()));
}

} // namespace

std::optional<Raised> expectRaised(Action const& action) {
    CapturedLog const log(getBaseLogger());
    try {
        action();
    } catch (VELMOImageFileException const& exception) {
        EXPECT_TRUE(typeid(exception) == typeid(VELMOImageFileException));
        EXPECT_EQ(exception.getFile(), "src/Raw/RawImageFileUtils.cpp");
        expectLogged(exception, log.getRecords());
        return Raised{exception.what(), exception.getFunction()};
    }
    ADD_FAILURE() << "nothing was raised";
    return std::nullopt;
}

void expectRaisedText(Action const& action, std::string const& text) {
    auto const raised = expectRaised(action);
    EXPECT_EQ(raised ? raised->text : std::string(), text);
}

std::string quoted(fs::path const& path) {
    std::string text = "\"";
    for (char const character : path.string()) {
        text +=
            character == '"' || character == '&' ? std::string("&") + character : std::string(1, character);
    }
    return text + '"';
}

std::string loadError(fs::path const& path, std::string const& lower) {
    return "Error while loading raw image file " + quoted(path) + '\n' + lower;
}

std::string saveError(fs::path const& path, std::string const& lower) {
    return "Error while saving raw image file " + quoted(path) + '\n' + lower;
}

int countOpen(fs::path const& path) {
    int nbOpen = 0;
    for (fs::directory_entry const& entry : fs::directory_iterator("/proc/self/fd")) {
        boost::system::error_code ignored; // the iterator's own descriptor is gone by now
        nbOpen += fs::read_symlink(entry.path(), ignored) == path ? 1 : 0;
    }
    return nbOpen;
}

ReplacedEngine::ReplacedEngine(DistributionEnginePtr const& pEngine) {
    ImageFactory::getInstance().setDistributionEngine(pEngine);
}

ReplacedEngine::~ReplacedEngine() {
    ImageFactory::getInstance().setDistributionEngine(
        createThreadDistributionEngine(std::max(1U, std::thread::hardware_concurrency())));
}

RawFunctions::RawFunctions()
    : _path(fs::canonical(_folder.getPath()) / "image.raw"), _pGeometry(makeSequence(eIBT_UInt16)),
      _pixels(makePixels(*_pGeometry)),
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

} // namespace test
} // namespace velmo
