// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOUtil/Export.h"

#include <boost/shared_ptr.hpp>
#include <string>

namespace velmo {

class BaseDynamicObject;
/// A shared object of any class; `boost::dynamic_pointer_cast` tells which.
using DynamicObjectPtr = boost::shared_ptr<BaseDynamicObject>;

/// Root of what the object factory makes and the archives rebuild by class name.
class VELMO_HOST_EXPORT BaseDynamicObject {
  public:
    virtual ~BaseDynamicObject();

    /// The name under which the factory makes the class and archives store it.
    virtual std::string const& getClassName() const = 0;
    /// A new default object of the same class, owned by the caller.
    virtual BaseDynamicObject* createNew() const = 0;
    /// The same, shared.
    virtual DynamicObjectPtr createShared() const = 0;
    /// Whether the copying operations below work; where they don't, they throw.
    virtual bool hasCopySupport() const = 0;
    /// Owned by the caller.
    virtual BaseDynamicObject* duplicate() const = 0;
    /// A copy, shared.
    virtual DynamicObjectPtr duplicateShared() const = 0;
    /// What a copy constructor of a subclass takes over; nothing here.
    virtual void initCtorCopy(BaseDynamicObject const& other);
    /// Assignment from an object of the same class.
    virtual void copy(BaseDynamicObject const& other) = 0;

  protected:
    BaseDynamicObject() = default;
    /// @{
    /// For the copying operations of subclasses.
    BaseDynamicObject(BaseDynamicObject const&) = default;
    BaseDynamicObject& operator=(BaseDynamicObject const&) = default;
    /// @}
};

} // namespace velmo
