// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "PixelPattern.h"
#include "VELMOImage/ImageAccessor.h"
#include "VELMOSerialization/CopyableObject.h"

#include <atomic>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <set>
#include <string>
#include <thread>

namespace velmo::test {

/// A run of pixels that an accessor was asked for.
struct PixelRun {
    vlUInt64 z;
    vlUInt64 c;
    vlUInt64 t;
    vlUInt64 pixelStart;
    vlUInt64 nbPixels;
};

/// The "disk" of ByteAccessor: bytes that every accessor of one path shares, with a log of who came by.
class ByteStorage {
  public:
    /// The storage of a path; it lives as long as somebody holds it.
    static std::shared_ptr<ByteStorage> open(std::string const& path);

    /// Decides whether a run is served; a false result or an exception is what the accessor answers with. To
    /// be set before the accesses begin.
    using Gate = std::function<BoolResult(PixelRun const&)>;

    Bytes bytes;
    Gate readGate;
    Gate writeGate;

    BoolResult visit(Gate const& gate, PixelRun const& run);
    std::set<std::thread::id> getThreads() const;
    vlUInt64 getNbVisits() const;

    /// Accessors that were read from an archive and have found this storage.
    std::atomic<vlUInt64> nbRestored{0};

  private:
    mutable std::mutex _mutex;
    std::set<std::thread::id> _threads;
    vlUInt64 _nbVisits = 0;
};

/// A disk accessor whose file is a ByteStorage. It finds its storage again when it is read from an archive.
class ByteAccessor : public CopyableObject<ByteAccessor, image::BaseDiskImageAccessor> {
  public:
    static std::string const& getTypeName();

    /// Takes the storage of the path, grown to the geometry's bytes.
    void create(boost::filesystem::path const& path, image::BaseImageGeometry const& geometry,
                image::GeometricCalibrationConstPtr const& pCalibration = {},
                image::eImageAccessMode accessMode = image::eIAM_ReadWrite, bool bSharedRemote = false);

    ByteStorage& getStorage() const { return *_pStorage; }
    bool hasStorage() const { return _pStorage != nullptr; }

    bool hasBinary8BitsStorage() const override { return _bBytes; }
    /// From now on answers that binary pixels are packed bits.
    void packBinary() { _bBytes = false; }
    BoolResult resizeData(image::BaseImageGeometry const& geometry) override;
    BoolResult readRawData(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStartOffset, vlUInt64 nbPixels,
                           void* buffer) const override;
    BoolResult writeRawData(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStartOffset, vlUInt64 nbPixels,
                            void const* buffer) override;
    void clearDerived() override;
    BoolResult read(BaseIArchive& archive) override;

  private:
    vlUInt64 getPixelSize(vlUInt64 t) const;
    std::byte* find(PixelRun const& run) const;

    std::shared_ptr<ByteStorage> _pStorage;
    bool _bBytes = true;
};

/// An accessor over a storage of its own path.
boost::shared_ptr<ByteAccessor> makeByteAccessor(std::string const& path,
                                                 image::BaseImageGeometry const& geometry);

} // namespace velmo::test
