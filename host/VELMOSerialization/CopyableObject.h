// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOSerialization/BaseSerializationObject.h"
#include "VELMOUtil/Export.h"

#include <boost/make_shared.hpp>

namespace velmo {

/// Raises VELMOUtilException: an object of another class cannot be copied.
[[noreturn]] VELMO_HOST_EXPORT void raiseCopyFromOtherClass(std::string const& className,
                                                            std::string const& otherClassName);

/// The identity and copying operations of a class `T` with a copy constructor and `T::getTypeName()`; `Base`
/// is a serialization object.
template <class T, class Base>
class CopyableObject : public Base {
  public:
    /// A new default object; the caller owns it.
    static BaseDynamicObject* createNewObject() { return new T; }
    /// The same, shared.
    static DynamicObjectPtr createSharedObject() { return boost::make_shared<T>(); }

    /// `T::getTypeName()`.
    std::string const& getClassName() const override { return T::getTypeName(); }
    /// As `createNewObject`.
    BaseDynamicObject* createNew() const override { return createNewObject(); }
    /// As `createSharedObject`.
    DynamicObjectPtr createShared() const override { return createSharedObject(); }
    /// True.
    bool hasCopySupport() const override { return true; }
    /// A copy by the copy constructor; the caller owns it.
    BaseDynamicObject* duplicate() const override { return new T(self()); }
    /// The same, shared.
    DynamicObjectPtr duplicateShared() const override { return boost::make_shared<T>(self()); }
    /// Throws VELMOUtilException, and changes nothing, for an object of another class.
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
