// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOImage/ImageAccessor.h"
#include "VELMOImage/JoinLayout.h"

namespace velmo::image {

/// Files joined along one axis: every access goes to the accessor of the file that holds the plane, which the
/// joined one co-owns. It has the path, the access mode and the calibration of the first. As many threads at
/// once as the parts allow.
class VELMO_HOST_EXPORT JoinedImageAccessor : public BaseDiskImageAccessor {
  public:
    /// A file of the list.
    using PartPtr = boost::shared_ptr<BaseDiskImageAccessor>;

    /// The name under which archives and the object factory know the class.
    static std::string const& getTypeName();
    /// @{
    /// A new accessor without files; the caller owns it.
    static BaseDynamicObject* createNewObject();
    static DynamicObjectPtr createSharedObject();
    /// @}

    /// The parts must be initialised. Otherwise as JoinLayout::init; a failure leaves the accessor without
    /// files.
    BoolResult join(std::vector<PartPtr> const& parts, eJoinAxis axis);

    std::string const& getClassName() const override { return getTypeName(); }
    BaseDynamicObject* createNew() const override { return createNewObject(); }
    DynamicObjectPtr createShared() const override { return createSharedObject(); }
    bool hasCopySupport() const override { return false; }
    BaseDynamicObject* duplicate() const override;
    DynamicObjectPtr duplicateShared() const override;
    void copy(BaseDynamicObject const& other) override;

    /// The records of all parts.
    BoolResult write(BaseOArchive& archive) const override;
    /// Opens all parts again. A failure leaves the accessor without files.
    BoolResult read(BaseIArchive& archive) override;

    bool isStoredIn(boost::filesystem::path const& path) const override;
    /// Of all parts as well.
    bool canBeRebuilt() const override;
    bool hasBinary8BitsStorage() const override;
    /// Refused: the parts have their sizes.
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
