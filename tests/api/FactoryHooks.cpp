// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

// The program's definitions of the factory's functions come before those of the library: each hands on to the
// library's own, unless a hook takes its place.

#include "FactoryHooks.h"

#include <dlfcn.h>

namespace velmo {
namespace test {

namespace {

FactoryHooks* g_pHooks = nullptr;

/// The definition behind this program's own.
template <class Function>
Function findLibrarys(char const* symbol) {
    void* const pSymbol = dlsym(RTLD_NEXT, symbol);
    return reinterpret_cast<Function>(pSymbol);
}

template <class OutPtr>
BoolResult finish(BoolResult const& result, OutPtr const& pImage) {
    if (result && g_pHooks != nullptr && g_pHooks->afterCreation) {
        g_pHooks->afterCreation(*pImage);
    }
    return result;
}

} // namespace

FactoryHooks::FactoryHooks() {
    g_pHooks = this;
}

FactoryHooks::~FactoryHooks() {
    g_pHooks = nullptr;
}

BoolResult FactoryHooks::createDiskImageUnhooked(AccessorPtr const& pAccessor, image::DiskImagePtr& out) {
    using Function = BoolResult (*)(image::ImageFactory const*, AccessorPtr const&, image::DiskImagePtr&);
    static auto const next =
        findLibrarys<Function>("_ZNK5velmo5image12ImageFactory15createDiskImageERKN5boost10shared_ptrINS0_"
                               "21BaseDiskImageAccessorEEERNS3_INS0_9DiskImageEEE");
    return next(&image::ImageFactory::getInstance(), pAccessor, out);
}

} // namespace test

namespace image {

BoolResult ImageFactory::createDiskImage(boost::shared_ptr<BaseDiskImageAccessor> const& pAccessor,
                                         DiskImagePtr& out) const {
    bool const bHooked = test::g_pHooks != nullptr && test::g_pHooks->createDiskImage;
    return bHooked ? test::g_pHooks->createDiskImage(pAccessor, out)
                   : test::FactoryHooks::createDiskImageUnhooked(pAccessor, out);
}

BoolResult ImageFactory::createDefaultImage(BaseImageGeometry const& geometry, ImagePtr& out) const {
    using Function = BoolResult (*)(ImageFactory const*, BaseImageGeometry const&, ImagePtr&);
    static auto const next =
        test::findLibrarys<Function>("_ZNK5velmo5image12ImageFactory18createDefaultImageERKNS0_"
                                     "17BaseImageGeometryERN5boost10shared_ptrINS0_9BaseImageEEE");
    return test::finish(next(this, geometry, out), out);
}

BoolResult ImageFactory::createDistributedImage(BaseImageGeometry const& geometry,
                                                DistributedImagePtr& out) const {
    using Function = BoolResult (*)(ImageFactory const*, BaseImageGeometry const&, DistributedImagePtr&);
    static auto const next =
        test::findLibrarys<Function>("_ZNK5velmo5image12ImageFactory22createDistributedImageERKNS0_"
                                     "17BaseImageGeometryERN5boost10shared_ptrINS0_16DistributedImageEEE");
    return test::finish(next(this, geometry, out), out);
}

BoolResult ImageFactory::createDistributedImage(DistributedImage const& model,
                                                eImageBufferType const& bufferType,
                                                DistributedImagePtr& out) const {
    using Function = BoolResult (*)(ImageFactory const*, DistributedImage const&, eImageBufferType const&,
                                    DistributedImagePtr&);
    static auto const next = test::findLibrarys<Function>(
        "_ZNK5velmo5image12ImageFactory22createDistributedImageERKNS0_16DistributedImageERKNS0_"
        "16eImageBufferTypeERN5boost10shared_ptrIS2_EE");
    return test::finish(next(this, model, bufferType, out), out);
}

} // namespace image
} // namespace velmo
