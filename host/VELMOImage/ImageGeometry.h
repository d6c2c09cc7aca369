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
/// A shared geometry that can be changed; who keeps one takes a copy (`duplicateGeometry`).
using ImageGeometryPtr = boost::shared_ptr<BaseImageGeometry>;

/// The triple that names a plane.
struct PlanIndexes {
    /// @{
    /// Each counted from 0.
    vlUInt64 z;
    vlUInt64 c;
    vlUInt64 t;
    /// @}
};

/// Sizes of an image in X, Y, Z, C, T, what its channels, planes and time steps are, and the pixel type of
/// its planes.
///
/// Wherever planes lie one after the other (in memory, in a raw file), their order is t outermost, then c,
/// then z. Sizes may be 0. A geometry whose bytes 64 bits cannot count is refused by `init` with
/// VELMOImageException; where its parts are changed afterwards, by the operation that meets it first. Reading
/// is safe from any thread.
class VELMO_HOST_EXPORT BaseImageGeometry : public BaseSerializationObject {
  public:
    /// The name under which archives know the class.
    static std::string const& getTypeName();

    /// @{
    /// Pixels of a row, rows of a plane, planes of a volume, channels, time steps.
    vlUInt64 getSizeX() const { return _sizeX; }
    vlUInt64 getSizeY() const { return _sizeY; }
    vlUInt64 getSizeZ() const { return _volume.getSizeZ(); }
    vlUInt64 getSizeC() const { return _color.getSizeC(); }
    vlUInt64 getSizeT() const { return _temporal.getSizeT(); }
    /// @}

    /// @{
    /// Those of the parts below.
    eColorGeometryType getColorGeometryType() const { return _color.getColorGeometryType(); }
    eVolumeGeometryType getVolumeGeometryType() const { return _volume.getVolumeGeometryType(); }
    eTemporalGeometryType getTemporalGeometryType() const { return _temporal.getTemporalGeometryType(); }
    /// @}
    /// The one of all planes; of a heterogeneous geometry the first.
    virtual eImageBufferType getBufferType() const = 0;

    /// @{
    /// Owned by the geometry. A change of a part changes the sizes; nothing is checked before the next use.
    ColorGeometry const& getColorGeometry() const { return _color; }
    ColorGeometry& getColorGeometry() { return _color; }
    VolumeGeometry const& getVolumeGeometry() const { return _volume; }
    VolumeGeometry& getVolumeGeometry() { return _volume; }
    TemporalGeometry const& getTemporalGeometry() const { return _temporal; }
    TemporalGeometry& getTemporalGeometry() { return _temporal; }
    /// @}

    /// The planes of time step `t`. Throws VELMOImageException if there is no such step.
    ImagePlanGeometry getPlanGeometry(vlUInt64 t) const;

    /// @{
    /// Pixels in one plane, in all planes; bytes of one plane of step `t`, of all planes.
    vlUInt64 getPlanNbPixels() const;
    vlUInt64 getNbPixels() const;
    vlUInt64 getPlanMemorySize(vlUInt64 t) const;
    vlUInt64 getFullMemorySize() const;
    /// @}

    /// Z * C * T.
    vlUInt64 getNbPlans() const;
    /// Which plane is number `plan` (from 0) in (t, c, z) order. The plane must exist.
    PlanIndexes getPlanIndexes(vlUInt64 plan) const;
    /// The converse.
    vlUInt64 getPlanNumber(PlanIndexes const& plan) const;
    /// Bytes of the first `nbPlans` planes in (t, c, z) order, in constant time.
    vlUInt64 getPlansMemorySize(vlUInt64 nbPlans) const;
    /// Whether there is such a plane.
    bool hasPlan(vlUInt64 z, vlUInt64 c, vlUInt64 t) const;
    /// Bytes before a plane, counted from the first plane, in constant time. The plane must exist.
    vlUInt64 getPlanOffset(vlUInt64 z, vlUInt64 c, vlUInt64 t) const;

    /// Replaces the pixel type of all planes. Throws VELMOImageException, and changes nothing, where the
    /// bytes would pass 64 bits.
    virtual void setBufferType(eImageBufferType const& bufferType) = 0;

    /// Sizes, parts and pixel types. A geometry that `read` would refuse (bytes past 64 bits, types that fit
    /// neither time steps nor planes, a value outside of an enumeration) is thrown before anything is
    /// written, as VELMOImageException or VELMOSerializationException.
    BoolResult write(BaseOArchive& archive) const override;
    /// An archive that holds a refused geometry leaves this one as it was.
    BoolResult read(BaseIArchive& archive) override;

  protected:
    BaseImageGeometry() = default;
    /// @{
    /// Copied through `duplicateGeometry` alone.
    BaseImageGeometry(BaseImageGeometry const&) = default;
    BaseImageGeometry& operator=(BaseImageGeometry const&) = default;
    /// @}

