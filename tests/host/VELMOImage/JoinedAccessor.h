// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "JoinTools.h"
#include "VELMOImage/JoinedImageAccessor.h"
#include "VELMOSerialization/DynamicRegistrator.h"

#include <gtest/gtest.h>

namespace velmo::test {

/// Three parts of 2, 1 and 3 planes, each with a calibration, a mode and a flag of its own.
class JoinedAccessor : public testing::Test {
  protected:
    JoinedAccessor();

    void join();
    /// The geometry and the pixels of an accessor that is joined from these parts.
    void expectWhole(image::JoinedImageAccessor const& accessor) const;

    DynamicRegistrator<ByteAccessor> const _registrator;
    std::vector<image::JoinedImageAccessor::PartPtr> _parts;
    std::vector<image::ImagePtr> _images;
    std::vector<ByteStorage*> _storages;
    image::JoinedImageAccessor _accessor;
};

void expectWithoutFiles(image::JoinedImageAccessor& accessor);

} // namespace velmo::test
