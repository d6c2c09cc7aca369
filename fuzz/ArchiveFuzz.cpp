// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "FuzzInput.h"
#include "FuzzTarget.h"
#include "Sandbox.h"
#include "SandboxArchive.h"

#include <VELMOImage/JoinedImageAccessor.h>
#include <VELMOImageFile/Im6ImageFile.h>
#include <VELMOImageFile/RawImageFile.h>
#include <VELMOImageFile/TiffImageFile.h>
#include <VELMOSerialization/BinaryArchive.h>
#include <VELMOSerialization/XmlArchive.h>
#include <VELMOUtil/BaseException.h>
#include <boost/filesystem/operations.hpp>
#include <sstream>

// Input: the record of an accessor. The last byte chooses its class, and a binary or an XML archive.

namespace velmo::fuzz {

namespace {

using namespace image;

std::unique_ptr<BaseDiskImageAccessor> createAccessor(unsigned int choice) {
    switch (choice % 4) {
    case 0:
        return std::make_unique<file::RawImageFile>();
    case 1:
        return std::make_unique<file::Im6ImageFile>();
    case 2:
        return std::make_unique<file::TiffImageFile>();
    default:
        return std::make_unique<JoinedImageAccessor>();
    }
}

template <class Archive>
bool read(std::string const& bytes, BaseDiskImageAccessor& accessor) {
    std::istringstream stream(bytes);
    try {
        Archive archive(stream);
        SandboxArchive guarded(archive);
        return static_cast<bool>(accessor.read(guarded)) && accessor.isInit();
    } catch (BaseException const&) {
        return false; // the record was rejected
    }
}

/// Reads of these files may fail: a TIFF file that was created for a record cannot be read before it is
/// written, a file without pixels cannot be read, and a part of a joined image is not accessible.
bool isReadable(BaseDiskImageAccessor& accessor) {
    if (!boost::filesystem::exists(Sandbox::get() / g_missingName)) {
        return true;
    }
    std::uint32_t const pixel = 0;
    return dynamic_cast<JoinedImageAccessor*>(&accessor) == nullptr &&
           accessor.getGeometry().getNbPixels() != 0 && accessor.writeRawData(0, 0, 0, 0, 1, &pixel);
}

} // namespace

} // namespace velmo::fuzz

int LLVMFuzzerTestOneInput(std::uint8_t const* pBytes, std::size_t nbBytes) {
    using namespace velmo;
    fuzz::writeSamples();
    boost::filesystem::remove(fuzz::Sandbox::get() / fuzz::g_missingName);
    fuzz::FuzzInput input(pBytes, nbBytes);
    unsigned int const choice = input.takeByte();
    auto const pAccessor = fuzz::createAccessor(choice);
    bool const bOpen = choice / 4 % 2 == 0 ? fuzz::read<BinaryIArchive>(input.getRest(), *pAccessor)
                                           : fuzz::read<XmlIArchive>(input.getRest(), *pAccessor);
    if (bOpen && fuzz::isReadable(*pAccessor)) {
        fuzz::exerciseOrAbort(*pAccessor);
    }
    return 0;
}
