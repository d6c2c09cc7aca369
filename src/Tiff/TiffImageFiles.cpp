// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Tiff/TiffFileList.h"
#include "Utils/FormatFamily.h"

#include <VELMOImage/ImageFactory.h>
#include <VELMOImageFile/TiffImageFileUtils.h>
#include <VELMOImageProcessing/CopyImgLvl1.h>

namespace velmo {
namespace image {
namespace file {

namespace {

using Paths = std::vector<boost::filesystem::path>;

/// Where the pixels of the result are.
enum eImageType { eIT_Memory = 0, eIT_Disk = 1 };

/// How the copy ended is not asked: from the first pixels on that cannot be read all stay zero.
ImagePtr copyToMemory(TiffFileList& files) {
    ImagePtr const pJoined = files.join();
    ImagePtr pOutput;
    files.requireOutput(ImageFactory::getInstance().createDefaultImage(pJoined->getGeometry(), pOutput));
    prepareCopy(pJoined, pOutput, eDispatch::Local)->run(processor::eST_Synchronous);
    return pOutput;
}

ImagePtr loadTiffImageFilesInVolumeMode(Paths const& paths, eTiffBufferMode const& bufferMode,
                                        eImageType const& imageType) {
    TiffFileList files(paths, bufferMode, VELMO_HERE);
    files.compare(TiffFileList::eRule::Volume);
    return imageType == eIT_Disk ? files.joinOnDisk() : copyToMemory(files);
}

ImagePtr loadTiffImageFilesInTemporalMode(Paths const& paths, eTiffBufferMode const& bufferMode,
                                          eImageType const& imageType) {
    TiffFileList files(paths, bufferMode, VELMO_HERE);
    files.compare(TiffFileList::eRule::Temporal);
    if (imageType == eIT_Disk) {
        return files.joinOnDisk();
    }
    ImagePtr pImage = copyToMemory(files);
    if (!files.getUserProperties().empty()) {
        pImage->setUserPropertiesStr(files.getUserProperties());
    }
    return pImage;
}

ImagePtr loadList(Paths const& paths, eTiffDirectoryMode const& directoryMode,
                  eTiffBufferMode const& bufferMode, eImageType const& imageType) {
    return directoryMode == eTDM_Temporal ? loadTiffImageFilesInTemporalMode(paths, bufferMode, imageType)
                                          : loadTiffImageFilesInVolumeMode(paths, bufferMode, imageType);
}

} // namespace

ImagePtr loadTiffImageFiles(boost::filesystem::path const& directory, std::string const& pattern,
                            eTiffDirectoryMode const& directoryMode, eTiffBufferMode const& bufferMode) {
    Paths const paths = findTiffFilesInDirectory(directory, pattern);
    if (paths.empty()) {
        return {};
    }
    return paths.size() == 1 ? loadTiffImageFile(paths.front(), directoryMode, bufferMode)
                             : loadList(paths, directoryMode, bufferMode, eIT_Memory);
}

ImagePtr openTiffImageFiles(boost::filesystem::path const& directory, std::string const& pattern,
                            eTiffDirectoryMode const& directoryMode, eTiffBufferMode const& bufferMode) {
    Paths const paths = findTiffFilesInDirectory(directory, pattern);
    if (paths.empty()) {
        return {};
    }
    return paths.size() == 1 ? ImagePtr(openTiffImageFile(paths.front(), directoryMode, bufferMode))
                             : loadList(paths, directoryMode, bufferMode, eIT_Disk);
}

} // namespace file
} // namespace image
} // namespace velmo
