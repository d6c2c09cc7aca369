// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/ImageAccessor.h>
#include <VELMOSerialization/ClassVersion.h>
#include <VELMOUtil/GuardedRaise.h>
#include <boost/filesystem/path.hpp>
#include <boost/make_shared.hpp>
#include <boost/shared_ptr.hpp>
#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>
#include <string>

namespace velmo::image {

namespace file {

// Common parts of the accessors of all formats.

/// Protects the class name of an accessor class; constructed at load. `VersionMutex` protects the class
/// version.
template <class Accessor>
struct TypeNameMutex {
    static boost::mutex& get() {
        static boost::mutex mutex;
        return mutex;
    }
};

template <class Accessor>
struct VersionMutex {
    static boost::mutex& get() {
        static boost::mutex mutex;
        return mutex;
    }
};

/// Raises VELMOImageException: an accessor owns open files and cannot be copied, only written to an archive
/// and read again.
[[noreturn]] void raiseNoCopySupport(RaiseSite const& site, std::string const& typeName);

/// Raises VELMOImageException unless the accessor is initialised.
void requireInitialised(RaiseSite const& site, BaseImageAccessor const& accessor);

/// Copies of the arguments of a create or open operation. The originals may be members of the accessor, which
/// its `clear` removes.
struct ArgumentCopies {
    ArgumentCopies(boost::filesystem::path const& givenPath, BaseImageGeometry const& givenGeometry);
    BaseImageGeometry const& geometry() const { return *pGeometry; }

    boost::filesystem::path path;
    boost::shared_ptr<BaseImageGeometry const> pGeometry;
};

/// Clears an accessor at the end of the scope unless `keep` was called. If the file of an archive record does
/// not open, the accessor must not look initialised.
class ClearOnFailure {
  public:
    explicit ClearOnFailure(BaseImageAccessor& accessor) : _pAccessor(&accessor) {}
    ~ClearOnFailure();
    ClearOnFailure(ClearOnFailure const&) = delete;
    ClearOnFailure& operator=(ClearOnFailure const&) = delete;
    void keep() { _pAccessor = nullptr; }

  private:
    BaseImageAccessor* _pAccessor;
};

/// Implements `read` of an accessor class: reads the record of the base class and the class version, calls
/// `readFields` for the fields of the class and, if the record is of an initialised accessor, `open`, which
/// opens the file. After a failure the accessor is cleared.
template <class Accessor, class ReadFields, class Open>
BoolResult readAccessor(Accessor& accessor, BaseIArchive& archive, RaiseSite const& site,
                        ReadFields const& readFields, Open const& open) {
    ClearOnFailure clearOnFailure(accessor);
    BoolResult result = accessor.BaseDiskImageAccessor::read(archive);
    if (!result) {
        return result;
    }
    readClassVersion(archive, accessor.getClassName(), accessor.getVersion(), site);
    accessor.clearDerived();
    readFields();
    if (!accessor.isInit()) {
        return success();
    }
    result = open();
    if (result) {
        clearOnFailure.keep();
    }
    return result;
}

} // namespace file
} // namespace velmo::image

// NOLINTBEGIN(bugprone-macro-parentheses): a class name takes none
/// Defines the functions of every accessor class for its name, its version, its creation and its rejected
/// copy. Use it in the namespace of the class.
#define VELMO_DEFINE_ACCESSOR_IDENTITY(Accessor, name, version)                                              \
    unsigned int Accessor::getVersion() {                                                                    \
        boost::lock_guard<boost::mutex> const lock(VersionMutex<Accessor>::get());                           \
        return version;                                                                                      \
    }                                                                                                        \
    std::string const& Accessor::getTypeName() {                                                             \
        boost::lock_guard<boost::mutex> const lock(TypeNameMutex<Accessor>::get());                          \
        static std::string const typeName(name);                                                             \
        return typeName;                                                                                     \
    }                                                                                                        \
    BaseDynamicObject* Accessor::createNewObject() {                                                         \
        return new Accessor;                                                                                 \
    }                                                                                                        \
    DynamicObjectPtr Accessor::createSharedObject() {                                                        \
        return boost::make_shared<Accessor>();                                                               \
    }                                                                                                        \
    std::string const& Accessor::getClassName() const {                                                      \
        return getTypeName();                                                                                \
    }                                                                                                        \
    BaseDynamicObject* Accessor::createNew() const {                                                         \
        return createNewObject();                                                                            \
    }                                                                                                        \
    DynamicObjectPtr Accessor::createShared() const {                                                        \
        return createSharedObject();                                                                         \
    }                                                                                                        \
    bool Accessor::hasCopySupport() const {                                                                  \
        return false;                                                                                        \
    }                                                                                                        \
    BaseDynamicObject* Accessor::duplicate() const {                                                         \
        raiseNoCopySupport(VELMO_HERE, getTypeName());                                                       \
    }                                                                                                        \
    DynamicObjectPtr Accessor::duplicateShared() const {                                                     \
        raiseNoCopySupport(VELMO_HERE, getTypeName());                                                       \
    }                                                                                                        \
    void Accessor::copy(BaseDynamicObject const& /*other*/) {                                                \
        raiseNoCopySupport(VELMO_HERE, getTypeName());                                                       \
    }
// NOLINTEND(bugprone-macro-parentheses)
