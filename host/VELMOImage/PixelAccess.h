// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOImage/BaseImage.h"

#include <cstdint>
#include <type_traits>
#include <vector>

/// @file
/// Access to pixels with a C++ type, which checks the type, the indexes and the sizes.
///
/// | pixel type of the plane                     | C++ type                                              |
/// |---------------------------------------------|-------------------------------------------------------|
/// | `eIBT_Int8`, `eIBT_Int16`, `eIBT_Int32`     | `std::int8_t`, `std::int16_t`, `std::int32_t`         |
/// | `eIBT_UInt8`, `eIBT_UInt16`, `eIBT_UInt32`  | `std::uint8_t`, `std::uint16_t`, `std::uint32_t`      |
/// | `eIBT_Real32`                               | `float`                                               |
/// | `eIBT_Binary`                               | `std::uint8_t`: one byte per pixel, 0 or 1            |
/// | `eIBT_Label8`, `eIBT_Label16`, `eIBT_Label32` | `std::uint8_t`, `std::uint16_t`, `std::uint32_t`    |
///
/// Any other C++ type does not compile. A plane is given by its indexes `{z, c, t}`, each counted from 0. The
/// time steps of an image may have different pixel types.
///
/// These errors are logged at ERROR and thrown as VELMOImageException: a C++ type that does not fit the pixel
/// type, a plane or a row that does not exist, a wrong number of pixels, an empty pointer, and a read or
/// write that fails. The text names the plane, the file if the image is on disk, and both types; its last
/// line is the reason. If there is too little memory, std::bad_alloc is thrown. Different threads may read
/// and write different pixels of one image at once.
///
/// Example: examples/quick_start.cpp.

namespace velmo::image {

namespace detail {

/// @{
/// Checks and transfers, used by the templates below.
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

/// The number type of a C++ type.
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

/// Function argument that accepts a reference or any shared pointer to an image. Does not own the image.
/// Throws VELMOImageException for an empty pointer.
template <class Base>
class ImageArgument {
  public:
    /// Refers to `image`.
    ImageArgument(Base& image) : _pImage(&image) {}
    /// Refers to the image of the pointer.
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
/// Arguments for an image to read from and for an image to write to.
using ReadableImage = ImageArgument<BaseImage const>;
using WritableImage = ImageArgument<BaseImage>;
/// @}

/// View of the pixels of a plane in the memory of an image, row by row without padding. Does not own the
/// pixels: it is valid until the image is destroyed or initialised again.
template <class T>
struct PlaneView {
    /// Pointer to pixel x = 0 of row y = 0; may be null if the plane has no pixels.
    T* pPixels;
    /// @{
    /// Number of pixels of a row, and number of rows.
    vlUInt64 sizeX;
    vlUInt64 sizeY;
    /// @}

    /// The pixel (x, y). Throws VELMOImageException if it is outside the plane.
    T& at(vlUInt64 x, vlUInt64 y) const {
        if (x >= sizeX || y >= sizeY) {
            detail::raiseOutOfView(x, y, sizeX, sizeY);
        }
        return pPixels[y * sizeX + x];
    }
    /// @{
    /// Range of all pixels, row by row.
    T* begin() const { return pPixels; }
    T* end() const { return pPixels + sizeX * sizeY; }
    /// @}
};

namespace detail {

/// Throws if the plane does not exist or if its pixels have another type.
template <class T>
void requireType(BaseImage const& image, PlanIndexes const& plane) {
    constexpr eDataType asked = getDataTypeOf<std::remove_const_t<T>>();
    static_assert(asked != eDT_None, "no plane has pixels of this type: see the table in PixelAccess.h");
    requirePixels(image, plane, asked);
}

} // namespace detail

/// Reads a plane into `pixels`, which is resized to sizeX * sizeY pixels, row by row. After an error the
/// content of `pixels` is undefined.
template <class T>
void readPlane(ReadableImage const& image, PlanIndexes const& plane, std::vector<T>& pixels) {
    detail::requireType<T>(image.get(), plane);
    pixels.resize(image.get().getGeometry().getPlanNbPixels());
    detail::readChecked(image.get(), plane, 0, pixels.size(), pixels.data());
}

/// Reads a plane into a new vector.
template <class T>
std::vector<T> readPlane(ReadableImage const& image, PlanIndexes const& plane) {
    std::vector<T> pixels;
    readPlane(image, plane, pixels);
    return pixels;
}

/// Reads row `y` (from 0): sizeX pixels. From an uncompressed file no other row is read.
template <class T>
std::vector<T> readRow(ReadableImage const& image, PlanIndexes const& plane, vlUInt64 y) {
    detail::requireType<T>(image.get(), plane);
    detail::requireRow(image.get(), plane, y);
    std::vector<T> pixels(image.get().getGeometry().getSizeX());
    detail::readChecked(image.get(), plane, y * pixels.size(), pixels.size(), pixels.data());
    return pixels;
}

/// Replaces the pixels of a plane by `pixels`: sizeX * sizeY pixels, row by row. If a write to a file fails,
/// a part of the plane may be written; after any other error the image is unchanged.
template <class T>
void writePlane(WritableImage const& image, PlanIndexes const& plane, std::vector<T> const& pixels) {
    detail::requireType<T>(image.get(), plane);
    detail::requireCount(image.get(), plane, pixels.size(), image.get().getGeometry().getPlanNbPixels());
    detail::writeChecked(image.get(), plane, 0, pixels.size(), pixels.data());
}

/// Returns a view of a plane of an image in memory: `viewPlane<float>` to change pixels, or
/// `viewPlane<float const>` to read them, which also accepts a const image. Throws VELMOImageException if the
/// pixels of the image are not in the memory of this process.
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
