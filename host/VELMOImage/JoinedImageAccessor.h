// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOImage/ImageAccessor.h"
#include "VELMOImage/JoinLayout.h"

namespace velmo::image {

/// Accessor to files that are joined along one axis. Every access goes to the accessor of the part that holds
/// the plane; the parts are co-owned. Path, access mode and calibration are those of the first part.
/// Thread-safe as far as the parts are.
class VELMO_HOST_EXPORT JoinedImageAccessor : public BaseDiskImageAccessor {
  public:
    /// A part.
    using PartPtr = boost::shared_ptr<BaseDiskImageAccessor>;

    /// Name of the class in archives and in the object factory.
    static std::string const& getTypeName();
    /// @{
    /// A new accessor without parts; the caller owns it.
    static BaseDynamicObject* createNewObject();
    static DynamicObjectPtr createSharedObject();
    /// @}

    /// Joins initialised accessors that `JoinLayout::init` accepts. After a failure the accessor has no
    /// parts.
    BoolResult join(std::vector<PartPtr> const& parts, eJoinAxis axis);

    std::string const& getClassName() const override { return getTypeName(); }
    BaseDynamicObject* createNew() const override { return createNewObject(); }
    DynamicObjectPtr createShared() const override { return createSharedObject(); }
    bool hasCopySupport() const override { return false; }
    BaseDynamicObject* duplicate() const override;
    DynamicObjectPtr duplicateShared() const override;
    void copy(BaseDynamicObject const& other) override;

    /// Writes the records of all parts.
    BoolResult write(BaseOArchive& archive) const override;
    /// Restores and opens all parts. After a failure the accessor has no parts.
    BoolResult read(BaseIArchive& archive) override;

    bool isStoredIn(boost::filesystem::path const& path) const override;
    /// Whether all parts can be restored as well.
    bool canBeRebuilt() const override;
    bool hasBinary8BitsStorage() const override;
    /// Fails, since the parts have fixed sizes.
    BoolResult resizeData(BaseImageGeometry const& geometry) override;
    BoolResult readRawData(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStartOffset, vlUInt64 nbPixels,
                           void* buffer) const override;
    BoolResult writeRawData(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStartOffset, vlUInt64 nbPixels,
                            void const* buffer) override;
    void clearDerived() override;

  private:
    JoinLayout _layout;
    eJoinAxis _axis = eJoinAxis::Z;
    std::vector<PartPtr> _parts;
};

} // namespace velmo::image
