// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "FuzzInput.h"
#include "FuzzTarget.h"
#include "Sandbox.h"

#include <VELMOImageFile/Im6ImageFile.h>
#include <VELMOUtil/BaseException.h>

// Input: an Im6 file.

using namespace velmo;
using namespace velmo::image;

static bool open(file::Im6ImageFile& accessor, boost::filesystem::path const& path) {
    try {
        return static_cast<bool>(accessor.openFile(path, eIAM_ReadOnly));
    } catch (BaseException const&) {
        return false; // a file that is not Im6 throws
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
