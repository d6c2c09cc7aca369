// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOSerialization/DynamicObjectFactory.h"

namespace velmo {

/// Registers a class with the factory while this object exists. `T` has static `getTypeName()`,
/// `createNewObject()` and `createSharedObject()`.
template <class T>
class DynamicRegistrator {
  public:
    DynamicRegistrator() {
        DynamicObjectFactory::getInstance().registerClass(T::getTypeName(), newCreatorFcn, sharedCreatorFcn);
    }
    ~DynamicRegistrator() { DynamicObjectFactory::getInstance().unRegisterClass(T::getTypeName()); }
    DynamicRegistrator(DynamicRegistrator const&) = delete;
    DynamicRegistrator& operator=(DynamicRegistrator const&) = delete;

    /// @{
    /// Called by the factory.
    static BaseDynamicObject* newCreatorFcn() { return T::createNewObject(); }
    static DynamicObjectPtr sharedCreatorFcn() { return T::createSharedObject(); }
    /// @}
};

} // namespace velmo
