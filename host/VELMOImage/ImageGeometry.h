// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOImage/BufferTypeRuns.h"
#include "VELMOImage/GeometryParts.h"
#include "VELMOSerialization/CopyableObject.h"

#include <boost/shared_ptr.hpp>
#include <memory>
#include <optional>
#include <vector>

namespace velmo::image {

class BaseImageGeometry;
/// Shared geometry that can be changed. Code that keeps a geometry stores a copy (`duplicateGeometry`).
using ImageGeometryPtr = boost::shared_ptr<BaseImageGeometry>;

/// Indexes of a plane.
struct PlanIndexes {
    /// @{
    /// Each from 0.
    vlUInt64 z;
    vlUInt64 c;
    vlUInt64 t;
    /// @}
};

/// Sizes of an image along X, Y, Z, C and T, the meaning of its channels, planes and time steps, and the
/// pixel type of its planes.
///
/// Contiguous planes (in memory, in a raw file) are in the order t, c, z, with t outermost. Sizes may be 0.
/// `init` rejects a geometry whose size in bytes overflows 64 bits with VELMOImageException; if parts are
/// changed later, the first operation that needs the size does. Const operations are thread-safe.
class VELMO_HOST_EXPORT BaseImageGeometry : public BaseSerializationObject {
  public:
    /// Name of the class in archives.
    static std::string const& getTypeName();

    /// @{
    /// Pixels per row, rows, planes, channels, time steps.
    vlUInt64 getSizeX() const { return _sizeX; }
    vlUInt64 getSizeY() const { return _sizeY; }
    vlUInt64 getSizeZ() const { return _volume.getSizeZ(); }
    vlUInt64 getSizeC() const { return _color.getSizeC(); }
    vlUInt64 getSizeT() const { return _temporal.getSizeT(); }
    /// @}

    /// @{
    /// Types of the parts below.
    eColorGeometryType getColorGeometryType() const { return _color.getColorGeometryType(); }
    eVolumeGeometryType getVolumeGeometryType() const { return _volume.getVolumeGeometryType(); }
    eTemporalGeometryType getTemporalGeometryType() const { return _temporal.getTemporalGeometryType(); }
    /// @}
    /// Pixel type of all planes; of a heterogeneous geometry that of the first one.
    virtual eImageBufferType getBufferType() const = 0;

    /// @{
    /// The parts; the geometry owns them. A change of a part changes the sizes, which are checked at the next
    /// use.
    ColorGeometry const& getColorGeometry() const { return _color; }
    ColorGeometry& getColorGeometry() { return _color; }
    VolumeGeometry const& getVolumeGeometry() const { return _volume; }
    VolumeGeometry& getVolumeGeometry() { return _volume; }
    TemporalGeometry const& getTemporalGeometry() const { return _temporal; }
    TemporalGeometry& getTemporalGeometry() { return _temporal; }
    /// @}

    /// Size and pixel type of the planes of time step `t`. Throws VELMOImageException if it does not exist.
    ImagePlanGeometry getPlanGeometry(vlUInt64 t) const;

    /// @{
    /// Pixels of a plane and of all planes; bytes of a plane of time step `t` and of all planes.
    vlUInt64 getPlanNbPixels() const;
    vlUInt64 getNbPixels() const;
    vlUInt64 getPlanMemorySize(vlUInt64 t) const;
    vlUInt64 getFullMemorySize() const;
    /// @}

    /// Number of planes: Z * C * T.
    vlUInt64 getNbPlans() const;
    /// Indexes of plane number `plan` (from 0) in (t, c, z) order. The plane must exist.
    PlanIndexes getPlanIndexes(vlUInt64 plan) const;
    /// Number of a plane in (t, c, z) order. The plane must exist.
    vlUInt64 getPlanNumber(PlanIndexes const& plan) const;
    /// Bytes of the first `nbPlans` planes in (t, c, z) order. Constant time.
    vlUInt64 getPlansMemorySize(vlUInt64 nbPlans) const;
    /// Whether the plane exists.
    bool hasPlan(vlUInt64 z, vlUInt64 c, vlUInt64 t) const;
    /// Offset of a plane from the first plane, in bytes. Constant time. The plane must exist.
    vlUInt64 getPlanOffset(vlUInt64 z, vlUInt64 c, vlUInt64 t) const;

