// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/ImageAccessor.h>
#include <string>

namespace velmo {

/// Base of accessors that read from something that this process holds open, such as another image. It has no
/// copies, an archive cannot restore it, and it is neither resized nor written to.
class ReadOnlyAccessor : public image::BaseDiskImageAccessor {
  public:
    /// `className` is that of the derived class.
    explicit ReadOnlyAccessor(std::string className);

    std::string const& getClassName() const override;
    /// @{
    /// Throws std::logic_error.
    BaseDynamicObject* createNew() const override;
    DynamicObjectPtr createShared() const override;
    BaseDynamicObject* duplicate() const override;
    DynamicObjectPtr duplicateShared() const override;
    void copy(BaseDynamicObject const& other) override;
    /// @}
    bool hasCopySupport() const override;

    bool hasBinary8BitsStorage() const override;
    /// @{
    /// Fails.
    BoolResult resizeData(image::BaseImageGeometry const& geometry) override;
    BoolResult writeRawData(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStartOffset, vlUInt64 nbPixels,
                            void const* buffer) override;
    /// @}

  private:
    [[noreturn]] void refuseCopy() const;

    std::string const _className;
};

} // namespace velmo
