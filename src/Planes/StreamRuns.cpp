// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Planes/StreamRuns.h"

#include <VELMOBase/CheckedArithmetic.h>

namespace velmo::image::file {

namespace {

constexpr vlUInt64 g_largestStreamOffset = static_cast<vlUInt64>(NumericLimits<std::streamoff>::s_max);

bool fitsStream(std::optional<vlUInt64> const& number) {
    return number && *number <= g_largestStreamOffset;
}

template <class Seek>
bool seekRun(std::fstream& stream, std::optional<vlUInt64> const& offset, Seek const& seek) {
    if (fitsStream(offset)) {
        seek(static_cast<std::streamoff>(*offset));
    } else {
        stream.setstate(std::ios::failbit);
    }
    return stream.good();
}

template <class Transfer>
eStreamOutcome transferRun(std::fstream& stream, std::optional<vlUInt64> const& size,
                           Transfer const& transfer) {
    if (fitsStream(size)) {
        transfer(static_cast<std::streamsize>(*size));
    } else {
        stream.setstate(std::ios::failbit);
    }
    return stream.good() ? eStreamOutcome::Done : eStreamOutcome::TransferFailed;
}

} // namespace

ByteRun toByteRun(vlUInt64 planeOffset, vlUInt64 pixelStartOffset, vlUInt64 nbPixels, vlUInt64 pixelSize) {
    auto const inPlane = checkedMultiply(pixelStartOffset, pixelSize);
    return {inPlane ? checkedAdd(planeOffset, *inPlane) : std::nullopt, checkedMultiply(nbPixels, pixelSize)};
}

eStreamOutcome readRun(std::fstream& stream, ByteRun const& run, void* buffer) {
    errno = 0;
    if (!seekRun(stream, run.offset, [&](std::streamoff offset) { stream.seekg(offset); })) {
        return eStreamOutcome::SeekFailed;
    }
    return transferRun(stream, run.size,
                       [&](std::streamsize size) { stream.read(static_cast<char*>(buffer), size); });
}

eStreamOutcome writeRun(std::fstream& stream, ByteRun const& run, void const* buffer) {
    errno = 0;
    if (!seekRun(stream, run.offset, [&](std::streamoff offset) { stream.seekp(offset); })) {
        return eStreamOutcome::SeekFailed;
    }
    return transferRun(stream, run.size, [&](std::streamsize size) {
        stream.write(static_cast<char const*>(buffer), size).flush();
    });
}

bool reserveBytes(std::fstream& stream, vlUInt64 nbBytes) {
    if (nbBytes != 0) {
        writeRun(stream, {nbBytes - 1, 1}, "");
    }
    return stream.good();
}

} // namespace velmo::image::file
