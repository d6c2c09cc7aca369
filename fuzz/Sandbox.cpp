// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Sandbox.h"

#include "FileExercise.h"

#include <VELMOUtil/Logging.h>
#include <boost/filesystem/operations.hpp>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sys/resource.h>
#include <tiffio.h>

namespace velmo {
namespace fuzz {

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

} // namespace

Sandbox& Sandbox::get() {
    static Sandbox sandbox;
    return sandbox;
}

Sandbox::Sandbox() : _folder(fs::temp_directory_path() / fs::unique_path("velmo-fuzz-%%%%-%%%%-%%%%")) {
    fs::create_directory(_folder);
    getBaseLogger().setLogLevel(log4cplus::OFF_LOG_LEVEL);
    TIFFSetErrorHandler(nullptr);
    TIFFSetWarningHandler(nullptr);
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

void exerciseOrAbort(image::BaseDiskImageAccessor const& accessor, bool bComparesRuns) {
    tool::ExerciseLimits limits;
    limits.nbPlanes = 8;
    limits.planeBytes = vlUInt64{1} << 20;
    limits.fileBytes = vlUInt64{1} << 21;
    limits.bComparesRuns = bComparesRuns;
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

} // namespace fuzz
} // namespace velmo
