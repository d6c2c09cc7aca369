// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Region.h"

#include <VELMOImage/DiskImage.h>
#include <VELMOImageFile/Im6ImageFile.h>
#include <VELMOImageFile/RawImageFile.h>
#include <cstring>
#include <memory>
#include <stdexcept>

namespace velmo::python {

using namespace image;

namespace {

enum Axis { eT, eC, eZ, eY, eX };

/// Reading a gap of this size takes about as long as a system call.
constexpr vlUInt64 g_bytesWorthASkip = 32768;

/// Whether a read of a few pixels costs only these pixels. In a TIFF file it may decode a whole strip.
bool hasCheapRuns(BaseImage const& image) {
    auto const* const pDisk = dynamic_cast<DiskImage const*>(&image);
    return pDisk != nullptr &&
           (dynamic_cast<file::RawImageFile const*>(pDisk->getAccessor().get()) != nullptr ||
            dynamic_cast<file::Im6ImageFile const*>(pDisk->getAccessor().get()) != nullptr);
}

/// Makes all steps positive: the region then begins at the other end of the axis, and so does the memory.
void turnForward(Region& region, StridedMemory& target) {
    for (std::size_t axis = 0; axis < region.size(); ++axis) {
        AxisRange& range = region[axis];
        if (range.step < 0) {
            auto const last = static_cast<std::int64_t>(range.number) - 1;
            range.first -= static_cast<vlUInt64>(-range.step) * static_cast<vlUInt64>(last);
            range.step = -range.step;
            target.pFirst += last * target.strides[axis];
            target.strides[axis] = -target.strides[axis];
        }
    }
}

/// Number of indexes from the first to the last one of a range with a positive step.
vlUInt64 getSpan(AxisRange const& range) {
    return (range.number - 1) * static_cast<vlUInt64>(range.step) + 1;
}

template <std::size_t pixelSize>
void copyPixels(std::byte const* pSource, std::ptrdiff_t sourceStride, std::byte* pTarget,
                std::ptrdiff_t targetStride, vlUInt64 nbPixels) {
    for (vlUInt64 i = 0; i < nbPixels; ++i) {
        std::memcpy(pTarget, pSource, pixelSize);
        pSource += sourceStride;
        pTarget += targetStride;
    }
}

/// Reads the rows and columns of a region from one plane after the other.
class PlaneReader {
  public:
    PlaneReader(BaseImage const& image, Region const& region, StridedMemory const& target)
        : _image(image), _y(region[eY]), _x(region[eX]), _strideY(target.strides[eY]),
          _strideX(target.strides[eX]), _sizeX(image.getGeometry().getSizeX()),
          _pixelSize(getImageBufferBaseSize(image.getBufferType())), _bCheapRuns(hasCheapRuns(image)) {}

    BoolResult read(PlanIndexes const& plane, std::byte* pTarget) {
        if (fillsWholeRows()) {
            return _image.readPixels(plane, getPixel(0, 0), _y.number * _sizeX, pTarget);
        }
        return skipsRows() ? readRowByRow(plane, pTarget) : readAtOnce(plane, pTarget);
    }

  private:
    bool hasContiguousPixels() const {
        return _x.number == 1 || (_x.step == 1 && _strideX == static_cast<std::ptrdiff_t>(_pixelSize));
    }

    bool fillsWholeRows() const {
        bool const bRows =
            _y.number == 1 || (_y.step == 1 && _strideY == static_cast<std::ptrdiff_t>(_sizeX * _pixelSize));
        return bRows && _x.number == _sizeX && hasContiguousPixels();
    }

    /// Whether so many bytes between two rows are not needed that each row is read alone.
    bool skipsRows() const {
        vlUInt64 const nbSkipped = static_cast<vlUInt64>(_y.step) * _sizeX - getSpan(_x);
        return _bCheapRuns && nbSkipped * _pixelSize >= g_bytesWorthASkip;
    }

    /// Number of a pixel of the region in its plane; `y` and `x` count the pixels of the region.
    vlUInt64 getPixel(vlUInt64 y, vlUInt64 x) const {
        return (_y.first + y * static_cast<vlUInt64>(_y.step)) * _sizeX + _x.first +
               x * static_cast<vlUInt64>(_x.step);
    }

