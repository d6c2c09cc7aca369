// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/ImageJStack.h"

#include "Tiff/TiffPixels.h"
#include "Tiff/TiffTags.h"
#include "Utils/PlanRun.h"
#include "Utils/ThreadStreams.h"

#include <VELMOUtil/CheckedArithmetic.h>
#include <boost/format.hpp>
#include <cstring>

namespace velmo {
namespace image {
namespace file {

namespace {

/// What stands behind a key of the description, to the end of its line.
std::optional<std::string> findValue(std::string const& description, std::string const& key) {
    auto const found = description.find(key);
    if (found == std::string::npos) {
        return std::nullopt;
    }
    auto const start = found + key.size();
    return description.substr(start, description.find('\n', start) - start);
}

/// Bytes from `offset` on; zeros where there are none.
void readBytes(std::fstream& stream, std::optional<vlUInt64> const& offset, void* pBuffer, vlUInt64 nbBytes) {
    constexpr auto largestOffset = static_cast<vlUInt64>(NumericLimits<std::streamoff>::s_max);
    vlUInt64 nbRead = 0;
    if (offset && *offset <= largestOffset && nbBytes <= largestOffset) {
        stream.seekg(static_cast<std::streamoff>(*offset));
        stream.read(static_cast<char*>(pBuffer), static_cast<std::streamsize>(nbBytes));
        nbRead = static_cast<vlUInt64>(stream.gcount());
    }
    if (nbRead < nbBytes) {
        std::memset(static_cast<std::byte*>(pBuffer) + nbRead, 0, nbBytes - nbRead);
    }
}

} // namespace

vlUInt64 extractNbPagesFromIJDescription(TIFF* pTiff) {
    constexpr vlUInt64 nothing = NumericLimits<vlUInt64>::s_max;
    auto const text = getTag<char*>(pTiff, TIFFTAG_IMAGEDESCRIPTION);
    if (!text || std::strstr(*text, "ImageJ=") == nullptr) {
        return nothing;
    }
    std::string const description(*text);
    auto value = findValue(description, "images=");
    if (!value) {
        value = findValue(description, "slices=");
    }
    return value ? static_cast<vlUInt64>(std::stoi(*value)) : nothing;
}

bool isImageJStack(vlUInt64 nbAnnounced, unsigned int nbDirectories) {
    return nbAnnounced != NumericLimits<vlUInt64>::s_max && nbAnnounced != nbDirectories;
}

BoolResult readImageJPlan(TIFF* pTiff, boost::filesystem::path const& path, BaseImageGeometry const& geometry,
                          PlanRun const& run, void* pPixels) {
    auto const offsets = getTag<std::uint64_t*>(pTiff, TIFFTAG_STRIPOFFSETS);
    if (!offsets || *offsets == nullptr) {
        boost::format text("Can't read the strip offset for the slice z=%ld, c=%ld, t=%ld");
        return failure((text % run.z % run.c % run.t).str());
    }
    FStreamPtr const pStream = openStream(path, eIAM_ReadOnly);
    if (!pStream->good()) {
        boost::format text("Can't open the file %s to read the ImageJ slice z=%ld, c=%ld, t=%ld");
        return failure((text % run.z % run.c % run.t).str()); // throws: one value is missing
    }
    vlUInt64 const nbBytes = run.nbPixels * getImageBufferBaseSize(getPlanBufferType(geometry, run.t));
    auto const fromFirst = checkedMultiply(toDirectoryIndex(geometry, run.z, run.c, run.t), nbBytes);
    vlUInt64 const first = static_cast<std::uint32_t>((*offsets)[0]); // offsets of such stacks have 32 bits
    readBytes(*pStream, fromFirst ? checkedAdd(first, *fromFirst) : std::nullopt, pPixels, nbBytes);
    return success();
}

} // namespace file
} // namespace image
} // namespace velmo
