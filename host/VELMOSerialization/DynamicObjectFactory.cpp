// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOSerialization/DynamicObjectFactory.h"

namespace velmo {

DynamicObjectFactory& DynamicObjectFactory::getInstance() {
    static DynamicObjectFactory factory;
    return factory;
}

void DynamicObjectFactory::registerClass(std::string const& typeName, NewFcn newFcn, SharedFcn sharedFcn) {
    std::lock_guard<std::mutex> const lock(_mutex);
    _creators[typeName] = {newFcn, sharedFcn};
}

void DynamicObjectFactory::unRegisterClass(std::string const& typeName) {
    std::lock_guard<std::mutex> const lock(_mutex);
    _creators.erase(typeName);
}

bool DynamicObjectFactory::isClassRegistred(std::string const& typeName) const {
    return findCreators(typeName).newFcn != nullptr;
}

BaseDynamicObject* DynamicObjectFactory::createNew(std::string const& typeName) const {
    NewFcn const newFcn = findCreators(typeName).newFcn;
    return newFcn == nullptr ? nullptr : newFcn();
}

DynamicObjectPtr DynamicObjectFactory::createShared(std::string const& typeName) const {
    SharedFcn const sharedFcn = findCreators(typeName).sharedFcn;
    return sharedFcn == nullptr ? DynamicObjectPtr() : sharedFcn();
}

// By value: creators run outside of the lock, so that they may use the factory.
DynamicObjectFactory::Creators DynamicObjectFactory::findCreators(std::string const& typeName) const {
    std::lock_guard<std::mutex> const lock(_mutex);
    auto const found = _creators.find(typeName);
    return found == _creators.end() ? Creators() : found->second;
}

} // namespace velmo
