// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Frame/FailureText.h"
#include "Frame/FormatFamily.h"
#include "Tiff/files/TiffFolderImage.h"
#include "Tiff/files/TiffOptions.h"

#include <VELMOImage/ImageFactory.h>
#include <VELMOImageFile/ImageFileCheckMessage.h>
#include <VELMOImageFile/TiffImageFileUtils.h>
#include <VELMOImageProcessing/CopyImgLvl1.h>

namespace velmo::image::file {

namespace {

using Paths = std::vector<boost::filesystem::path>;

/// Where the pixels of the result are stored.
enum eImageType { eIT_Memory = 0, eIT_Disk = 1 };

/// Copies the joined files into memory. A plain load along Z takes the image from the processor, which throws
/// after a failed run. A plain load along T ignores the result of the run; the processor logs the failure.
ImagePtr copyToMemory(TiffFolderImage& files, eTiffDirectoryMode directoryMode,
                      processor::ProcessorDispatchPolicy const& threads) {
    ImagePtr const pJoined = files.join();
    ImagePtr pOutput;
    files.requireOutput(ImageFactory::getInstance().createDefaultImage(pJoined->getGeometry(), pOutput));
    auto const pCopy = prepareCopy(pJoined, pOutput, threads);
    processor::ActionResult const result = pCopy->run(processor::eST_Synchronous);
    if (files.getPolicy() == eTiffPolicy::Plain) {
        return directoryMode == eTDM_Temporal ? pOutput : pCopy->getStorage<imaproc::attr::OutImg>();
    }
    bool const bFinished = result.getStatus() == 0;
    if (!bFinished && acceptsUnfinishedCopy(files.getPolicy())) {
        warn(VELMO_HERE, eImageFileCheckMessage::eIFCM_CopyNotFinished, result.toBoolResult());
        return pOutput;
    }
    files.requireOutput(result.toBoolResult());
    return pOutput;
}

/// Sets the calibration and user properties. Plain calls set the user properties of the first file only along
/// T in memory, and no calibration.
void describe(ImagePtr const& pImage, TiffFolderImage const& files, bool bKeepsUserProperties) {
    bool const bPlain = files.getPolicy() == eTiffPolicy::Plain;
    if (!files.getUserProperties().empty() && (bKeepsUserProperties || !bPlain)) {
        pImage->setUserPropertiesStr(files.getUserProperties());
    }
    if (files.getCalibration() && !bPlain) {
        pImage->setGeometricCalibration(files.getCalibration());
    }
}

/// `threads` are those of a load into memory.
ImagePtr loadList(Paths const& paths, TiffOpenRequest const& request, eImageType imageType,
                  processor::ProcessorDispatchPolicy const& threads, RaiseSite const& site) {
    bool const bTemporal = request.directoryMode == eTDM_Temporal;
    TiffFolderImage files(paths, request, site);
    files.compare(bTemporal ? TiffFolderImage::eRule::Temporal : TiffFolderImage::eRule::Volume);
    bool const bOnDisk = imageType == eIT_Disk;
    ImagePtr pImage = bOnDisk ? files.joinOnDisk() : copyToMemory(files, request.directoryMode, threads);
    describe(pImage, files, bTemporal && !bOnDisk);
    return pImage;
}

ImagePtr loadTiffImageFilesInVolumeMode(Paths const& paths, eTiffBufferMode const& bufferMode,
                                        eImageType const& imageType) {
    return loadList(paths, {eIAM_ReadOnly, eTDM_Volume, bufferMode, eTiffPolicy::Plain}, imageType,
                    useThreads(1), VELMO_HERE);
}

ImagePtr loadTiffImageFilesInTemporalMode(Paths const& paths, eTiffBufferMode const& bufferMode,
                                          eImageType const& imageType) {
    return loadList(paths, {eIAM_ReadOnly, eTDM_Temporal, bufferMode, eTiffPolicy::Plain}, imageType,
                    useThreads(1), VELMO_HERE);
}

ImagePtr loadPlainList(Paths const& paths, eTiffDirectoryMode const& directoryMode,
                       eTiffBufferMode const& bufferMode, eImageType const& imageType) {
    return directoryMode == eTDM_Temporal ? loadTiffImageFilesInTemporalMode(paths, bufferMode, imageType)
                                          : loadTiffImageFilesInVolumeMode(paths, bufferMode, imageType);
}

} // namespace

// Plain calls

ImagePtr loadTiffImageFiles(boost::filesystem::path const& directory, std::string const& pattern,
                            eTiffDirectoryMode const& directoryMode, eTiffBufferMode const& bufferMode) {
    Paths const paths = findTiffFilesInDirectory(directory, pattern);
    if (paths.empty()) {
        return {};
    }
    return paths.size() == 1 ? loadTiffImageFile(paths.front(), directoryMode, bufferMode)
                             : loadPlainList(paths, directoryMode, bufferMode, eIT_Memory);
}

ImagePtr openTiffImageFiles(boost::filesystem::path const& directory, std::string const& pattern,
                            eTiffDirectoryMode const& directoryMode, eTiffBufferMode const& bufferMode) {
    Paths const paths = findTiffFilesInDirectory(directory, pattern);
    if (paths.empty()) {
        return {};
    }
    return paths.size() == 1 ? ImagePtr(openTiffImageFile(paths.front(), directoryMode, bufferMode))
                             : loadPlainList(paths, directoryMode, bufferMode, eIT_Disk);
}

// Calls with options

ImagePtr loadTiffImageFiles(boost::filesystem::path const& directory, std::string const& pattern,
                            TiffReadOptions const& options) {
    Paths const paths = findTiffFilesInDirectory(directory, pattern);
    if (paths.empty()) {
        return {};
    }
    return paths.size() == 1 ? loadTiffImageFile(paths.front(), options)
                             : loadList(paths, toRequest(options), eIT_Memory, options.threads, VELMO_HERE);
}

ImagePtr openTiffImageFiles(boost::filesystem::path const& directory, std::string const& pattern,
                            TiffReadOptions const& options) {
    Paths const paths = findTiffFilesInDirectory(directory, pattern);
    if (paths.empty()) {
        return {};
    }
    return paths.size() == 1 ? ImagePtr(openTiffImageFile(paths.front(), options))
                             : loadList(paths, toRequest(options), eIT_Disk, options.threads, VELMO_HERE);
}

} // namespace velmo::image::file
