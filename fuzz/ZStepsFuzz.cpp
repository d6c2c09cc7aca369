// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "FuzzInput.h"
#include "FuzzTarget.h"
#include "Sandbox.h"
#include "TiffTarget.h"

#include <VELMOImage/ImageGeometry.h>
#include <VELMOImageFile/TiffImageFileUtils.h>
#include <VELMOUtil/BaseException.h>
#include <boost/filesystem/operations.hpp>

// Input: steps between planes. The last byte chooses text or XML, the interpolation policy and the number of
// planes of the result. The stack has three planes in two files.

namespace velmo::fuzz {

namespace {

boost::filesystem::path makeStack() {
    boost::filesystem::path const folder = Sandbox::get() / "stack";
    boost::filesystem::create_directory(folder);
    Sandbox::get().write("stack/1.tif", makeTiff("", "", "", 0));
    Sandbox::get().write("stack/2.tif", makeTiff("", "", "", 64)); // with two directories
    return folder;
}

void load(std::string const& steps, unsigned int choice) {
    static boost::filesystem::path const folder = makeStack();
    auto const policy = static_cast<imaproc::attr::eInterpolationPolicy>(choice / 2 % 4);
    vlUInt64 const sizeZ = choice / 8;
    auto const path = Sandbox::get().write(choice % 2 == 0 ? "steps.txt" : "steps.xml", steps);
    try {
        auto const pImage = image::file::loadCustomZStackImageFiles(folder, path, sizeZ, policy,
                                                                    "<INDEX>.tif", image::file::eTBM_Default);
        if (pImage->getGeometry().getSizeZ() != sizeZ) {
            abortWith("the stack has another number of planes");
        }
    } catch (BaseException const&) {
        return; // the steps were rejected
    }
}

} // namespace

} // namespace velmo::fuzz

int LLVMFuzzerTestOneInput(std::uint8_t const* pBytes, std::size_t nbBytes) {
    velmo::fuzz::FuzzInput input(pBytes, nbBytes);
    unsigned int const choice = input.takeByte();
    velmo::fuzz::load(input.getRest(), choice);
    return 0;
}
