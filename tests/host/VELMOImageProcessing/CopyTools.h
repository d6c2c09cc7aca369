// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "ByteAccessor.h"
#include "VELMOBaseProcessing/ProcessorDispatchPolicy.h"
#include "VELMOImage/BaseImage.h"
#include "VELMOImageProcessing/CopyImgLvl1.h"

#include <string>
#include <vector>

namespace velmo::test {

enum eImageKind { eIK_Memory, eIK_Disk, eIK_Distributed };

/// An image of a kind. The bytes of a disk image lie in the storage of `path`.
image::ImagePtr makeImage(eImageKind kind, image::BaseImageGeometry const& geometry, std::string const& path);

struct NamedPolicy {
    std::string name;
    processor::ProcessorDispatchPolicy policy;
};

processor::ProcessorDispatchPolicy makeLocal(vlUInt64 nbThreads);
/// One thread, four threads, and the default.
std::vector<NamedPolicy> makePolicies();

/// A copy, from init to the end of the run.
processor::ActionResult runCopy(image::ImageConstPtr const& pSource, image::ImagePtr const& pTarget,
                                processor::ProcessorDispatchPolicy const& policy);

/// A pair of kinds, to copy from and to.
struct KindPair {
    eImageKind source;
    eImageKind target;
};
std::vector<KindPair> makeKindPairs();
std::string toText(KindPair const& pair);

/// Waits until `isDone` holds; false after two minutes. For gates of a ByteStorage that let threads meet.
bool waitUntil(std::function<bool()> const& isDone);

} // namespace velmo::test
