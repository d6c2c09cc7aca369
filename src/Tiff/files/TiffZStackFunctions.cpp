// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Frame/FailureText.h"
#include "Tiff/files/TiffFolderImage.h"
#include "Tiff/files/TiffOptions.h"

#include <VELMOBase/SequentialFile.h>
#include <VELMOGeometricTransform/ResampleCustomZStack3dImgLvl1.h>
#include <VELMOImageFile/TiffImageFileMessage.h>
#include <VELMOImageFile/TiffImageFileUtils.h>
#include <VELMOSerialization/XmlFile.h>
#include <boost/algorithm/string/trim.hpp>
#include <boost/lexical_cast.hpp>
#include <boost/make_shared.hpp>
#include <cstdint>
#include <limits>

namespace velmo::image::file {

namespace {

namespace attr = imaproc::attr;
using Message = eTiffImageFileMessage;
using Paths = std::vector<boost::filesystem::path>;

[[noreturn]] void raiseFileError(RaiseSite const& site, boost::filesystem::path const& path,
                                 BoolResult const& reason) {
    raise(site, Message::eTIFM_ZStepsFileError, path.string(), reason);
}

constexpr std::size_t g_longestNumber = std::size_t{1} << 20U;

/// Reads the next line. Of a line that is too long for a number, it keeps only enough to detect this. If such
/// a line is an error, the rest of it is not read.
bool readLine(std::istream& stream, eTiffPolicy policy, std::string& line) {
    line.clear();
    char character = 0;
    while (stream.get(character) && character != '\n') {
        if (line.size() <= g_longestNumber) {
            line += character;
        } else if (!acceptsBadSteps(policy)) {
            break;
        }
    }
    return stream || !line.empty();
}

/// A line that is not a number becomes NaN, but counts as a step.
float toStep(std::string const& line) {
    try {
        return boost::lexical_cast<float>(line);
    } catch (boost::bad_lexical_cast const&) {
        return std::numeric_limits<float>::quiet_NaN();
    }
}

void requireStep(boost::filesystem::path const& path, vlUInt64 lineNumber, float step, eTiffPolicy policy) {
    bool const bPositive = step > 0.0F && step <= std::numeric_limits<float>::max();
    if (!bPositive && !acceptsBadSteps(policy)) {
        raise(VELMO_HERE, Message::eTIFM_ZStepsTxtFieldError, path.string(), lineNumber);
    }
}

void readText(boost::filesystem::path const& path, eTiffPolicy policy, std::vector<float>& steps) {
    SequentialFile stream(path);
    vlUInt64 lineNumber = 0;
    for (std::string line; readLine(stream, policy, line);) {
        ++lineNumber;
        if (line.size() <= g_longestNumber) {
            boost::algorithm::trim(line);
        }
        if (!line.empty()) {
            steps.push_back(toStep(line));
            requireStep(path, lineNumber, steps.back(), policy);
        }
    }
    if (!stream.getFailure().empty()) {
        raiseFileError(VELMO_HERE, path, failure(stream.getFailure()));
    }
}

attr::ZStepsPtr readZStepsFile(boost::filesystem::path const& path, eTiffPolicy policy) {
    auto pSteps = boost::make_shared<attr::ZSteps>();
    if (path.extension() != ".xml") {
        readText(path, policy, pSteps->accessSteps());
        return pSteps;
    }
    BoolResult const result = tryReadFromXmlFile(path, *pSteps);
    if (!result) {
        raiseFileError(VELMO_HERE, path, result);
    }
    return pSteps;
}

void requireCount(RaiseSite const& site, attr::ZSteps const& steps, vlUInt64 nbPlanes) {
    auto const nbSteps = static_cast<std::uint32_t>(steps.getSteps().size());
    if (nbSteps != nbPlanes - 1) {
        raise(site, Message::eTIFM_ZStepsCountMismatch, nbSteps, nbPlanes);
    }
}

ImagePtr resample(ImageConstPtr const& pStack, attr::ZStepsConstPtr const& pSteps, vlUInt64 outputSizeZ,
                  attr::eInterpolationPolicy const& interpolationPolicy,
                  processor::ProcessorDispatchPolicy const& threads) {
    auto const pResample = boost::make_shared<imaproc::gtrans::ResampleCustomZStack3dImgLvl1>();
    static_cast<void>(pResample->init(processor::ePRP_Strict)); // cannot fail
    pResample->set<attr::InImg3d>(pStack);
    pResample->set<attr::InZSteps>(pSteps);
    pResample->set<attr::InInterpolationPolicy>(interpolationPolicy);
    pResample->set<attr::InOutputImg3dZSize>(outputSizeZ);
    pResample->restrictDispatchPolicy(threads);
    static_cast<void>(pResample->run(processor::eST_Synchronous)); // after a failed run, the next line throws
    return pResample->getStorage<attr::OutImg>();
}

ImagePtr loadCustomZStackImageFiles(Paths const& paths, attr::ZStepsConstPtr const& pSteps,
                                    vlUInt64 outputSizeZ,
                                    attr::eInterpolationPolicy const& interpolationPolicy,
                                    TiffOpenRequest const& request,
                                    processor::ProcessorDispatchPolicy const& threads) {
    TiffFolderImage files(paths, request, VELMO_HERE);
    files.compare(TiffFolderImage::eRule::Volume);
    requireCount(VELMO_HERE, *pSteps, files.getNbPlanes());
    ImagePtr pImage = resample(files.join(), pSteps, outputSizeZ, interpolationPolicy, threads);
    if (!files.getUserProperties().empty()) {
        pImage->setUserPropertiesStr(files.getUserProperties());
    }
    return pImage;
}

} // namespace

ImagePtr loadCustomZStackImageFiles(boost::filesystem::path const& directory,
                                    boost::filesystem::path const& zStepsFile, unsigned long outputSizeZ,
                                    attr::eInterpolationPolicy const& interpolationPolicy,
                                    std::string const& pattern, eTiffBufferMode const& bufferMode) {
    Paths const paths = findTiffFilesInDirectory(directory, pattern);
    if (paths.empty()) {
        return {};
    }
    return paths.size() == 1
               ? loadTiffImageFile(paths.front(), eTDM_Volume, bufferMode)
               : loadCustomZStackImageFiles(
                     paths, readZStepsFile(zStepsFile, eTiffPolicy::Plain), outputSizeZ, interpolationPolicy,
                     {eIAM_ReadOnly, eTDM_Volume, bufferMode, eTiffPolicy::Plain}, useThreads(1));
}

ImagePtr loadCustomZStackImageFiles(boost::filesystem::path const& directory,
                                    boost::filesystem::path const& zStepsFile, unsigned long outputSizeZ,
                                    attr::eInterpolationPolicy const& interpolationPolicy,
                                    std::string const& pattern, TiffReadOptions const& options) {
    Paths const paths = findTiffFilesInDirectory(directory, pattern);
    if (paths.empty()) {
        return {};
    }
    TiffOpenRequest const request = toRequest(options);
    return loadCustomZStackImageFiles(paths, readZStepsFile(zStepsFile, request.policy), outputSizeZ,
                                      interpolationPolicy, request, options.threads);
}

ImagePtr resampleCustomZStack(ImageConstPtr const& stack, boost::filesystem::path const& zStepsFile,
                              unsigned long outputSizeZ,
                              attr::eInterpolationPolicy const& interpolationPolicy,
                              processor::ProcessorDispatchPolicy const& threads) {
    attr::ZStepsConstPtr const pSteps = readZStepsFile(zStepsFile, eTiffPolicy::Strict);
    if (stack) { // the processor raises the lack of one
        requireCount(VELMO_HERE, *pSteps, stack->getGeometry().getSizeZ());
    }
    ImagePtr pImage = resample(stack, pSteps, outputSizeZ, interpolationPolicy, threads);
    pImage->setUserPropertiesStr(stack->getUserPropertiesStr());
    return pImage;
}

} // namespace velmo::image::file