    BoolResult readRowByRow(PlanIndexes const& plane, std::byte* pTarget) {
        for (vlUInt64 y = 0; y < _y.number; ++y) {
            std::byte* const pRow = hasContiguousPixels() ? pTarget : provideScratch(getSpan(_x));
            BoolResult result = _image.readPixels(plane, getPixel(y, 0), getSpan(_x), pRow);
            if (!result) {
                return result;
            }
            if (pRow != pTarget) {
                copyRow(pRow, pTarget);
            }
            pTarget += _strideY;
        }
        return success();
    }

    /// Reads everything from the first to the last pixel, and takes the pixels of the region from it.
    BoolResult readAtOnce(PlanIndexes const& plane, std::byte* pTarget) {
        vlUInt64 const first = getPixel(0, 0);
        vlUInt64 const nbPixels = getPixel(_y.number - 1, _x.number - 1) - first + 1;
        std::byte* const pRead = provideScratch(nbPixels);
        BoolResult result = _image.readPixels(plane, first, nbPixels, pRead);
        for (vlUInt64 y = 0; result && y < _y.number; ++y) {
            copyRow(pRead + (getPixel(y, 0) - first) * _pixelSize, pTarget);
            pTarget += _strideY;
        }
        return result;
    }

    void copyRow(std::byte const* pSource, std::byte* pTarget) const {
        auto const sourceStride = _x.step * static_cast<std::ptrdiff_t>(_pixelSize);
        if (hasContiguousPixels()) {
            std::memcpy(pTarget, pSource, _x.number * _pixelSize);
        } else if (_pixelSize == 1) {
            copyPixels<1>(pSource, sourceStride, pTarget, _strideX, _x.number);
        } else if (_pixelSize == 2) {
            copyPixels<2>(pSource, sourceStride, pTarget, _strideX, _x.number);
        } else {
            copyPixels<4>(pSource, sourceStride, pTarget, _strideX, _x.number);
        }
    }

    /// Not initialised. All planes of a region need the same number of pixels.
    std::byte* provideScratch(vlUInt64 nbPixels) {
        if (!_pScratch) {
            _pScratch.reset(new std::byte[nbPixels * _pixelSize]);
        }
        return _pScratch.get();
    }

    BaseImage const& _image;
    AxisRange const _y;
    AxisRange const _x;
    std::ptrdiff_t const _strideY;
    std::ptrdiff_t const _strideX;
    vlUInt64 const _sizeX;
    vlUInt64 const _pixelSize;
    bool const _bCheapRuns;
    std::unique_ptr<std::byte[]> _pScratch;
};

} // namespace

void requireInside(BaseImageGeometry const& geometry, Region const& region) {
    std::array<vlUInt64, 5> const sizes{geometry.getSizeT(), geometry.getSizeC(), geometry.getSizeZ(),
                                        geometry.getSizeY(), geometry.getSizeX()};
    for (std::size_t axis = 0; axis < region.size(); ++axis) {
        auto const& [first, step, number] = region[axis];
        if (number == 0) {
            continue;
        }
        bool bInside = first < sizes[axis];
        if (bInside && number > 1) {
            // Not negated as a signed number: the lowest step has no positive one.
            vlUInt64 const distance =
                step < 0 ? vlUInt64{0} - static_cast<vlUInt64>(step) : static_cast<vlUInt64>(step);
            vlUInt64 const room = step < 0 ? first : sizes[axis] - 1 - first;
            bInside = distance != 0 && number - 1 <= room / distance;
        }
        if (!bInside) {
            throw std::out_of_range("the region is outside of the image");
        }
    }
}

BoolResult readRegion(BaseImage const& image, Region region, StridedMemory target) {
    for (AxisRange const& range : region) {
        if (range.number == 0) {
            return success();
        }
    }
    turnForward(region, target);
    PlaneReader reader(image, region, target);
    auto const toIndex = [&](Axis axis, vlUInt64 i) {
        return region[axis].first + i * static_cast<vlUInt64>(region[axis].step);
    };
    auto const toOffset = [&](Axis axis, vlUInt64 i) {
        return static_cast<std::ptrdiff_t>(i) * target.strides[axis];
    };
    for (vlUInt64 t = 0; t < region[eT].number; ++t) {
        for (vlUInt64 c = 0; c < region[eC].number; ++c) {
            for (vlUInt64 z = 0; z < region[eZ].number; ++z) {
                std::byte* const pPlane = target.pFirst + toOffset(eT, t) + toOffset(eC, c) + toOffset(eZ, z);
                BoolResult result = reader.read({toIndex(eZ, z), toIndex(eC, c), toIndex(eT, t)}, pPlane);
                if (!result) {
                    return result;
                }
            }
        }
    }
    return success();
}

} // namespace velmo::python
