// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOSerialization/BaseArchive.h"

#include "VELMOSerialization/BaseSerializationObject.h"
#include "VELMOSerialization/DynamicObjectFactory.h"
#include "VELMOSerialization/VELMOSerializationLog.h"
#include "VELMOUtil/Failures.h"

namespace velmo {

namespace {

constexpr unsigned int g_deepestSection = 64;

BoolResult failToWrite() {
    return failMessage(g_velmoSerializationRaise, eVELMOSerializationMessage::eVSM_NotSerializable);
}

} // namespace

BaseArchive::~BaseArchive() = default;

bool BaseArchive::isClassVersionRegistred(std::string const& className) const {
    return _classVersions.count(className) != 0;
}

unsigned int BaseArchive::getRegisterClassVersion(std::string const& className) const {
    auto const found = _classVersions.find(className);
    return found == _classVersions.end() ? 0 : found->second;
}

void BaseArchive::registerClassVersion(std::string const& className, unsigned int version) {
    _classVersions[className] = version;
}

void BaseArchive::openSection(std::string const& sectionName) {
    if (_depth == g_deepestSection) {
        raiseMessage(VELMO_HERE, g_velmoSerializationRaise, eVELMOSerializationMessage::eVSM_NestedTooDeep,
                     sectionName, g_deepestSection);
    }
    openSectionDerived(sectionName);
    ++_depth;
}

void BaseArchive::closeSection() {
    --_depth;
    closeSectionDerived();
}

void BaseOArchive::writeObject(std::string const& name,
                               boost::shared_ptr<BaseDynamicObject const> const& pObject) {
    ArchiveSectionManager const section(*this, name);
    if (!pObject) {
        writeItem("className", std::string());
        return;
    }
    writeItem("className", pObject->getClassName());
    auto const* const pSerializable = dynamic_cast<BaseSerializationObject const*>(pObject.get());
    BoolResult const result = pSerializable == nullptr ? failToWrite() : pSerializable->write(*this);
    if (!result) {
        raiseMessage(VELMO_HERE, g_velmoSerializationRaise, eVELMOSerializationMessage::eVSM_WriteObjectError,
                     pObject->getClassName(), result);
    }
}

DynamicObjectPtr BaseIArchive::readObject(std::string const& name) {
    ArchiveSectionManager const section(*this, name);
    std::string className;
    readItem("className", className);
    if (className.empty()) {
        return DynamicObjectPtr();
    }
    DynamicObjectPtr pObject = DynamicObjectFactory::getInstance().createShared(className);
    auto* const pSerializable = dynamic_cast<BaseSerializationObject*>(pObject.get());
    if (pSerializable == nullptr) {
        raiseMessage(VELMO_HERE, g_velmoSerializationRaise, eVELMOSerializationMessage::eVSM_UnknownClass,
                     className);
    }
    // cppcheck-suppress nullPointerRedundantCheck ; a raise does not return
    BoolResult const result = pSerializable->read(*this);
    if (!result) {
        raiseMessage(VELMO_HERE, g_velmoSerializationRaise, eVELMOSerializationMessage::eVSM_ReadObjectError,
                     className, result);
    }
    return pObject;
}

void raiseUnexpectedClass(std::string const& className, std::string const& name) {
    raiseMessage(VELMO_HERE, g_velmoSerializationRaise, eVELMOSerializationMessage::eVSM_UnexpectedClass,
                 className, name);
}

} // namespace velmo
