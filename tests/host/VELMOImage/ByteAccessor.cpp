// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "ByteAccessor.h"

#include "VELMOImage/ImageGeometry.h"

#include <cstring>

namespace velmo::test {

using namespace velmo::image;

std::shared_ptr<ByteStorage> ByteStorage::open(std::string const& path) {
    static std::mutex mutex;
    static std::map<std::string, std::weak_ptr<ByteStorage>> storages;
    std::lock_guard<std::mutex> const lock(mutex);
    std::shared_ptr<ByteStorage> pStorage = storages[path].lock();
    if (!pStorage) {
        pStorage = std::make_shared<ByteStorage>();
        storages[path] = pStorage;
    }
    return pStorage;
}

BoolResult ByteStorage::visit(Gate const& gate, PixelRun const& run) {
    {
        std::lock_guard<std::mutex> const lock(_mutex);
        _threads.insert(std::this_thread::get_id());
        ++_nbVisits;
    }
    return gate ? gate(run) : success();
}

std::set<std::thread::id> ByteStorage::getThreads() const {
    std::lock_guard<std::mutex> const lock(_mutex);
    return _threads;
}

vlUInt64 ByteStorage::getNbVisits() const {
    std::lock_guard<std::mutex> const lock(_mutex);
    return _nbVisits;
}

std::string const& ByteAccessor::getTypeName() {
    static std::string const typeName("velmo::test::ByteAccessor");
    return typeName;
}

void ByteAccessor::create(boost::filesystem::path const& path, BaseImageGeometry const& geometry,
                          GeometricCalibrationConstPtr const& pCalibration, eImageAccessMode accessMode,
                          bool bSharedRemote) {
    initBase(path, accessMode, geometry, pCalibration, bSharedRemote);
    _pStorage = ByteStorage::open(getFilePath().string());
    static_cast<void>(resizeData(getGeometry())); // cannot fail
}

BoolResult ByteAccessor::resizeData(BaseImageGeometry const& geometry) {
    _pStorage->bytes.resize(geometry.getFullMemorySize());
    return success();
}

BoolResult ByteAccessor::readRawData(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStartOffset,
                                     vlUInt64 nbPixels, void* buffer) const {
    PixelRun const run = {z, c, t, pixelStartOffset, nbPixels};
    BoolResult result = _pStorage->visit(_pStorage->readGate, run);
    if (result && nbPixels * getPixelSize(t) != 0) {
        std::memcpy(buffer, find(run), nbPixels * getPixelSize(t));
    }
    return result;
}

BoolResult ByteAccessor::writeRawData(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStartOffset,
                                      vlUInt64 nbPixels, void const* buffer) {
    PixelRun const run = {z, c, t, pixelStartOffset, nbPixels};
    BoolResult result = _pStorage->visit(_pStorage->writeGate, run);
    if (result && nbPixels * getPixelSize(t) != 0) {
        std::memcpy(find(run), buffer, nbPixels * getPixelSize(t));
    }
    return result;
}

void ByteAccessor::clearDerived() {
    _pStorage.reset();
}

BoolResult ByteAccessor::read(BaseIArchive& archive) {
    clear();
    BoolResult result = BaseDiskImageAccessor::read(archive);
    if (result && isInit()) {
        _pStorage = ByteStorage::open(getFilePath().string());
        ++_pStorage->nbRestored;
    }
    return result;
}

vlUInt64 ByteAccessor::getPixelSize(vlUInt64 t) const {
    return getImageBufferBaseSize(getGeometry().getPlanGeometry(t).getBufferType());
}

std::byte* ByteAccessor::find(PixelRun const& run) const {
    return _pStorage->bytes.data() + countBytesBefore(getGeometry(), run.z, run.c, run.t) +
           run.pixelStart * getPixelSize(run.t);
}

boost::shared_ptr<ByteAccessor> makeByteAccessor(std::string const& path, BaseImageGeometry const& geometry) {
    auto const pAccessor = boost::make_shared<ByteAccessor>();
    pAccessor->create(path, geometry);
    return pAccessor;
}

} // namespace velmo::test