    /// Replaces sizes and parts; raises nothing, `requireCountable` does.
    void setParts(VolumeGeometry const& volume, ColorGeometry const& color, TemporalGeometry const& temporal,
                  vlUInt64 sizeX, vlUInt64 sizeY);
    /// Raises unless every size of the geometry fits in 64 bits.
    void requireCountable() const;

  private:
    void readParts(BaseIArchive& archive);
    [[noreturn]] void raiseTooLarge() const;
    /// The size, or the refusal where 64 bits do not hold it.
    vlUInt64 orTooLarge(std::optional<vlUInt64> const& size) const;

    virtual eImageBufferType getBufferTypeAt(vlUInt64 t) const = 0;
    /// Sum of the bytes of a pixel over the time steps before `t`; empty where it passes 64 bits.
    virtual std::optional<vlUInt64> getPixelSizesBefore(vlUInt64 t) const = 0;
    /// Raises for what an archive cannot hold: number of types, values outside of the enumeration.
    virtual void requireStorableTypes() const = 0;
    virtual void writeBufferTypes(BaseOArchive& archive) const = 0;
    virtual void readBufferTypes(BaseIArchive& archive) = 0;

    VolumeGeometry _volume;
    ColorGeometry _color;
    TemporalGeometry _temporal;
    vlUInt64 _sizeX = 0;
    vlUInt64 _sizeY = 0;
};

/// One pixel type for all planes.
class VELMO_HOST_EXPORT HomogeneousImageGeometry
    : public CopyableObject<HomogeneousImageGeometry, BaseImageGeometry> {
  public:
    /// The name under which archives and the object factory know the class.
    static std::string const& getTypeName();

    /// Replaces everything. Throws VELMOImageException, and changes nothing, where the bytes pass 64 bits.
    void init(VolumeGeometry const& volume, ColorGeometry const& color, TemporalGeometry const& temporal,
              vlUInt64 sizeX, vlUInt64 sizeY, eImageBufferType const& bufferType);

    /// @{
    /// The one of all planes.
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

/// A pixel type for each time step; or, of a single time step, one for each plane of the volume, where the
/// first stands for all.
class VELMO_HOST_EXPORT HeterogeneousImageGeometry
    : public CopyableObject<HeterogeneousImageGeometry, BaseImageGeometry> {
  public:
    /// The name under which archives and the object factory know the class.
    static std::string const& getTypeName();

    HeterogeneousImageGeometry();

    /// @{
    /// Throws VELMOImageException, and changes nothing, if the number of types fits neither the time steps
    /// nor, with one time step, the planes.
    void init(VolumeGeometry const& volume, ColorGeometry const& color, TemporalGeometry const& temporal,
              vlUInt64 sizeX, vlUInt64 sizeY, std::vector<eImageBufferType> const& bufferTypes);
    void init(VolumeGeometry const& volume, ColorGeometry const& color, TemporalGeometry const& temporal,
              vlUInt64 sizeX, vlUInt64 sizeY, BufferTypeRuns const& bufferTypes);
    /// @}

    /// One for each time step (or plane), in their order, newly made.
    std::vector<eImageBufferType> getBufferTypes() const;
    /// The same as runs; owned by the geometry.
    BufferTypeRuns const& getBufferTypeRuns() const { return *_pTypes; }

    /// The first one's; eIBT_None without planes.
    eImageBufferType getBufferType() const override;
    /// Makes all planes of that type.
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

/// A homogeneous geometry. Throws VELMOImageException if its bytes pass 64 bits.
VELMO_HOST_EXPORT ImageGeometryPtr geometry(eImageBufferType const& bufferType, vlUInt64 sizeX,
                                            vlUInt64 sizeY, VolumeGeometry const& volume,
                                            ColorGeometry const& color, TemporalGeometry const& temporal);

/// A grey volume of one time step.
VELMO_HOST_EXPORT ImageGeometryPtr geometry3d(eImageBufferType const& bufferType, vlUInt64 sizeX,
                                              vlUInt64 sizeY, vlUInt64 sizeZ);

/// A copy that can be changed and that the caller shares with nobody.
VELMO_HOST_EXPORT ImageGeometryPtr duplicateGeometry(BaseImageGeometry const& geometry);

/// Sizes and pixel type in words: "x=4 y=3 z=2 c=1 t=1 eIBT_UInt16".
VELMO_HOST_EXPORT std::string describeGeometry(BaseImageGeometry const& geometry);

/// Whether planes of the geometry have that pixel type.
VELMO_HOST_EXPORT bool hasBufferType(BaseImageGeometry const& geometry, eImageBufferType const& bufferType);

/// The number of a plane along Z whose pixel type is not that of the planes before it in the same time step;
/// empty where the planes of each time step have one type.
VELMO_HOST_EXPORT std::optional<vlUInt64> findPlaneOfOtherType(BaseImageGeometry const& geometry);

/// Whether two images of these geometries can hold each other's pixels: the same sizes in all five dimensions
/// and the same pixel type in each time step.
VELMO_HOST_EXPORT bool haveSamePixels(BaseImageGeometry const& left, BaseImageGeometry const& right);

} // namespace velmo::image
