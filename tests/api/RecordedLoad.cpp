// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

// The program's definitions of these functions come before those of the libraries: each writes down what the
// image file library asks for and hands on to the true one. All state is built at its first use, since the
// library is initialised before this program.

#include "RecordedLoad.h"

#include <VELMOSerialization/DynamicObjectFactory.h>
#include <VELMOUtil/LogMessageManager.h>
#include <cstring>
#include <dlfcn.h>
#include <optional>
#include <pthread.h>

namespace velmo {
namespace test {

namespace {

bool g_bLoadRecordEnded = false;

std::vector<LoadStep>& accessSteps() {
    static std::vector<LoadStep> steps;
    return steps;
}

void addStep(std::string const& text, void const* pMutex = nullptr) {
    if (!g_bLoadRecordEnded) {
        accessSteps().push_back({text, pMutex});
    }
}

/// The definition behind this program's own.
template <class Function>
Function findNext(char const* symbol) {
    void* const pSymbol = dlsym(RTLD_NEXT, symbol);
    return reinterpret_cast<Function>(pSymbol);
}

LogMessageManager*& getModuleManager() {
    static LogMessageManager* pManager = nullptr;
    return pManager;
}

} // namespace

std::vector<LoadStep> const& endLoadRecord() {
    g_bLoadRecordEnded = true;
    return accessSteps();
}

} // namespace test

LogMessageManager& LogMessageManager::getInstance(std::string const& name) {
    using Function = LogMessageManager& (*)(std::string const&);
    static auto const next = test::findNext<Function>(
        "_ZN5velmo17LogMessageManager11getInstanceERKNSt7__cxx1112basic_stringIcSt11char_traitsIcESaIcEEE");
    LogMessageManager& manager = next(name);
    if (name == "VELMOImageFile") {
        test::getModuleManager() = &manager;
        test::addStep("manager");
    }
    return manager;
}

void LogMessageManager::addMessage(std::string const& domainKey, int id, std::string const& text) {
    using Function = void (*)(LogMessageManager*, std::string const&, int, std::string const&);
    static auto const next = test::findNext<Function>(
        "_ZN5velmo17LogMessageManager10addMessageERKNSt7__cxx1112basic_stringIcSt11char_"
        "traitsIcESaIcEEEiS8_");
    next(this, domainKey, id, text);
    if (this == test::getModuleManager()) {
        test::addStep("message " + domainKey + ' ' + std::to_string(id));
    }
}

void DynamicObjectFactory::registerClass(std::string const& typeName, NewFcn newFcn, SharedFcn sharedFcn) {
    using Function = void (*)(DynamicObjectFactory*, std::string const&, NewFcn, SharedFcn);
    static auto const next = test::findNext<Function>(
        "_ZN5velmo20DynamicObjectFactory13registerClassERKNSt7__cxx1112basic_stringIcSt11char_"
        "traitsIcESaIcEEEPFPNS_17BaseDynamicObjectEvEPFN5boost10shared_ptrIS9_EEvE");
    next(this, typeName, newFcn, sharedFcn);
    if (typeName.find("velmo::image::file::") == 0) {
        test::addStep("class " + typeName);
    }
}

} // namespace velmo

#ifdef VELMO_TEST_RECORDS_MUTEXES

namespace velmo {
namespace test {

namespace {

bool g_bRecordsLocks = false;

std::vector<void const*>& getLocks() {
    static std::vector<void const*> locks;
    return locks;
}

bool isInImageFileLibrary(void const* pCode) {
    Dl_info info;
    return dladdr(pCode, &info) != 0 &&
           std::string(info.dli_fname).find("libVELMOImageFile.so") != std::string::npos;
}

/// The value of an object that is a short std::string: its characters lie within itself, behind their address
/// and their number.
std::optional<std::string> findShortText(void const* pObject) {
    if (pObject == nullptr) {
        return std::nullopt;
    }
    struct {
        char const* pCharacters;
        std::size_t size;
    } head;
    std::memcpy(&head, pObject, sizeof(head));
    bool const bInside = head.pCharacters == static_cast<char const*>(pObject) + sizeof(head);
    constexpr std::size_t longest = 15;
    return bInside && head.size <= longest ? std::optional(std::string(head.pCharacters, head.size))
                                           : std::nullopt;
}

} // namespace

void beginLockRecord() {
    getLocks().clear();
    g_bRecordsLocks = true;
}

std::vector<void const*> endLockRecord() {
    g_bRecordsLocks = false;
    return getLocks();
}

} // namespace test
} // namespace velmo

extern "C" __attribute__((visibility("default"))) int
pthread_mutex_init(pthread_mutex_t* pMutex, pthread_mutexattr_t const* pAttributes) noexcept {
    using Function = int (*)(pthread_mutex_t*, pthread_mutexattr_t const*);
    static auto const next = velmo::test::findNext<Function>("pthread_mutex_init");
    if (!velmo::test::g_bLoadRecordEnded && velmo::test::isInImageFileLibrary(__builtin_return_address(0))) {
        velmo::test::addStep("mutex", pMutex);
    }
    return next(pMutex, pAttributes);
}

extern "C" __attribute__((visibility("default"))) int pthread_mutex_lock(pthread_mutex_t* pMutex) noexcept {
    using Function = int (*)(pthread_mutex_t*);
    static auto const next = velmo::test::findNext<Function>("pthread_mutex_lock");
    if (velmo::test::g_bRecordsLocks && velmo::test::isInImageFileLibrary(__builtin_return_address(0))) {
        velmo::test::getLocks().push_back(pMutex);
    }
    return next(pMutex);
}

/// Announces an object that is built once and needs a destructor.
// NOLINTNEXTLINE(bugprone-reserved-identifier): the name in the interface of C++ binaries
extern "C" __attribute__((visibility("default"))) int __cxa_atexit(void (*destroy)(void*), void* pObject,
                                                                   void* pLibrary) noexcept {
    using Function = int (*)(void (*)(void*), void*, void*);
    static auto const next = velmo::test::findNext<Function>("__cxa_atexit");
    if (!velmo::test::g_bLoadRecordEnded && velmo::test::isInImageFileLibrary(__builtin_return_address(0))) {
        if (auto const text = velmo::test::findShortText(pObject)) {
            velmo::test::addStep("text " + *text);
        }
    }
    return next(destroy, pObject, pLibrary);
}

#endif
