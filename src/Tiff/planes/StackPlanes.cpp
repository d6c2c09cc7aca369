// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/planes/StackPlanes.h"

#include "Planes/ThreadStreams.h"
#include "Tiff/handle/TiffStream.h"
#include "Tiff/handle/TiffTags.h"
#include "Tiff/model/TiffPixels.h"
#include "Tiff/planes/PlaneContext.h"

#include <VELMOBase/CheckedArithmetic.h>
#include <VELMOImageFile/ImageFileCheckMessage.h>
#include <algorithm>
#include <boost/format.hpp>
#include <cstring>

namespace velmo::image::file {

namespace {

using Check = eImageFileCheckMessage;

/// Reads bytes from `offset` on. If the file does not contain them, sets them to zero and returns false.
bool readBytes(std::fstream& stream, std::optional<vlUInt64> const& offset, void* pBuffer, vlUInt64 nbBytes) {
    constexpr auto largestOffset = static_cast<vlUInt64>(NumericLimits<std::streamoff>::s_max);
    if (nbBytes > largestOffset) { // no buffer is that large
        return false;
    }
    vlUInt64 nbRead = 0;
    if (offset && *offset <= largestOffset) {
        stream.seekg(static_cast<std::streamoff>(*offset));
        stream.read(static_cast<char*>(pBuffer), static_cast<std::streamsize>(nbBytes));
        nbRead = static_cast<vlUInt64>(stream.gcount());
    }
    if (nbRead < nbBytes) {
        std::memset(static_cast<std::byte*>(pBuffer) + nbRead, 0, nbBytes - nbRead);
    }
    return nbRead == nbBytes;
}

/// Reads a run of a plane of a stack; in pieces if its channels are interleaved.
class StackReader {
  public:
    StackReader(PlaneContext const& context, TargetPlanes const& channels)
        : _context(context), _channels(channels), _stream(*TiffStream::find(context.pTiff)),
          _width(getSampleWidth(context.bufferType, VELMO_HERE)), _stride(context.nbChannels * _width) {}

    BoolResult run() {
        vlUInt64 const nbPixels = _context.run.nbPixels;
        bool bWhole = true;
        if (!_context.isInterleaved()) {
            bWhole = read(0, nbPixels, _channels.front().pSamples);
        } else {
            constexpr vlUInt64 pieceBytes = vlUInt64{1} << 20;
            vlUInt64 const pieceSize = std::max<vlUInt64>(1, pieceBytes / _stride);
            std::vector<std::byte> piece(std::min(pieceSize, nbPixels) * _stride);
            for (vlUInt64 done = 0; done < nbPixels; done += pieceSize) {
                vlUInt64 const size = std::min(pieceSize, nbPixels - done);
                bWhole = read(done, size, piece.data()) && bWhole;
                spread(piece.data(), done, size);
            }
        }
        return bWhole ? success() : failOutsideFile();
    }

  private:
    /// Reads pixels of the run from `done` on. Pixels that the file does not contain are zero, and the result
    /// is false.
    bool read(vlUInt64 done, vlUInt64 nbPixels, std::byte* pTarget) const {
        vlUInt64 const nbBytes = nbPixels * _stride;
        vlUInt64 const nbRead = _stream.readAt(getOffset(done), pTarget, nbBytes);
        if (nbRead < nbBytes) {
            std::memset(pTarget + nbRead, 0, nbBytes - nbRead);
        }
        if (TIFFIsByteSwapped(_context.pTiff) != 0) {
            auto const nbSamples = static_cast<tmsize_t>(nbBytes / _width);
            if (_width == sizeof(std::uint16_t)) {
                TIFFSwabArrayOfShort(reinterpret_cast<std::uint16_t*>(pTarget), nbSamples);
            } else if (_width == sizeof(std::uint32_t)) {
                TIFFSwabArrayOfLong(reinterpret_cast<std::uint32_t*>(pTarget), nbSamples);
            }
        }
        return nbRead == nbBytes;
    }

