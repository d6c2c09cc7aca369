// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Frame/FormatFamily.h"

#include "Frame/LogAccess.h"

#include <VELMOBase/ReplacedFile.h>
#include <VELMOImage/ImageFactory.h>
#include <VELMOImage/MemoryImage.h>
#include <VELMOImage/VELMOImageLog.h>
#include <VELMOImageProcessing/CopyImgLvl1.h>
#include <VELMOUtil/LogMessageFormater.h>
#include <boost/make_shared.hpp>

namespace velmo::image::file {

FamilyFailure::FamilyFailure(FamilyMessages const& messages, int id, RaiseSite const& site,
                             boost::filesystem::path const& path)
    : _messages(messages), _id(id), _site(site), _path(path) {}

FamilyFailure FamilyFailure::ofLoad(FamilyMessages const& messages, RaiseSite const& site,
                                    boost::filesystem::path const& path) {
    return FamilyFailure(messages, messages.loadError, site, path);
}

FamilyFailure FamilyFailure::ofSave(FamilyMessages const& messages, RaiseSite const& site,
                                    boost::filesystem::path const& path) {
    return FamilyFailure(messages, messages.saveError, site, path);
}

FamilyFailure FamilyFailure::writingTo(ReplacedFile const& file) const {
    FamilyFailure failure(*this);
    failure._pReplaced = &file;
    return failure;
}

void FamilyFailure::require(BoolResult const& result, char const* file, unsigned int line) const {
    if (!result) {
        raiseGuarded({_site.function, file, line}, g_velmoImageFileRaise, [&](LogMessageFormater& formater) {
            formater.setMsgId(_messages.domainKey, _id) % _path %
                (_pReplaced == nullptr
                     ? result
                     : velmo::failure(_pReplaced->nameTarget(result.getMessage()), result.getMessageIds()));
        });
    }
}

void FamilyFailure::requireDistributed(BoolResult const& result, char const* file, unsigned int line) const {
    if (!result) {
        raiseGuarded({_site.function, file, line}, g_velmoImageFileRaise, [&](LogMessageFormater& formater) {
            formater.setMsgId(_messages.domainKey, _messages.createDistributedImageError) % result;
        });
    }
}

DiskImagePtr createDiskImage(boost::shared_ptr<BaseDiskImageAccessor> const& pAccessor,
                             FamilyFailure const& failure) {
    DiskImagePtr pDiskImage;
    failure.require(ImageFactory::getInstance().createDiskImage(pAccessor, pDiskImage));
    return pDiskImage;
}

ImagePtr createMemoryTarget(BaseImageGeometry const& geometry, FamilyFailure const& failure) {
    auto const pImage = boost::make_shared<MemoryImage>();
    failure.require(pImage->init(geometry));
    return pImage;
}

void requireSource(ImageConstPtr const& pSource, boost::filesystem::path const& target,
                   FamilyFailure const& failure) {
    imaproc::util::CopyImgLvl1 copy;
    static_cast<void>(copy.init(processor::ePRP_Strict)); // cannot fail
    copy.set<imaproc::attr::InImg>(pSource);
    if (pSource->isStoredIn(target)) {
        LogMessageFormater formater(getVELMOImageLogMessageManager());
        formater[eImageMessage::eIM_PixelsInTarget] % target.string();
        failure.require(velmo::failure(formater));
    }
}

boost::shared_ptr<imaproc::util::CopyImgLvl1> prepareCopy(ImageConstPtr const& pSource,
                                                          ImagePtr const& pTarget,
                                                          processor::ProcessorDispatchPolicy const& threads) {
    auto pCopy = boost::make_shared<imaproc::util::CopyImgLvl1>();
    static_cast<void>(pCopy->init(processor::ePRP_Strict)); // cannot fail
    pCopy->set<imaproc::attr::InImg>(pSource);
    pCopy->set<imaproc::attr::OutImg>(pTarget);
    pCopy->restrictDispatchPolicy(threads);
    return pCopy;
}

void copyImage(ImageConstPtr const& pSource, ImagePtr const& pTarget,
               processor::ProcessorDispatchPolicy const& threads, FamilyFailure const& failure) {
    auto const pCopy = prepareCopy(pSource, pTarget, threads);
    failure.require(pCopy->run(processor::eST_Synchronous).toBoolResult());
}

DistributedImagePtr distributeImage(DiskImagePtr const& pSource,
                                    processor::ProcessorDispatchPolicy const& threads,
                                    FamilyFailure const& failure) {
    DistributedImagePtr pImage;
    failure.requireDistributed(
        ImageFactory::getInstance().createDistributedImage(pSource->getGeometry(), pImage));
    copyImage(pSource, pImage, threads, failure);
    return pImage;
}

DistributedImagePtr distributeImage(DiskImagePtr const& pSource, DistributedImage const& model,
                                    processor::ProcessorDispatchPolicy const& threads,
                                    FamilyFailure const& failure) {
    DistributedImagePtr pImage;
    failure.requireDistributed(
        ImageFactory::getInstance().createDistributedImage(model, pSource->getBufferType(), pImage));
    copyImage(pSource, pImage, threads, failure);
    return pImage;
}

} // namespace velmo::image::file
