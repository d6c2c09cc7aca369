// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/ImageFactory.h>
#include <functional>

namespace velmo::test {

/// Changes what the process's image factory does, for as long as this object lives. One at a time, set before
/// the calls that it is to change. A program that uses it links FactoryHooks.cpp, whose definitions come
/// before those of the library.
class FactoryHooks {
  public:
    using AccessorPtr = boost::shared_ptr<image::BaseDiskImageAccessor>;

    FactoryHooks();
    ~FactoryHooks();
    FactoryHooks(FactoryHooks const&) = delete;
    FactoryHooks& operator=(FactoryHooks const&) = delete;

    /// Called in place of the factory's function, where it is set.
    std::function<BoolResult(AccessorPtr const&, image::DiskImagePtr&)> createDiskImage;
    /// Called with each image in memory and each distributed one that the factory has made.
    std::function<void(image::BaseImage&)> afterCreation;

    /// The factory's own function.
    static BoolResult createDiskImageUnhooked(AccessorPtr const& pAccessor, image::DiskImagePtr& out);
};

} // namespace velmo::test