    /// Sets the pixel type of all planes. Throws VELMOImageException if the size would overflow 64 bits;
    /// nothing is changed then.
    virtual void setBufferType(eImageBufferType const& bufferType) = 0;

    /// Writes sizes, parts and pixel types. A geometry that `read` would reject (size overflow, number of
    /// pixel types, unknown enumeration value) is thrown as VELMOImageException or
    /// VELMOSerializationException before anything is written.
    BoolResult write(BaseOArchive& archive) const override;
    /// If the stored geometry is rejected, this one is unchanged.
    BoolResult read(BaseIArchive& archive) override;

  protected:
    BaseImageGeometry() = default;
    /// @{
    /// Use `duplicateGeometry` to copy.
    BaseImageGeometry(BaseImageGeometry const&) = default;
    BaseImageGeometry& operator=(BaseImageGeometry const&) = default;
    /// @}

    /// Sets sizes and parts without a check; see `requireCountable`.
    void setParts(VolumeGeometry const& volume, ColorGeometry const& color, TemporalGeometry const& temporal,
                  vlUInt64 sizeX, vlUInt64 sizeY);
    /// Throws VELMOImageException if a size of the geometry overflows 64 bits.
    void requireCountable() const;

  private:
    void readParts(BaseIArchive& archive);
    [[noreturn]] void raiseTooLarge() const;
    /// The size; throws if it is empty.
    vlUInt64 orTooLarge(std::optional<vlUInt64> const& size) const;

    virtual eImageBufferType getBufferTypeAt(vlUInt64 t) const = 0;
    /// Sum of the bytes per pixel over the time steps before `t`; empty if it overflows 64 bits.
    virtual std::optional<vlUInt64> getPixelSizesBefore(vlUInt64 t) const = 0;
    /// Throws for types that cannot be stored: wrong number, unknown values.
    virtual void requireStorableTypes() const = 0;
    virtual void writeBufferTypes(BaseOArchive& archive) const = 0;
    virtual void readBufferTypes(BaseIArchive& archive) = 0;

