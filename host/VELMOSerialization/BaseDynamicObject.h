// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOUtil/Export.h"

#include <boost/shared_ptr.hpp>
#include <string>

namespace velmo {

class BaseDynamicObject;
/// Shared object of any class, for `boost::dynamic_pointer_cast`.
using DynamicObjectPtr = boost::shared_ptr<BaseDynamicObject>;

/// Base class of objects that the object factory creates, and archives restore, by class name.
class VELMO_HOST_EXPORT BaseDynamicObject {
  public:
    virtual ~BaseDynamicObject();

    /// Name of the class in the factory and in archives.
    virtual std::string const& getClassName() const = 0;
    /// A new default object of the same class, owned by the caller.
    virtual BaseDynamicObject* createNew() const = 0;
    /// Same, as a shared pointer.
    virtual DynamicObjectPtr createShared() const = 0;
    /// Whether the copy operations below are supported; otherwise they throw.
    virtual bool hasCopySupport() const = 0;
    /// A copy. The caller owns it.
    virtual BaseDynamicObject* duplicate() const = 0;
    /// A copy, as a shared pointer.
    virtual DynamicObjectPtr duplicateShared() const = 0;
    /// Called by copy constructors of derived classes. Does nothing by default.
    virtual void initCtorCopy(BaseDynamicObject const& other);
    /// Assigns an object of the same class.
    virtual void copy(BaseDynamicObject const& other) = 0;

  protected:
    BaseDynamicObject() = default;
    /// @{
    /// For the copy operations of derived classes.
    BaseDynamicObject(BaseDynamicObject const&) = default;
    BaseDynamicObject& operator=(BaseDynamicObject const&) = default;
    /// @}
};

} // namespace velmo
