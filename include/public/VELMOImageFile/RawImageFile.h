// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/ImageAccessor.h>
#include <VELMOImage/ImageGeometry.h>
#include <VELMOImageFile/Export.h>
#include <memory>

namespace velmo::image::file {

class PlaneFile;

/// Accessor of a headerless file of pixels. The caller passes the geometry.
///
/// File layout: `dataStartOffset` bytes that are not read, then the planes in the order t, c, z (z changes
/// fastest) without padding; rows are stored from first to last. Pixels are in the byte order of this
/// machine; a binary pixel is one byte. Bytes after the last plane are ignored.
///
/// Threads. `readRawData` and `writeRawData` may run on any number of threads at once. Each thread has its
/// own stream, which is opened at the first access of the thread and closed with the file; no lock is held
/// during a transfer. The order of writes to the same bytes is undefined. Creating, opening, clearing,
/// `resizeData` and `read` need exclusive use.
///
/// Errors of the file are returned as a failed BoolResult whose text contains the path. After a failed
/// `createFile`, `readRawData` or `writeRawData`, `errno` of the calling thread is the error of the operating
/// system, or 0 if no system call failed. `clear` sets `errno` to 0, or to the error of a stream that could
/// not be closed. A stream that failed stays in its error state: every later access on that thread fails at
/// its seek, until the file is opened again.
class VELMO_IMAGE_FILE_EXPORT RawImageFile : public BaseDiskImageAccessor {
  public:
    /// An accessor without a file.
    RawImageFile();
    /// Closes the file on all threads.
    ~RawImageFile() override;

    /// Version of the class in archives: the newest record that `read` accepts.
    static unsigned int getVersion();
    /// Name of the class in archives and in the object factory.
    static std::string const& getTypeName();
    /// @{
    /// A new accessor without a file, for the object factory; the caller owns it.
    static BaseDynamicObject* createNewObject();
    static DynamicObjectPtr createSharedObject();
    /// @}

    /// Creates a file, or empties an existing one, writes `fileHeader` and then zeros for all planes. After
    /// an error the accessor has no file, and an incomplete file may be left on disk.
    ///
    /// The stream of the calling thread cannot read afterwards: `readRawData` fails on this thread until the
    /// file is opened again. Other threads can read and write.
    BoolResult createFile(boost::filesystem::path const& path, BaseImageGeometry const& geometry,
                          std::string const& fileHeader);

    /// Opens a file whose planes begin at byte `dataStartOffset`. A file that is too short for the geometry
    /// is an error; a longer one is accepted. After an error the accessor has no file.
    BoolResult openFile(boost::filesystem::path const& path, eImageAccessMode const& accessMode,
                        vlUInt64 dataStartOffset, BaseImageGeometry const& geometry);

    /// The same, and sets `hasSharedRemoteAccess`, which archives keep.
    BoolResult openSharedRemoteFile(boost::filesystem::path const& path, eImageAccessMode const& accessMode,
                                    vlUInt64 dataStartOffset, BaseImageGeometry const& geometry);

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

    /// Stores the description of the open file (path, access, geometry, offset), not its pixels.
    BoolResult write(BaseOArchive& archive) const override;
    /// Opens the file that the archive describes. A record of a newer version is thrown as
    /// VELMOSerializationException. After an error the accessor has no file.
    BoolResult read(BaseIArchive& archive) override;

    /// True. Throws VELMOImageException if no file is open.
    bool hasBinary8BitsStorage() const override;
    /// Extends the file to the size of `geometry`, whose planes then begin at byte 0: the header is no longer
    /// skipped. The file never becomes shorter. The last byte of the last plane is set to 0.
    BoolResult resizeData(BaseImageGeometry const& geometry) override;
    /// Reads `nbPixels` pixels of a plane, row by row, from pixel `pixelStartOffset` on. For a plane that
    /// does not exist it throws VELMOImageException (`t`) or VELMOImageFileException (`z`, `c`).
    BoolResult readRawData(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStartOffset, vlUInt64 nbPixels,
                           void* buffer) const override;
    /// Writes pixels of a plane; arguments and errors are those of `readRawData`. The bytes are in the file
    /// on return.
    BoolResult writeRawData(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStartOffset, vlUInt64 nbPixels,
                            void const* buffer) override;
    void clearDerived() override;

  private:
    BoolResult openFileInternal(boost::filesystem::path const& path, eImageAccessMode const& accessMode,
                                vlUInt64 dataStartOffset, BaseImageGeometry const& geometry,
                                bool sharedRemote);
    vlUInt64 processOffsets(vlUInt64 dataStartOffset, BaseImageGeometry const& geometry);

    std::unique_ptr<PlaneFile> _planes;
};

} // namespace velmo::image::file
