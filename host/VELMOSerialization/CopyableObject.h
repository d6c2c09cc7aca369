// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOSerialization/BaseSerializationObject.h"
#include "VELMOUtil/Export.h"

#include <boost/make_shared.hpp>

namespace velmo {

/// Throws VELMOUtilException: an object of another class cannot be copied.
[[noreturn]] VELMO_HOST_EXPORT void raiseCopyFromOtherClass(std::string const& className,
                                                            std::string const& otherClassName);

/// Implements the creation and copy operations of a class `T`, which has a copy constructor and
/// `T::getTypeName()`. `Base` is a BaseSerializationObject.
template <class T, class Base>
class CopyableObject : public Base {
  public:
    /// A new default object; the caller owns it.
    static BaseDynamicObject* createNewObject() { return new T; }
    /// Same, as a shared pointer.
    static DynamicObjectPtr createSharedObject() { return boost::make_shared<T>(); }

    /// `T::getTypeName()`.
    std::string const& getClassName() const override { return T::getTypeName(); }
    /// Same as `createNewObject`.
    BaseDynamicObject* createNew() const override { return createNewObject(); }
    /// Same as `createSharedObject`.
    DynamicObjectPtr createShared() const override { return createSharedObject(); }
    /// True.
    bool hasCopySupport() const override { return true; }
    /// A copy by the copy constructor; the caller owns it.
    BaseDynamicObject* duplicate() const override { return new T(self()); }
    /// Same, as a shared pointer.
    DynamicObjectPtr duplicateShared() const override { return boost::make_shared<T>(self()); }
    /// Throws VELMOUtilException for an object of another class; nothing is changed then.
    void copy(BaseDynamicObject const& other) override {
        auto const* const pOther = dynamic_cast<T const*>(&other);
        if (pOther == nullptr) {
            raiseCopyFromOtherClass(T::getTypeName(), other.getClassName());
        }
        static_cast<T&>(*this) = *pOther;
    }

  private:
    T const& self() const { return static_cast<T const&>(*this); }
};

} // namespace velmo
