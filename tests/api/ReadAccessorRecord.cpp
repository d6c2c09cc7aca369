// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

// read_accessor_record binary|xml RECORD PIXELS: rebuilds the accessor of a record, writes the pixels that it
// reads to a file and what it says of itself to the standard output. A failure is one line and status 1.

#include <VELMOImage/ImageAccessor.h>
#include <VELMOImage/ImageFactory.h>
#include <VELMOImage/ImageGeometry.h>
#include <VELMOImage/JoinedImageAccessor.h>
#include <VELMOImageFile/Im6ImageFile.h>
#include <VELMOImageFile/RawImageFile.h>
#include <VELMOImageFile/TiffImageFile.h>
#include <VELMOSerialization/BinaryArchive.h>
#include <VELMOSerialization/XmlArchive.h>
#include <VELMOUtil/BaseException.h>
#include <fstream>
#include <iostream>
#include <vector>

namespace {

using namespace velmo;
using namespace velmo::image;

DynamicObjectPtr readRecord(std::string const& format, std::string const& path) {
    std::ifstream stream(path, std::ios::binary);
    if (format == "xml") {
        XmlIArchive archive(stream);
        return archive.readObject("accessor");
    }
    BinaryIArchive archive(stream);
    return archive.readObject("accessor");
}

bool isOfThisModule(DynamicObjectPtr const& pObject) {
    return dynamic_cast<file::Im6ImageFile const*>(pObject.get()) != nullptr ||
           dynamic_cast<file::RawImageFile const*>(pObject.get()) != nullptr ||
           dynamic_cast<file::TiffImageFile const*>(pObject.get()) != nullptr ||
           dynamic_cast<JoinedImageAccessor const*>(pObject.get()) != nullptr; // of files of this module
}

void describe(BaseDiskImageAccessor const& accessor) {
    BaseImageGeometry const& geometry = accessor.getGeometry();
    std::cout << accessor.getClassName() << " mode " << accessor.getAccessMode() << " shared "
              << accessor.hasSharedRemoteAccess() << " sizes " << geometry.getSizeX() << ' '
              << geometry.getSizeY() << ' ' << geometry.getSizeZ() << ' ' << geometry.getSizeC() << ' '
              << geometry.getSizeT() << " type " << geometry.getBufferType() << '\n';
}

void writeAllPixels(BaseDiskImageAccessor const& accessor, std::string const& path) {
    std::ofstream stream(path, std::ios::binary);
    BaseImageGeometry const& geometry = accessor.getGeometry();
    for (vlUInt64 plane = 0; plane < geometry.getNbPlans(); ++plane) {
        PlanIndexes const indexes = geometry.getPlanIndexes(plane);
        std::vector<char> pixels(geometry.getPlanMemorySize(indexes.t));
        BoolResult const result = accessor.readRawData(indexes.z, indexes.c, indexes.t, 0,
                                                       geometry.getPlanNbPixels(), pixels.data());
        if (!result) {
            throw BaseException(result.getMessage(), __PRETTY_FUNCTION__, __FILE__, __LINE__);
        }
        stream.write(pixels.data(), static_cast<std::streamsize>(pixels.size()));
    }
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        return 2;
    }
    try {
        DynamicObjectPtr const pObject = readRecord(argv[1], argv[2]);
        if (!isOfThisModule(pObject)) {
            std::cout << "no accessor of this module\n";
            return 1;
        }
        auto const pAccessor = boost::dynamic_pointer_cast<BaseDiskImageAccessor>(pObject);
        describe(*pAccessor);
        writeAllPixels(*pAccessor, argv[3]);
        return 0;
    } catch (std::exception const& exception) {
        std::cout << exception.what() << '\n';
        return 1;
    }
}
