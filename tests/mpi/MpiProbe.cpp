// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

// One rank of a job. mpi_probe COMMAND FILE OUTPUT; the environment says which rank misbehaves, and how:
// VELMO_TEST_RANK and VELMO_TEST_FAULT, which may have an argument behind a colon. Rank 0 prints what it
// finds.

#include <VELMOImage/ImageFactory.h>
#include <VELMOImageFile/VELMOImageFile.h>
#include <VELMOImageFileMpi/DistributedFiles.h>
#include <VELMOImageFileMpi/MpiSession.h>
#include <VELMOImageFileMpi/PlaneFunctions.h>
#include <VELMOSerialization/DynamicObjectFactory.h>
#include <VELMOSerialization/VELMOSerializationLog.h>
#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <fstream>
#include <functional>
#include <iostream>
#include <sys/fsuid.h>
#include <sys/resource.h>
#include <thread>
#include <unistd.h>

namespace {

using namespace velmo;
using namespace velmo::image;

std::string getVariable(char const* name) {
    char const* const value = std::getenv(name);
    return value == nullptr ? std::string() : value;
}

/// What this rank does wrong.
struct Fault {
    std::string kind;
    std::string argument;
};

Fault readFault() {
    char const* const rank = std::getenv("OMPI_COMM_WORLD_RANK");
    if (rank == nullptr || getVariable("VELMO_TEST_RANK") != rank) {
        return {};
    }
    std::string const text = getVariable("VELMO_TEST_FAULT");
    auto const colon = text.find(':');
    return {text.substr(0, colon), colon == std::string::npos ? "" : text.substr(colon + 1)};
}

void signalLater(int signal, std::string const& milliseconds) {
    std::thread([signal, delay = std::chrono::milliseconds(std::stoi(milliseconds))] {
        std::this_thread::sleep_for(delay);
        kill(getpid(), signal);
    }).detach();
}

void failBeforeSession(Fault const& fault) {
    if (fault.kind == "chdir" && chdir(fault.argument.c_str()) != 0) {
        std::exit(3);
    }
    if (fault.kind == "kill at start") {
        kill(getpid(), SIGKILL);
    }
}

vlUInt64 countAddressSpace() {
    vlUInt64 nbPages = 0;
    std::ifstream("/proc/self/statm") >> nbPages;
    return nbPages * static_cast<vlUInt64>(sysconf(_SC_PAGESIZE));
}

/// On the thread that serves.
void failInSession(Fault const& fault) {
    if (fault.kind == "kill") {
        signalLater(SIGKILL, fault.argument);
    } else if (fault.kind == "stop") {
        signalLater(SIGSTOP, fault.argument);
    } else if (fault.kind == "user") {
        setfsuid(65534);
    } else if (fault.kind == "class") {
        DynamicObjectFactory::getInstance().unRegisterClass(fault.argument);
    } else if (fault.kind == "memory") {
        rlim_t const limit = countAddressSpace() + (rlim_t{32} << 20U);
        rlimit const limits = {limit, limit};
        setrlimit(RLIMIT_AS, &limits);
    }
}

std::string gather(BaseImage const& image) {
    BaseImageGeometry const& geometry = image.getGeometry();
    std::string pixels(geometry.getFullMemorySize(), '\0');
    for (vlUInt64 plan = 0; plan < geometry.getNbPlans(); ++plan) {
        PlanIndexes const indexes = geometry.getPlanIndexes(plan);
        BoolResult const result = image.readPixels(indexes, 0, geometry.getPlanNbPixels(),
                                                   &pixels[geometry.getPlansMemorySize(plan)]);
        if (!result) {
            throw std::runtime_error(result.getMessage());
        }
    }
    return pixels;
}

struct Job {
    std::string file;
    std::string output;
};

DistributedImagePtr load(Job const& job) {
    return file::loadDistributedTiffImageFile(job.file, file::TiffReadOptions());
}

std::string compare(BaseImage const& distributed, BaseImage const& inMemory) {
    return gather(distributed) == gather(inMemory) ? "equal" : "different";
}

/// The raw file has the pixels of 7 x 5 x 23 16-bit planes behind 4 bytes.
std::string compareAll(Job const& job) {
    std::string text = compare(*load(job), *file::loadTiffImageFile(job.file, file::TiffReadOptions()));
    auto const pGeometry = geometry3d(eIBT_UInt16, 7, 5, 23);
    std::string const raw = job.output + ".raw";
    auto const pRaw = file::loadRawImageFile(raw, *pGeometry, 4);
    text += " " + compare(*file::loadDistributedRawImageFile(raw, *pGeometry, 4, true), *pRaw);
    text += " " + compare(*file::loadDistributedRawImageFile(raw, *pGeometry, 4, false), *pRaw);
    std::string const im6 = job.output + ".im6";
    text += " " + compare(*file::loadDistributedIm6ImageFile(im6, true), *file::loadIm6ImageFile(im6));
    return text;
}

void repeat(std::function<void()> const& work) {
    auto const end = std::chrono::steady_clock::now() + std::chrono::seconds(30);
    while (std::chrono::steady_clock::now() < end) {
        work();
    }
}

void saveTiff(Job const& job, DistributedImagePtr const& pImage) {
    file::TiffWriteOptions options;
    options.compression = file::eTC_Deflate;
    options.threads = file::useThreads(1);
    mpi::saveDistributedTiffImageFile(job.output, pImage, options);
}

double getCpuSeconds() {
    timespec time = {};
    clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &time);
    return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

/// The largest part of a processor that a rank needs while nothing happens.
double measureIdleLoad(Job const& job) {
    DistributedImagePtr const pImage = load(job);
    std::vector<std::string> const before = mpi::forEachPlane(*pImage, "processor time");
    constexpr int nbSeconds = 4;
    std::this_thread::sleep_for(std::chrono::seconds(nbSeconds));
    std::vector<std::string> const after = mpi::forEachPlane(*pImage, "processor time");
    double most = 0;
    for (std::size_t plane = 0; plane < before.size(); ++plane) {
        most = std::max(most, (std::stod(after[plane]) - std::stod(before[plane])) / nbSeconds);
    }
    return most;
}

std::string runCommand(std::string const& command, Job const& job) {
    if (command == "compare") {
        return compareAll(job);
    }
    if (command == "idle load") {
        return std::to_string(measureIdleLoad(job));
    }
    if (command == "idle") {
        std::this_thread::sleep_for(std::chrono::seconds(30));
    } else if (command == "load once") {
        return compare(*load(job), *file::loadTiffImageFile(job.file, file::TiffReadOptions()));
    } else if (command == "load") {
        repeat([&] { load(job); });
    } else if (command == "gather") {
        repeat([&, pImage = load(job)] { gather(*pImage); });
    } else if (command == "functions") {
        repeat([&, pImage = load(job)] { mpi::forEachPlane(*pImage, "nothing"); });
    } else if (command == "save tiff") {
        repeat([&, pImage = load(job)] { saveTiff(job, pImage); });
    } else if (command == "save raw") {
        repeat([&, pImage = load(job)] { mpi::saveDistributedRawImageFile(job.output, pImage); });
    }
    return "done";
}

std::string describe(std::exception const& exception) {
    char const* const kind =
        dynamic_cast<VELMOSerializationException const*>(&exception) != nullptr ? "serialization exception"
        : dynamic_cast<file::VELMOImageFileException const*>(&exception) != nullptr ? "file exception"
                                                                                    : "exception";
    return std::string(kind) + ": " + exception.what();
}

} // namespace

int main(int argc, char** argv) {
    silenceLog();
    mpi::registerPlaneFunction("nothing", [](mpi::PlaneMemory const&, std::string const&) { return ""; });
    mpi::registerPlaneFunction("processor time", [](mpi::PlaneMemory const&, std::string const&) {
        return std::to_string(getCpuSeconds());
    });
    Fault const fault = readFault();
    failBeforeSession(fault);
    mpi::MpiSession session(argc, argv);
    failInSession(fault);
    if (!session.isDriver()) {
        return session.serve();
    }
    try {
        std::cout << runCommand(argv[1], {argv[2], argv[3]}) << std::endl;
    } catch (std::exception const& exception) {
        std::cout << describe(exception) << std::endl;
        return 1;
    }
    return argc == 4 ? 0 : 2;
}
