// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Sandbox.h"

#include <VELMOImageFile/TiffImageFile.h>
#include <VELMOUtil/Logging.h>
#include <boost/filesystem/operations.hpp>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sys/resource.h>
#include <tiffio.h>

namespace velmo::fuzz {

namespace fs = boost::filesystem;

namespace {

constexpr rlim_t g_largestFile = 64U << 20U;

void limitFiles() {
    rlimit limit = {};
    getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = g_largestFile;
    setrlimit(RLIMIT_FSIZE, &limit);
    std::signal(SIGXFSZ, SIG_IGN);
}

/// Silences libtiff. The library captures libtiff's messages from the first error on. This function causes
/// that error, so that every error of an input has the same message.
void silenceTiff() {
    TIFFSetErrorHandler(nullptr);
    TIFFSetWarningHandler(nullptr);
    std::string userProperties;
    static_cast<void>(image::file::TiffImageFile().openFile(
        {}, image::eIAM_ReadOnly, image::file::eTDM_Volume, image::file::eTBM_Default, userProperties));
}

} // namespace

Sandbox& Sandbox::get() {
    static Sandbox sandbox;
    return sandbox;
}

Sandbox::Sandbox() : _folder(fs::temp_directory_path() / fs::unique_path("velmo-fuzz-%%%%-%%%%-%%%%")) {
    fs::create_directory(_folder);
    getBaseLogger().setLogLevel(log4cplus::OFF_LOG_LEVEL);
    silenceTiff();
    limitFiles();
}

Sandbox::~Sandbox() {
    boost::system::error_code ignored;
    fs::remove_all(_folder, ignored);
}

fs::path Sandbox::write(std::string const& name, std::string const& bytes) const {
    fs::path path = _folder / name;
    std::ofstream stream(path.string(), std::ios::binary);
    stream.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    stream.close();
    if (!stream) {
        abortWith("cannot write " + path.string());
    }
    return path;
}

tool::ExerciseLimits getFuzzLimits() {
    tool::ExerciseLimits limits;
    limits.nbPlanes = 8;
    limits.planeBytes = vlUInt64{1} << 16U;
    limits.fileBytes = vlUInt64{1} << 18U;
    return limits;
}

void exerciseOrAbort(image::BaseDiskImageAccessor const& accessor, tool::ExerciseLimits const& limits) {
    tool::Exercise const exercise = exerciseFile(accessor, limits);
    if (!exercise.contradictions.empty()) {
        abortWith(exercise.contradictions.front());
    }
}

void abortWith(std::string const& text) {
    std::fprintf(stderr, "%s\n", text.c_str());
    std::abort();
}

std::string readBytes(fs::path const& path) {
    std::ifstream stream(path.string(), std::ios::binary);
    std::string bytes(std::istreambuf_iterator<char>(stream), {});
    if (!stream) {
        abortWith("cannot read " + path.string());
    }
    return bytes;
}

} // namespace velmo::fuzz
