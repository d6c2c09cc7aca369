// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "picture/PlaneReducer.h"

#include "terminal/Failure.h"
#include "terminal/Interrupt.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstring>

namespace velmo::tool {

namespace {

using namespace image;

/// Pixels that are read at once.
constexpr vlUInt64 g_pieceSize = vlUInt64{1} << 16;

template <class Value>
void convertAs(std::vector<std::byte> const& bytes, std::vector<double>& values) {
    for (std::size_t index = 0; index < values.size(); ++index) {
        Value value;
        std::memcpy(&value, bytes.data() + index * sizeof(Value), sizeof(Value));
        values[index] = static_cast<double>(value);
    }
}

void convert(eImageBufferType type, std::vector<std::byte> const& bytes, std::vector<double>& values) {
    switch (toDataType(type)) {
    case eDT_Int8:
        return convertAs<std::int8_t>(bytes, values);
    case eDT_UInt8:
        return convertAs<std::uint8_t>(bytes, values);
    case eDT_Int16:
        return convertAs<std::int16_t>(bytes, values);
    case eDT_UInt16:
        return convertAs<std::uint16_t>(bytes, values);
    case eDT_Int32:
        return convertAs<std::int32_t>(bytes, values);
    case eDT_UInt32:
        return convertAs<std::uint32_t>(bytes, values);
    case eDT_Real32:
        return convertAs<float>(bytes, values);
    case eDT_None:
        break;
    }
    throw WorkFailure("pixels without a type cannot be shown");
}

/// The first of the `size` source pixels that pixel `index` of `nbShown` stands for; `nbShown` gives the end.
vlUInt64 getFirstSource(vlUInt64 index, vlUInt64 size, vlUInt64 nbShown) {
    return size / nbShown * index + size % nbShown * index / nbShown;
}

/// Takes the pixels of a plane in their order and fills the rows of the cell as they are complete.
class CellFiller {
  public:
    CellFiller(ImagePlanGeometry const& plane, PictureCell const& cell, Picture& picture)
        : _sizeX(plane.getSizeX()), _sizeY(plane.getSizeY()),
          _nbColumns(cell.orientation.swapsAxes() ? cell.height : cell.width),
          _nbRows(cell.orientation.swapsAxes() ? cell.width : cell.height), _cell(cell), _picture(picture),
          _ends(_nbColumns), _sums(_nbColumns), _counts(_nbColumns) {
        for (vlUInt64 column = 0; column < _nbColumns; ++column) {
            _ends[column] = getFirstSource(column + 1, _sizeX, _nbColumns);
        }
    }

    void take(std::vector<double> const& values) {
        for (std::size_t next = 0; next < values.size();) {
            vlUInt64 const length = std::min<vlUInt64>(values.size() - next, _sizeX - _x);
            if (!_cell.bNames || _y == getMiddle(_row, _sizeY, _nbRows)) {
                takePartOfRow(values.data() + next, length);
            }
            next += length;
            _x += length;
            if (_x == _sizeX) {
                endRow();
            }
        }
    }

  private:
    static vlUInt64 getMiddle(vlUInt64 index, vlUInt64 size, vlUInt64 nbShown) {
        vlUInt64 const first = getFirstSource(index, size, nbShown);
        return first + (getFirstSource(index + 1, size, nbShown) - first) / 2;
    }

    void takePartOfRow(double const* values, vlUInt64 length) {
        for (vlUInt64 index = 0; index < length; ++index) {
            vlUInt64 const x = _x + index;
            _column += x == _ends[_column] ? 1 : 0;
            bool const bTaken = !_cell.bNames || x == getMiddle(_column, _sizeX, _nbColumns);
            if (bTaken && !std::isnan(values[index])) {
                _sums[_column] += values[index];
                _counts[_column] += 1;
            }
        }
    }

    void endRow() {
        _x = 0;
        _column = 0;
        ++_y;
        if (_y != getFirstSource(_row + 1, _sizeY, _nbRows)) {
            return;
        }
        for (vlUInt64 column = 0; column < _nbColumns; ++column) {
            if (_counts[column] != 0) {
                PixelPlace const place = _cell.orientation.place({column, _row}, _cell.width, _cell.height);
                _picture.at(_cell.x + place.x, _cell.y + place.y, _cell.channel) =
                    _sums[column] / _counts[column];
            }
        }
        std::fill(_sums.begin(), _sums.end(), 0.0);
        std::fill(_counts.begin(), _counts.end(), 0.0);
        ++_row;
    }

    vlUInt64 const _sizeX;
    vlUInt64 const _sizeY;
    vlUInt64 const _nbColumns; ///< of the cell, as the file is turned
    vlUInt64 const _nbRows;
    PictureCell const _cell;
    Picture& _picture;
    std::vector<vlUInt64> _ends; ///< of each column, the source pixel behind its last one
    std::vector<double> _sums;
    std::vector<double> _counts;
    vlUInt64 _x = 0; ///< of the next pixel
    vlUInt64 _y = 0;
    vlUInt64 _column = 0; ///< of the pixel before it
    vlUInt64 _row = 0;
};

void readPiece(BaseImage const& image, PlanIndexes const& plane, vlUInt64 start, eImageBufferType type,
               std::vector<std::byte>& bytes, std::vector<double>& values) {
    bytes.resize(values.size() * getImageBufferBaseSize(type));
    BoolResult const result = image.readPixels(plane.z, plane.c, plane.t, start, values.size(), bytes.data());
    if (!result) {
        throwIfInterrupted();
        throw WorkFailure(result.getMessage());
    }
    convert(type, bytes, values);
    if (type == eIBT_Binary) {
        std::transform(values.begin(), values.end(), values.begin(),
                       [](double value) { return value != 0 ? 1.0 : 0.0; });
    }
}

} // namespace

void putPlane(BaseImage const& image, PlanIndexes const& plane, PictureCell const& cell, Picture& picture) {
    ImagePlanGeometry const planeGeometry = image.getGeometry().getPlanGeometry(plane.t);
    CellFiller filler(planeGeometry, cell, picture);
    std::vector<std::byte> bytes;
    std::vector<double> values;
    vlUInt64 const nbPixels = planeGeometry.getNbPixels();
    for (vlUInt64 start = 0; start < nbPixels; start += values.size()) {
        values.resize(std::min(g_pieceSize, nbPixels - start));
        readPiece(image, plane, start, planeGeometry.getBufferType(), bytes, values);
        filler.take(values);
    }
}

} // namespace velmo::tool
