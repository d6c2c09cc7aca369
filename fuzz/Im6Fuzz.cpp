// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "FuzzInput.h"
#include "FuzzTarget.h"
#include "Sandbox.h"

#include <VELMOImageFile/Im6ImageFile.h>
#include <VELMOUtil/BaseException.h>

// An Im6 file.

using namespace velmo;
using namespace velmo::image;

static bool open(file::Im6ImageFile& accessor, boost::filesystem::path const& path) {
    try {
        return static_cast<bool>(accessor.openFile(path, eIAM_ReadOnly));
    } catch (BaseException const&) {
        return false; // what is no Im6 file is thrown
    }
}

int LLVMFuzzerTestOneInput(std::uint8_t const* pBytes, std::size_t nbBytes) {
    fuzz::FuzzInput const input(pBytes, nbBytes);
    file::Im6ImageFile accessor;
    if (open(accessor, fuzz::Sandbox::get().write("in.im6", input.getRest()))) {
        fuzz::exerciseOrAbort(accessor);
    }
    return 0;
}
