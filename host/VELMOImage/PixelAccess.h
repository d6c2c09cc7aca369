// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOImage/BaseImage.h"

#include <cstdint>
#include <type_traits>
#include <vector>

/// @file
/// Pixels of a known C++ type: access that checks the type, the indexes and the sizes.
///
/// | pixel type of the plane                     | C++ type                                              |
/// |---------------------------------------------|-------------------------------------------------------|
/// | `eIBT_Int8`, `eIBT_Int16`, `eIBT_Int32`     | `std::int8_t`, `std::int16_t`, `std::int32_t`         |
/// | `eIBT_UInt8`, `eIBT_UInt16`, `eIBT_UInt32`  | `std::uint8_t`, `std::uint16_t`, `std::uint32_t`      |
/// | `eIBT_Real32`                               | `float`                                               |
/// | `eIBT_Binary`                               | `std::uint8_t`: one byte a pixel, 0 or 1              |
/// | `eIBT_Label8`, `eIBT_Label16`, `eIBT_Label32` | `std::uint8_t`, `std::uint16_t`, `std::uint32_t`    |
///
/// Any other type does not compile. A plane is named by its indexes, each counted from 0: `{z, c, t}`. The
/// planes of one image may differ in their pixel type from time step to time step.
///
/// Every error is thrown as VELMOImageException, logged at ERROR: another pixel type, a plane or a row that
/// the image does not have, a wrong number of pixels, an empty pointer, and a read or a write that fails. The
/// text names the plane, the file if the image is on disk, and both types; its last line is the reason.
/// Memory that is not available is std::bad_alloc. Different threads may read and write different pixels of
/// one image at once.
///
/// Example: examples/quick_start.cpp.

namespace velmo::image {

namespace detail {

/// @{
/// Reject an access that does not fit; the implementation of the templates below.
VELMO_HOST_EXPORT void requireImage(BaseImage const* pImage);
VELMO_HOST_EXPORT void requirePixels(BaseImage const& image, PlanIndexes const& plane, eDataType asked);
VELMO_HOST_EXPORT void requireRow(BaseImage const& image, PlanIndexes const& plane, vlUInt64 y);
VELMO_HOST_EXPORT void requireCount(BaseImage const& image, PlanIndexes const& plane, vlUInt64 nbPixels,
                                    vlUInt64 nbExpected);
VELMO_HOST_EXPORT void readChecked(BaseImage const& image, PlanIndexes const& plane, vlUInt64 pixelStart,
                                   vlUInt64 nbPixels, void* buffer);
VELMO_HOST_EXPORT void writeChecked(BaseImage& image, PlanIndexes const& plane, vlUInt64 pixelStart,
                                    vlUInt64 nbPixels, void const* buffer);
VELMO_HOST_EXPORT void const* accessChecked(BaseImage const& image, PlanIndexes const& plane);
[[noreturn]] VELMO_HOST_EXPORT void raiseOutOfView(vlUInt64 x, vlUInt64 y, vlUInt64 sizeX, vlUInt64 sizeY);
/// @}

/// The storage type that a C++ type stands for.
template <class T>
constexpr eDataType getDataTypeOf() {
    static_assert(sizeof(float) == sizeof(std::uint32_t));
    if constexpr (std::is_same_v<T, std::int8_t>) {
        return eDT_Int8;
    } else if constexpr (std::is_same_v<T, std::uint8_t>) {
        return eDT_UInt8;
    } else if constexpr (std::is_same_v<T, std::int16_t>) {
        return eDT_Int16;
    } else if constexpr (std::is_same_v<T, std::uint16_t>) {
        return eDT_UInt16;
    } else if constexpr (std::is_same_v<T, std::int32_t>) {
        return eDT_Int32;
    } else if constexpr (std::is_same_v<T, std::uint32_t>) {
        return eDT_UInt32;
    } else if constexpr (std::is_same_v<T, float>) {
        return eDT_Real32;
    } else {
        return eDT_None;
    }
}

} // namespace detail

/// An image as an argument: made of a reference or of any shared pointer to an image, which it does not keep.
/// An empty pointer is thrown as VELMOImageException.
template <class Base>
class ImageArgument {
  public:
    /// Refers to `image`.
    ImageArgument(Base& image) : _pImage(&image) {}
    /// Refers to the image behind the pointer.
    template <class Image>
    ImageArgument(boost::shared_ptr<Image> const& pImage) : _pImage(pImage.get()) {
        detail::requireImage(_pImage);
    }
    /// The image.
    Base& get() const { return *_pImage; }

