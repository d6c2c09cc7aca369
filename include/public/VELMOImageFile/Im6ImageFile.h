// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/ImageAccessor.h>
#include <VELMOImage/ImageGeometry.h>
#include <VELMOImageFile/Export.h>
#include <memory>

namespace velmo::image::file {

class PlaneFile;

/// Accessor of an Im6 file, for reading only. The file contains its geometry.
///
/// File layout: a header of 116 bytes, then the planes in the order t, c, z (z changes fastest) without
/// padding; rows are stored from first to last. Pixels are little-endian; a binary pixel is one byte. Three
/// blocks of bytes follow. If the first block, a text, contains the word "Calibration", a calibration record
/// follows the third block. A file with one channel is grey; a file with any other number of channels is RGB.
///
/// Threads. `readRawData` may run on any number of threads at once. Each thread has its own stream, which is
/// opened at the first access of the thread and closed with the file; no lock is held during a transfer.
/// Opening, clearing and `read` need exclusive use.
///
/// Errors of the file are returned as a failed BoolResult whose text contains the path. A file that is not an
/// Im6 file is thrown as VELMOImageException. A stream that failed stays in its error state: every later
/// access on that thread fails at its seek, until the file is opened again.
class VELMO_IMAGE_FILE_EXPORT Im6ImageFile : public BaseDiskImageAccessor {
  public:
    /// An accessor without a file.
    Im6ImageFile();
    /// Closes the file on all threads.
    ~Im6ImageFile() override;

    /// Version of the class in archives: the newest record that `read` accepts.
    static unsigned int getVersion();
    /// Name of the class in archives and in the object factory.
    static std::string const& getTypeName();
    /// @{
    /// A new accessor without a file, for the object factory; the caller owns it.
    static BaseDynamicObject* createNewObject();
    static DynamicObjectPtr createSharedObject();
    /// @}

    /// Opens a file and reads its geometry and, if it has one, its calibration. A file that is shorter than
    /// its header announces is an error, with one exception: a file whose header announces a text block and
    /// that ends in its planes or in that block is opened. The thread that opened it then cannot read pixels;
    /// other threads can read the planes that are in the file. A longer file is accepted. A header, text or
    /// calibration record that the operating system cannot read is an error. After an error the accessor has
    /// no file.
    BoolResult openFile(boost::filesystem::path const& path, eImageAccessMode const& accessMode);

    /// The same, and sets `hasSharedRemoteAccess`, which archives keep.
    BoolResult openSharedRemoteFile(boost::filesystem::path const& path, eImageAccessMode const& accessMode);

    /// @{
    /// Same as the static functions above.
    std::string const& getClassName() const override;
    BaseDynamicObject* createNew() const override;
    DynamicObjectPtr createShared() const override;
    /// @}
    /// False, since an accessor owns open files. `duplicate`, `duplicateShared` and `copy` throw
    /// VELMOUtilException. To copy an accessor or to send it to another process, use an archive.
    bool hasCopySupport() const override;
    BaseDynamicObject* duplicate() const override;
    /// Throws like `duplicate`.
    DynamicObjectPtr duplicateShared() const override;
    void copy(BaseDynamicObject const& other) override;

    /// Stores the description of the open file (path and access), not its pixels.
    BoolResult write(BaseOArchive& archive) const override;
    /// Opens the file that the archive names, with the geometry that the file has now. A record of a newer
    /// version is thrown as VELMOSerializationException. After an error the accessor has no file.
    BoolResult read(BaseIArchive& archive) override;

    /// True. Throws VELMOImageException if no file is open.
    bool hasBinary8BitsStorage() const override;
    /// Does nothing and succeeds.
    BoolResult resizeData(BaseImageGeometry const& geometry) override;
    /// Reads `nbPixels` pixels of a plane, row by row, from pixel `pixelStartOffset` on. For a plane that
    /// does not exist it throws VELMOImageException (`t`) or VELMOImageFileException (`z`, `c`).
    BoolResult readRawData(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStartOffset, vlUInt64 nbPixels,
                           void* buffer) const override;
    /// Does nothing and succeeds, in every access mode.
    BoolResult writeRawData(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStartOffset, vlUInt64 nbPixels,
                            void const* buffer) override;
    void clearDerived() override;

  private:
    BoolResult openFileInternal(boost::filesystem::path const& path, eImageAccessMode const& accessMode,
                                bool sharedRemote);
    vlUInt64 processOffsets(vlUInt64 firstOffset, BaseImageGeometry const& geometry);

    std::unique_ptr<PlaneFile> _planes;
};

} // namespace velmo::image::file