    VolumeGeometry _volume;
    ColorGeometry _color;
    TemporalGeometry _temporal;
    vlUInt64 _sizeX = 0;
    vlUInt64 _sizeY = 0;
};

/// A geometry with one pixel type for all planes.
class VELMO_HOST_EXPORT HomogeneousImageGeometry
    : public CopyableObject<HomogeneousImageGeometry, BaseImageGeometry> {
  public:
    /// Name of the class in archives and in the object factory.
    static std::string const& getTypeName();

    /// Sets all values. Throws VELMOImageException if the size overflows 64 bits; nothing is changed then.
    void init(VolumeGeometry const& volume, ColorGeometry const& color, TemporalGeometry const& temporal,
              vlUInt64 sizeX, vlUInt64 sizeY, eImageBufferType const& bufferType);

    /// @{
    /// Pixel type of all planes.
    eImageBufferType getBufferType() const override { return _bufferType; }
    void setBufferType(eImageBufferType const& bufferType) override;
    /// @}

  private:
    eImageBufferType getBufferTypeAt(vlUInt64 t) const override;
    std::optional<vlUInt64> getPixelSizesBefore(vlUInt64 t) const override;
    void requireStorableTypes() const override;
    void writeBufferTypes(BaseOArchive& archive) const override;
    void readBufferTypes(BaseIArchive& archive) override;

    eImageBufferType _bufferType = eIBT_None;
};

/// A geometry with a pixel type for each time step; or, with a single time step, for each plane of the
/// volume, where `getBufferType` returns the first one.
class VELMO_HOST_EXPORT HeterogeneousImageGeometry
    : public CopyableObject<HeterogeneousImageGeometry, BaseImageGeometry> {
  public:
    /// Name of the class in archives and in the object factory.
    static std::string const& getTypeName();

    HeterogeneousImageGeometry();

    /// @{
    /// Sets all values. Throws VELMOImageException if the number of types is neither that of time steps nor,
    /// with a single time step, that of planes; nothing is changed then.
    void init(VolumeGeometry const& volume, ColorGeometry const& color, TemporalGeometry const& temporal,
              vlUInt64 sizeX, vlUInt64 sizeY, std::vector<eImageBufferType> const& bufferTypes);
    void init(VolumeGeometry const& volume, ColorGeometry const& color, TemporalGeometry const& temporal,
              vlUInt64 sizeX, vlUInt64 sizeY, BufferTypeRuns const& bufferTypes);
    /// @}

    /// A new vector with one type for each time step (or plane).
    std::vector<eImageBufferType> getBufferTypes() const;
    /// Same, as runs. The geometry owns them.
    BufferTypeRuns const& getBufferTypeRuns() const { return *_pTypes; }

    /// The first pixel type; eIBT_None without planes.
    eImageBufferType getBufferType() const override;
    /// Sets the type of all planes.
    void setBufferType(eImageBufferType const& bufferType) override;

  private:
    eImageBufferType getBufferTypeAt(vlUInt64 t) const override;
    std::optional<vlUInt64> getPixelSizesBefore(vlUInt64 t) const override;
    void requireStorableTypes() const override;
    void writeBufferTypes(BaseOArchive& archive) const override;
    void readBufferTypes(BaseIArchive& archive) override;
    void requireCountOf(BufferTypeRuns const& bufferTypes) const;
    void initBufferTypes(BufferTypeRuns bufferTypes);
    [[noreturn]] void raiseBufferTypesCount(vlUInt64 nbTypes) const;

    std::shared_ptr<BufferTypeRuns const> _pTypes; ///< shared by copies, since it may be long
};

/// Creates a homogeneous geometry. Throws VELMOImageException if its size overflows 64 bits.
VELMO_HOST_EXPORT ImageGeometryPtr geometry(eImageBufferType const& bufferType, vlUInt64 sizeX,
                                            vlUInt64 sizeY, VolumeGeometry const& volume,
                                            ColorGeometry const& color, TemporalGeometry const& temporal);

/// Creates the geometry of a grey volume with a single time step.
VELMO_HOST_EXPORT ImageGeometryPtr geometry3d(eImageBufferType const& bufferType, vlUInt64 sizeX,
                                              vlUInt64 sizeY, vlUInt64 sizeZ);

/// A copy that can be changed and that only the caller owns.
VELMO_HOST_EXPORT ImageGeometryPtr duplicateGeometry(BaseImageGeometry const& geometry);

/// Sizes and pixel type as text: "x=4 y=3 z=2 c=1 t=1 eIBT_UInt16".
VELMO_HOST_EXPORT std::string describeGeometry(BaseImageGeometry const& geometry);

/// Whether a plane of the geometry has that pixel type.
VELMO_HOST_EXPORT bool hasBufferType(BaseImageGeometry const& geometry, eImageBufferType const& bufferType);

/// Index along Z of a plane whose pixel type differs from the planes before it in the same time step; empty
/// if each time step has one type.
VELMO_HOST_EXPORT std::optional<vlUInt64> findPlaneOfOtherType(BaseImageGeometry const& geometry);

/// Whether both have the same five sizes and the same pixel type in each time step.
VELMO_HOST_EXPORT bool haveSamePixels(BaseImageGeometry const& left, BaseImageGeometry const& right);

} // namespace velmo::image
