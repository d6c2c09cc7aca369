// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "input/InputWarnings.h"

#include "input/RawFit.h"
#include "terminal/Interrupt.h"

#include <VELMOImageFile/TiffFileReport.h>
#include <boost/filesystem/operations.hpp>

namespace velmo::tool {

namespace {

using Warnings = std::vector<std::string>;

constexpr vlUInt64 g_im6HeaderSize = 116;

/// Bytes of the file behind `offset`; empty where its size is not known.
std::optional<vlUInt64> countBytesBehind(InputImage const& input, vlUInt64 offset) {
    boost::system::error_code error;
    vlUInt64 const size = boost::filesystem::file_size(input.pImage->getAccessor()->getFilePath(), error);
    return error ? std::nullopt : std::optional(size < offset ? 0 : size - offset);
}

Warnings findRawWarnings(InputImage const& input) {
    if (input.pStream) {
        return input.pStream->hasSurplus() ? Warnings{"the input is larger than its dimensions: bytes after "
                                                      "the last plane are ignored"}
                                           : Warnings();
    }
    vlUInt64 const nbBytes = input.pImage->getGeometry().getFullMemorySize();
    auto const nbFound = countBytesBehind(input, input.offset);
    if (!nbFound || *nbFound <= nbBytes) {
        return {};
    }
    std::string const fit = proposeFit(input.pImage->getGeometry(), input.offset, input.offset + *nbFound);
    return {"the file is larger than its dimensions: " + std::to_string(*nbFound - nbBytes) +
            " bytes after the last plane are ignored" +
            (fit.empty() ? "" : "; its size would fit with " + fit)};
}

Warnings findIm6Warnings(InputImage const& input) {
    vlUInt64 const nbBytes = input.pImage->getGeometry().getFullMemorySize();
    auto const nbFound = countBytesBehind(input, g_im6HeaderSize);
    if (!nbFound || *nbFound >= nbBytes) {
        return {};
    }
    return {"the file is truncated: its header announces " + std::to_string(nbBytes) +
            " bytes of pixels, the file has " + std::to_string(*nbFound)};
}

std::string countOf(vlUInt64 nbDirectories, image::file::TiffFileReport const& report) {
    return std::to_string(nbDirectories) + " of " + std::to_string(report.nbDirectories) + " directories ";
}

Warnings describeTiles(image::file::TiffFileReport const& report) {
    if (report.nbTiled == 0) {
        return {};
    }
    return {countOf(report.nbTiled, report) + "are tiled: tiles cannot be read"};
}

Warnings findTiffWarnings(InputImage const& input) {
    PromptInterrupts const prompt; // a file may have a million directories
    image::file::TiffFileReport const report =
        image::file::describeTiffFile(input.pImage->getAccessor()->getFilePath());
    Warnings warnings = describeTiles(report);
    if (report.nbTurned != 0) {
        warnings.push_back(countOf(report.nbTurned, report) +
                           "have another orientation than top left: rows are read as stored");
    }
    return warnings;
}

Warnings findFormatWarnings(InputImage const& input) {
    switch (input.format) {
    case eFileFormat::Tiff:
        return findTiffWarnings(input);
    case eFileFormat::Im6:
        return findIm6Warnings(input);
    case eFileFormat::Raw:
        break;
    }
    return findRawWarnings(input);
}

} // namespace

Warnings findWarnings(InputImage const& input) {
    Warnings warnings = findFormatWarnings(input);
    Warnings const negative = findNegativeWarnings(*input.pImage);
    warnings.insert(warnings.end(), negative.begin(), negative.end());
    return warnings;
}

Warnings findTileWarnings(InputImage const& input) {
    if (input.format != eFileFormat::Tiff) {
        return {};
    }
    PromptInterrupts const prompt; // a file may have a million directories
    return describeTiles(image::file::describeTiffFile(input.pImage->getAccessor()->getFilePath()));
}

Warnings findNegativeWarnings(image::BaseImage const& image) {
    if (image.getGeometry().getColorGeometry().minIsBlack()) {
        return {};
    }
    return {"the minimum is white: values are copied unchanged, other programs show the copy inverted"};
}

} // namespace velmo::tool
