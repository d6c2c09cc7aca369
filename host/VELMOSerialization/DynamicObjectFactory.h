// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOSerialization/BaseDynamicObject.h"

#include <map>
#include <mutex>

namespace velmo {

/// Creates objects by class name, so that archives can restore them in another process. Thread-safe.
class VELMO_HOST_EXPORT DynamicObjectFactory {
  public:
    /// @{
    /// Creates a default object of one class. Must be thread-safe.
    using NewFcn = BaseDynamicObject* (*)();
    using SharedFcn = DynamicObjectPtr (*)();
    /// @}

    /// The factory of the process, created at the first call.
    static DynamicObjectFactory& getInstance();

    DynamicObjectFactory(DynamicObjectFactory const&) = delete;
    DynamicObjectFactory& operator=(DynamicObjectFactory const&) = delete;

    /// Replaces an earlier registration of the name.
    void registerClass(std::string const& typeName, NewFcn newFcn, SharedFcn sharedFcn);
    /// Ignores a name that is not registered.
    void unRegisterClass(std::string const& typeName);
    /// Whether the class is registered.
    bool isClassRegistred(std::string const& typeName) const;

    /// A new default object, owned by the caller; null if the name is not registered.
    BaseDynamicObject* createNew(std::string const& typeName) const;
    /// Same, as a shared pointer.
    DynamicObjectPtr createShared(std::string const& typeName) const;

  private:
    struct Creators {
        NewFcn newFcn = nullptr;
        SharedFcn sharedFcn = nullptr;
    };

    DynamicObjectFactory() = default;
    Creators findCreators(std::string const& typeName) const;

    mutable std::mutex _mutex;
    std::map<std::string, Creators> _creators;
};

} // namespace velmo
