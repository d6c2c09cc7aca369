// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "ReadOnlyAccessor.h"

#include <stdexcept>
#include <utility>

namespace velmo {

ReadOnlyAccessor::ReadOnlyAccessor(std::string className) : _className(std::move(className)) {}

void ReadOnlyAccessor::refuseCopy() const {
    throw std::logic_error(_className + " has no copies");
}

std::string const& ReadOnlyAccessor::getClassName() const {
    return _className;
}

BaseDynamicObject* ReadOnlyAccessor::createNew() const {
    refuseCopy();
}

DynamicObjectPtr ReadOnlyAccessor::createShared() const {
    refuseCopy();
}

BaseDynamicObject* ReadOnlyAccessor::duplicate() const {
    refuseCopy();
}

DynamicObjectPtr ReadOnlyAccessor::duplicateShared() const {
    refuseCopy();
}

void ReadOnlyAccessor::copy(BaseDynamicObject const& /*other*/) {
    refuseCopy();
}

bool ReadOnlyAccessor::hasCopySupport() const {
    return false;
}

bool ReadOnlyAccessor::hasBinary8BitsStorage() const {
    return true;
}

BoolResult ReadOnlyAccessor::resizeData(image::BaseImageGeometry const& /*geometry*/) {
    return failure(_className + " is not resized");
}

BoolResult ReadOnlyAccessor::writeRawData(vlUInt64 /*z*/, vlUInt64 /*c*/, vlUInt64 /*t*/,
                                          vlUInt64 /*pixelStartOffset*/, vlUInt64 /*nbPixels*/,
                                          void const* /*buffer*/) {
    return failure(_className + " is not written to");
}

} // namespace velmo
