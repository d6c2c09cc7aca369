// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "input/RawFit.h"

#include <VELMOBase/CheckedArithmetic.h>
#include <algorithm>
#include <array>
#include <boost/algorithm/string/join.hpp>
#include <vector>

namespace velmo::tool {

namespace {

constexpr std::size_t g_maxProposals = 3;

struct TypesOfSize {
    vlUInt64 size;
    char const* names;
};
constexpr std::array<TypesOfSize, 3> g_types = {
    {{1, "uint8 or int8"}, {2, "uint16 or int16"}, {4, "uint32, int32 or real32"}}};

/// What the file would hold, with products that are empty where they overflow.
class RawFit {
  public:
    RawFit(image::BaseImageGeometry const& geometry, vlUInt64 offset, vlUInt64 fileSize)
        : _geometry(geometry), _offset(offset), _fileSize(fileSize),
          _pixelSize(image::getImageBufferBaseSize(geometry.getBufferType())),
          _nbBytes(geometry.getFullMemorySize()) {}

    std::string propose() {
        vlUInt64 const nbPresent = _offset <= _fileSize ? _fileSize - _offset : 0;
        if (nbPresent == _nbBytes || _nbBytes == 0) {
            return {};
        }
        proposeType(nbPresent);
        proposePlanes(nbPresent, true);
        proposeOffset();
        if (_proposals.empty() && nbPresent < _nbBytes) {
            proposePlanes(nbPresent, false);
        }
        _proposals.resize(std::min(_proposals.size(), g_maxProposals));
        return boost::algorithm::join(_proposals, ", or ");
    }

  private:
    void proposeType(vlUInt64 nbPresent) {
        vlUInt64 const nbPixels = _nbBytes / _pixelSize;
        for (TypesOfSize const& types : g_types) {
            if (types.size != _pixelSize && checkedMultiply(nbPixels, types.size) == nbPresent) {
                _proposals.push_back(std::string("--type ") + types.names);
            }
        }
    }

    void proposePlanes(vlUInt64 nbPresent, bool bExact) {
        vlUInt64 const nbBytesOfZ = _nbBytes / _geometry.getSizeZ();
        vlUInt64 const sizeZ = nbPresent / nbBytesOfZ;
        if (sizeZ == 0 || (bExact && nbPresent % nbBytesOfZ != 0)) {
            return;
        }
        std::string text = "--size " + std::to_string(_geometry.getSizeX()) + ',' +
                           std::to_string(_geometry.getSizeY()) + ',' + std::to_string(sizeZ);
        if (_geometry.getSizeC() != 1 || _geometry.getSizeT() != 1) {
            text += ',' + std::to_string(_geometry.getSizeC());
        }
        if (_geometry.getSizeT() != 1) {
            text += ',' + std::to_string(_geometry.getSizeT());
        }
        _proposals.push_back(text);
    }

    /// Files have headers rather than trailers. An offset that was given and leaves bytes is believed.
    void proposeOffset() {
        bool const bTooLarge = _offset > _fileSize || _fileSize - _offset < _nbBytes;
        if (_nbBytes <= _fileSize && (_offset == 0 || bTooLarge)) {
            _proposals.push_back("--offset " + std::to_string(_fileSize - _nbBytes));
        }
    }

    image::BaseImageGeometry const& _geometry;
    vlUInt64 const _offset;
    vlUInt64 const _fileSize;
    vlUInt64 const _pixelSize;
    vlUInt64 const _nbBytes;
    std::vector<std::string> _proposals;
};

} // namespace

std::string proposeFit(image::BaseImageGeometry const& geometry, vlUInt64 offset, vlUInt64 fileSize) {
    return RawFit(geometry, offset, fileSize).propose();
}

} // namespace velmo::tool