    /// Offset of a pixel of the run in the file; if it overflows 64 bits, an offset beyond the end of every
    /// file.
    vlUInt64 getOffset(vlUInt64 done) const {
        constexpr auto nowhere = static_cast<vlUInt64>(NumericLimits<std::streamoff>::s_max);
        vlUInt64 const planePixels = _context.geometry.getPlanNbPixels();
        auto const before = checkedMultiply(_context.directory, planePixels);
        auto const pixel = before ? checkedAdd(*before, _context.run.pixelStart + done) : std::nullopt;
        auto const byte = pixel ? checkedMultiply(*pixel, _stride) : std::nullopt;
        return byte ? checkedAdd(*byte, TIFFGetStrileOffset(_context.pTiff, 0)).value_or(nowhere) : nowhere;
    }

    void spread(std::byte const* pSource, vlUInt64 done, vlUInt64 nbPixels) const {
        splitPixels(_context.bufferType, _context.nbChannels, nbPixels, pSource, _channels, done * _width);
    }

    BoolResult failOutsideFile() const {
        PlaneRun const& run = _context.run;
        std::string const path = _context.path.string();
        if (zeroesBrokenStrips(_context.policy)) {
            warn(VELMO_HERE, Check::eIFCM_PlaneOutsideFile, run.z, run.c, run.t, path);
            return success();
        }
        return _context.failToReadStrip(0, fail(Check::eIFCM_PlaneOutsideFile, run.z, run.c, run.t, path));
    }

    PlaneContext const& _context;
    TargetPlanes const& _channels;
    TiffStream& _stream;
    unsigned int _width;
    vlUInt64 _stride;
};

} // namespace

BoolResult readStoredPlane(PlaneContext const& context, void* pPixels) {
    PlaneRun const& run = context.run;
    auto const offsets = getTag<std::uint64_t*>(context.pTiff, TIFFTAG_STRIPOFFSETS);
    if (!offsets || *offsets == nullptr) {
        boost::format text("Can't read the strip offset for the slice z=%ld, c=%ld, t=%ld");
        return failure((text % run.z % run.c % run.t).str());
    }
    FStreamPtr const pStream = openStream(context.path, eIAM_ReadOnly);
    if (!pStream->good()) {
        boost::format text("Can't open the file %s to read the ImageJ slice z=%ld, c=%ld, t=%ld");
        return failure((text % run.z % run.c % run.t).str()); // throws, because one value is missing
    }
    if (run.pixelStart != 0 || run.nbPixels != context.geometry.getPlanNbPixels()) {
        warn(VELMO_HERE, Check::eIFCM_PartReadElsewhere, run.z, run.c, run.t, context.path.string());
    }
    vlUInt64 const nbBytes = run.nbPixels * getImageBufferBaseSize(context.bufferType);
    auto const fromFirst = checkedMultiply(context.directory, nbBytes);
    vlUInt64 const first = static_cast<std::uint32_t>((*offsets)[0]); // only the low 32 bits are used
    auto const start = fromFirst ? checkedAdd(first, *fromFirst) : std::nullopt;
    if (!readBytes(*pStream, start, pPixels, nbBytes)) {
        warn(VELMO_HERE, Check::eIFCM_PlaneOutsideFile, run.z, run.c, run.t, context.path.string());
    }
    return success();
}

BoolResult readStackRun(PlaneContext const& context, TargetPlanes const& channels) {
    BoolResult fits = runSteps([&] { return context.requireFittingDirectory(); },
                               [&] { return context.requireRunInside(); });
    if (!fits) {
        return context.failToReadStrip(0, fits);
    }
    BoolResult result = context.isInterleaved() ? context.requireChannels() : success();
    return result ? StackReader(context, channels).run() : result;
}

} // namespace velmo::image::file