  private:
    Base* _pImage;
};

/// @{
/// An image to read from, and one to write to.
using ReadableImage = ImageArgument<BaseImage const>;
using WritableImage = ImageArgument<BaseImage>;
/// @}

/// The pixels of a plane where they lie in memory, row after row without padding. The view does not own them:
/// it is valid as long as the image lives and is not initialised again.
template <class T>
struct PlaneView {
    /// Pixel x = 0 of row y = 0; may be null where the plane has no pixels.
    T* pPixels;
    /// @{
    /// Pixels of a row, and rows.
    vlUInt64 sizeX;
    vlUInt64 sizeY;
    /// @}

    /// A pixel. Throws VELMOImageException for one outside of the plane.
    T& at(vlUInt64 x, vlUInt64 y) const {
        if (x >= sizeX || y >= sizeY) {
            detail::raiseOutOfView(x, y, sizeX, sizeY);
        }
        return pPixels[y * sizeX + x];
    }
    /// @{
    /// All pixels in their order.
    T* begin() const { return pPixels; }
    T* end() const { return pPixels + sizeX * sizeY; }
    /// @}
};

namespace detail {

/// Rejects another type than that of the plane's pixels, and a plane that does not exist.
template <class T>
void requireType(BaseImage const& image, PlanIndexes const& plane) {
    constexpr eDataType asked = getDataTypeOf<std::remove_const_t<T>>();
    static_assert(asked != eDT_None, "no plane has pixels of this type: see the table in PixelAccess.h");
    requirePixels(image, plane, asked);
}

} // namespace detail

/// Reads a plane into `pixels`, which gets its size: sizeX * sizeY pixels, row after row. An error leaves the
/// pixels undefined.
template <class T>
void readPlane(ReadableImage const& image, PlanIndexes const& plane, std::vector<T>& pixels) {
    detail::requireType<T>(image.get(), plane);
    pixels.resize(image.get().getGeometry().getPlanNbPixels());
    detail::readChecked(image.get(), plane, 0, pixels.size(), pixels.data());
}

/// The same into a new vector.
template <class T>
std::vector<T> readPlane(ReadableImage const& image, PlanIndexes const& plane) {
    std::vector<T> pixels;
    readPlane(image, plane, pixels);
    return pixels;
}

/// The sizeX pixels of row `y`, counted from 0. Of an image on disk no other row is read from an uncompressed
/// file.
template <class T>
std::vector<T> readRow(ReadableImage const& image, PlanIndexes const& plane, vlUInt64 y) {
    detail::requireType<T>(image.get(), plane);
    detail::requireRow(image.get(), plane, y);
    std::vector<T> pixels(image.get().getGeometry().getSizeX());
    detail::readChecked(image.get(), plane, y * pixels.size(), pixels.size(), pixels.data());
    return pixels;
}

/// Replaces the pixels of a plane by `pixels`: sizeX * sizeY of them, row after row. A failed write to a file
/// may leave the plane written in part; every other error leaves the image as it was.
template <class T>
void writePlane(WritableImage const& image, PlanIndexes const& plane, std::vector<T> const& pixels) {
    detail::requireType<T>(image.get(), plane);
    detail::requireCount(image.get(), plane, pixels.size(), image.get().getGeometry().getPlanNbPixels());
    detail::writeChecked(image.get(), plane, 0, pixels.size(), pixels.data());
}

/// The plane of an image in memory, to change with `viewPlane<float>`, or to read with
/// `viewPlane<float const>`, which also takes an image that is const. Throws VELMOImageException for an image
/// whose pixels are not in the memory of this process.
template <class T>
PlaneView<T>
viewPlane(ImageArgument<std::conditional_t<std::is_const_v<T>, BaseImage const, BaseImage>> image,
          PlanIndexes const& plane) {
    detail::requireType<T>(image.get(), plane);
    BaseImageGeometry const& geometry = image.get().getGeometry();
    void const* const pPixels = detail::accessChecked(image.get(), plane);
    return {static_cast<T*>(const_cast<void*>(pPixels)), geometry.getSizeX(), geometry.getSizeY()};
}

} // namespace velmo::image
