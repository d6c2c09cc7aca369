// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include <VELMOImageFile/TiffFileReport.h>

#include "Frame/FailureText.h"
#include "Tiff/TiffImageFileTools.h"
#include "Tiff/handle/DirectoryWalk.h"
#include "Tiff/handle/TiffDirectories.h"
#include "Tiff/handle/TiffErrorHandler.h"
#include "Tiff/handle/TiffFileClosure.h"
#include "Tiff/handle/TiffStream.h"
#include "Tiff/handle/TiffTags.h"
#include "Tiff/model/ImageJStack.h"
#include "Tiff/model/TiffStoredGeometry.h"

#include <VELMOImageFile/TiffImageFileMessage.h>
#include <stdexcept>
#include <vector>

namespace velmo::image::file {

namespace {

using Message = eTiffImageFileMessage;

[[noreturn]] void raiseOpenError(boost::filesystem::path const& path, std::string const& reason) {
    raise(VELMO_HERE, Message::eTIFM_LoadFileError, path,
          fail(Message::eTIFM_OpenFileError, path.string(), reason));
}

/// What the description of the current directory says.
void readAnnouncement(TIFF* pTiff, TiffDirectories const& directories, TiffFileReport& report) {
    try {
        vlUInt64 const nbAnnounced = extractNbPagesFromIJDescription(pTiff);
        if (nbAnnounced <= g_largestAnnouncement) {
            report.nbAnnouncedPlanes = nbAnnounced;
        }
        if (auto const further = findFurtherPlanes(pTiff, nbAnnounced, directories)) {
            report.nbMissingPlanes = nbAnnounced - std::min(nbAnnounced, further->nbHeld);
        }
    } catch (std::logic_error const&) { // the number is none
    }
}

/// What counts of a directory.
struct DirectoryFacts {
    bool bTiled;
    bool bTurned;
};

DirectoryFacts readFacts(TIFF* pTiff) {
    auto const orientation = getTag<std::uint16_t>(pTiff, TIFFTAG_ORIENTATION);
    return {TIFFIsTiled(pTiff) != 0, orientation.value_or(ORIENTATION_TOPLEFT) != ORIENTATION_TOPLEFT};
}

/// Reads the current directory, which is the first one, and all behind it.
void readDirectories(TIFF* pTiff, TiffDirectories const& directories, TiffFileReport& report) {
    std::vector<DirectoryFacts> facts;
    DirectoryWalk walk(pTiff);
    do {
        auto const model = walk.getModel();
        // cppcheck-suppress containerOutOfBounds // a model is an earlier directory
        facts.push_back(model ? facts[*model] : readFacts(pTiff));
        if (!model) {
            walk.accept();
        }
        report.nbTiled += facts.back().bTiled ? 1 : 0;
        report.nbTurned += facts.back().bTurned ? 1 : 0;
    } while (walk.next());
    report.nbDirectories = facts.size();
    report.bChainBroken = directories.isBroken() || report.nbDirectories != directories.count();
}

} // namespace

TiffFileReport describeTiffFile(boost::filesystem::path const& path) {
    TIFFInitializeExtend();
    TiffErrorHandler::getInstance().clearCurrentError();
    TIFF* pTiff = TiffStream::open(path, "r");
    TiffFileClosure const closure(path.string(), pTiff);
    if (pTiff == nullptr) {
        raiseOpenError(path, lastTiffMessage());
    }
    TiffFileReport report;
    report.bBigTiff = TIFFIsBigTIFF(pTiff) != 0;
    report.bBigEndian = TIFFIsBigEndian(pTiff) != 0;
    report.bOwnFile = isOwnFile(pTiff);
    TiffDirectories const directories(pTiff, eTiffPolicy::Strict);
    readAnnouncement(pTiff, directories, report);
    readDirectories(pTiff, directories, report);
    if (std::error_code const missed = TiffStream::find(pTiff)->getMissedError()) {
        raiseOpenError(path, missed.message());
    }
    return report;
}

} // namespace velmo::image::file
