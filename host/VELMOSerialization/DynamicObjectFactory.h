// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOSerialization/BaseDynamicObject.h"

#include <map>
#include <mutex>

namespace velmo {

/// Makes objects by class name, so that an archive can rebuild them in another process. Safe from any thread.
class VELMO_HOST_EXPORT DynamicObjectFactory {
  public:
    /// @{
    /// Makes a default object of one class; called from any thread.
    using NewFcn = BaseDynamicObject* (*)();
    using SharedFcn = DynamicObjectPtr (*)();
    /// @}

    /// The one of the process, made at the first call.
    static DynamicObjectFactory& getInstance();

    DynamicObjectFactory(DynamicObjectFactory const&) = delete;
    DynamicObjectFactory& operator=(DynamicObjectFactory const&) = delete;

    /// A second registration of a name replaces the first.
    void registerClass(std::string const& typeName, NewFcn newFcn, SharedFcn sharedFcn);
    /// A name that nobody registered is no failure.
    void unRegisterClass(std::string const& typeName);
    /// Whether a library that knows the class is loaded.
    bool isClassRegistred(std::string const& typeName) const;

    /// A new default object, owned by the caller; null for a name that nobody registered.
    BaseDynamicObject* createNew(std::string const& typeName) const;
    /// The same, shared.
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
