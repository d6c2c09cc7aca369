// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

// load_uses together|apart LIBRARY FOLDER: threads that load the library at the same moment and use it
// through the host alone, while another one looks on; a few times. Together, it is unloaded when all are done
// with it; apart, each thread unloads and loads it when it comes to it. The folder is that of first_uses, and
// so are output and status.

#include "StartingGate.h"

#include <VELMOImage/ImageAccessor.h>
#include <VELMOImage/ImageGeometry.h>
#include <VELMOSerialization/BinaryArchive.h>
#include <VELMOSerialization/DynamicObjectFactory.h>
#include <VELMOUtil/BaseException.h>
#include <VELMOUtil/LogMessageManager.h>
#include <VELMOUtil/Logging.h>
#include <algorithm>
#include <array>
#include <dlfcn.h>
#include <log4cplus/loglevel.h>
#include <sstream>

namespace {

using namespace velmo;
using namespace velmo::image;
using AccessorPtr = boost::shared_ptr<BaseDiskImageAccessor>;

velmo::test::Complaints g_complaints;

constexpr unsigned int g_nbThreads = 16;
constexpr int g_nbTimes = 3;

struct Format {
    std::string extension;
    std::string className;
    std::string domainKey;
};

Format const g_formats[] = {
    {"raw", "velmo::image::file::RawImageFile", "N5velmo5image4file20eRawImageFileMessage6domainE"},
    {"im6", "velmo::image::file::Im6ImageFile", "N5velmo5image4file20eIm6ImageFileMessage6domainE"},
    {"tif", "velmo::image::file::TiffImageFile", "N5velmo5image4file21eTiffImageFileMessage6domainE"}};

/// The record of an accessor that has the file open for reading.
std::string makeRecord(Format const& format, std::string const& path) {
    std::ostringstream stream;
    BinaryOArchive record(stream);
    record << oItem("isInit", 1) << oItem("filePath", path);
    record << oItem("accessMode", vlUInt64(0)) << oItem("sharedRemote", 0);
    record.writeObject("geometry", geometry3d(eIBT_UInt8, 4, 3, 2));
    record.writeObject("calibration", DynamicObjectPtr());
    record << oItem("version", 1U);
    if (format.extension == "raw") {
        record << oItem("dataStartOffset", vlUInt64(0));
    } else if (format.extension == "tif") {
        record << oItem("_tiffDirectoryMode", 0) << oItem("_tiffBufferMode", 0);
    }
    return stream.str();
}

AccessorPtr create(Format const& format) {
    auto const pAccessor = boost::dynamic_pointer_cast<BaseDiskImageAccessor>(
        DynamicObjectFactory::getInstance().createShared(format.className));
    g_complaints.expect(bool(pAccessor), "no " + format.className);
    return pAccessor;
}

BoolResult open(AccessorPtr const& pAccessor, Format const& format, std::string const& path) {
    std::istringstream stream(makeRecord(format, path));
    BinaryIArchive archive(stream);
    return pAccessor->read(archive);
}

void use(Format const& format, std::string const& folder, unsigned int thread) {
    AccessorPtr const pAccessor = create(format);
    if (!pAccessor) {
        return;
    }
    std::string const missing = folder + "/missing-" + std::to_string(thread) + "." + format.extension;
    BoolResult const failed = open(pAccessor, format, missing);
    g_complaints.expect(!failed && failed.getMessage().find(missing) != std::string::npos,
                        failed.getMessage());
    BoolResult const opened = open(pAccessor, format, folder + "/image." + format.extension);
    g_complaints.expect(bool(opened), opened.getMessage());
    std::string pixels(12, '\0');
    BoolResult const read = pAccessor->readRawData(1, 0, 0, 0, 12, pixels.data());
    g_complaints.expect(bool(read), read.getMessage());
    g_complaints.expect(pixels == "MNOPQRSTUVWX", format.extension + " gave " + pixels);
    std::string const text = LogMessageManager::getInstance("VELMOImageFile").getMessage(format.domainKey, 0);
    g_complaints.expect(!text.empty(), "an empty message");
}

void* load(char const* library, unsigned int thread) {
    void* const pLibrary = dlopen(library, (thread % 2 == 0 ? RTLD_NOW : RTLD_LAZY) | RTLD_LOCAL);
    g_complaints.expect(pLibrary != nullptr, "not loaded");
    return pLibrary;
}

void useAll(std::string const& folder, unsigned int thread) {
    for (unsigned int index = 0; index < 3; ++index) {
        g_complaints.guard([&] { use(g_formats[(thread + index) % 3], folder, thread); });
    }
}

void unload(void* pLibrary) {
    g_complaints.expect(dlclose(pLibrary) == 0, "not closed");
}

void expectUnloaded() {
    for (Format const& format : g_formats) {
        g_complaints.expect(!DynamicObjectFactory::getInstance().isClassRegistred(format.className),
                            format.className + " is still registered");
    }
}

/// Asks the host for what the library registers, without a hold on the library.
void watch(std::atomic<unsigned int> const& nbAtWork) {
    while (nbAtWork != 0) {
        for (Format const& format : g_formats) {
            DynamicObjectFactory::getInstance().isClassRegistred(format.className);
            try {
                LogMessageManager::getInstance("VELMOImageFile").getMessage(format.domainKey, 0);
            } catch (BaseException const&) {
                continue; // not loaded yet
            }
        }
    }
}

template <class Work>
void raceWatched(Work const& work) {
    std::atomic<unsigned int> nbAtWork{g_nbThreads};
    velmo::test::raceThreads(g_nbThreads + 1, [&](unsigned int thread) {
        if (thread == g_nbThreads) {
            watch(nbAtWork);
        } else {
            work(thread);
            --nbAtWork;
        }
    });
}

void loadTogether(char const* library, std::string const& folder) {
    for (int time = 0; time < g_nbTimes; ++time) {
        std::array<void*, g_nbThreads> libraries = {};
        raceWatched([&](unsigned int thread) {
            libraries[thread] = load(library, thread);
            useAll(folder, thread);
        });
        std::for_each(libraries.begin(), libraries.end(), unload);
        expectUnloaded();
    }
}

void loadApart(char const* library, std::string const& folder) {
    raceWatched([&](unsigned int thread) {
        for (int time = 0; time < g_nbTimes; ++time) {
            void* const pLibrary = load(library, thread);
            useAll(folder, thread);
            unload(pLibrary);
        }
    });
    expectUnloaded();
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        return 2;
    }
    log4cplus::Logger::getRoot().setLogLevel(log4cplus::OFF_LOG_LEVEL);
    if (std::string(argv[1]) == "together") {
        loadTogether(argv[2], argv[3]);
    } else {
        loadApart(argv[2], argv[3]);
    }
    return g_complaints.getStatus();
}
