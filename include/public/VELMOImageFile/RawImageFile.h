// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/ImageAccessor.h>
#include <VELMOImageFile/Export.h>
#include <memory>

namespace velmo::image::file {

class PlaneFile;

/// Accessor of a headerless pixel file: the caller says what is in it.
///
/// The file holds `dataStartOffset` bytes that are never read, then the planes without padding: t outermost,
/// then c, then z; rows from first to last; pixels as they lie in memory, in the byte order of the machine,
/// binary ones as one byte each. Bytes behind the last plane are ignored.
///
/// Threads. `readRawData` and `writeRawData` may run on any number of threads at once: each thread has a
/// stream of its own, opened at its first access and kept as long as the accessor has the file open, and no
/// lock is held while bytes move. Writes to the same bytes are not ordered. Creating, opening, clearing,
/// `resizeData` and `read` need exclusive use.
///
/// Failures. The file's own are returned as a false BoolResult whose text names the path. After a failed
/// `createFile`, `readRawData` or `writeRawData` the calling thread's `errno` is the reason of the system, or
/// 0 where the system did not fail; `clear` sets it to 0, or to the reason for which a stream could not be
/// closed. A stream that failed stays in its error state: every later access on that thread fails at its
/// seek, until the file is opened anew.
class VELMO_IMAGE_FILE_EXPORT RawImageFile : public BaseDiskImageAccessor {
  public:
    /// An accessor without a file.
    RawImageFile();
    /// Closes the file on all threads.
    ~RawImageFile() override;

    /// Of the class in archives: the newest record that `read` takes.
    static unsigned int getVersion();
    /// The name under which archives and the object factory know the class.
    static std::string const& getTypeName();
    /// @{
    /// A new accessor without a file, for the object factory; the caller owns it.
    static BaseDynamicObject* createNewObject();
    static DynamicObjectPtr createSharedObject();
    /// @}

    /// Creates a file, or empties an existing one, writes `fileHeader` and gives the file its full size, in
    /// zeros behind the header. The planes begin behind the header. On a failure the accessor has no file,
    /// and what was created stays.
    ///
    /// The creating thread keeps a stream that cannot read: its `readRawData` fails. Other threads read and
    /// write.
    BoolResult createFile(boost::filesystem::path const& path, BaseImageGeometry const& geometry,
                          std::string const& fileHeader);

    /// Opens a file whose planes begin at byte `dataStartOffset`. A file too short for the geometry is
    /// refused, one that is longer is not. On a failure the accessor has no file.
    BoolResult openFile(boost::filesystem::path const& path, eImageAccessMode const& accessMode,
                        vlUInt64 dataStartOffset, BaseImageGeometry const& geometry);

    /// The same with `hasSharedRemoteAccess` set, which an archive keeps.
    BoolResult openSharedRemoteFile(boost::filesystem::path const& path, eImageAccessMode const& accessMode,
                                    vlUInt64 dataStartOffset, BaseImageGeometry const& geometry);

    /// @{
    /// As the static operations above.
    std::string const& getClassName() const override;
    BaseDynamicObject* createNew() const override;
    DynamicObjectPtr createShared() const override;
    /// @}
    /// False: an accessor owns open files. The copying operations throw VELMOUtilException; an archive
    /// carries an accessor.
    bool hasCopySupport() const override;
    BaseDynamicObject* duplicate() const override;
    /// Throws as `duplicate` does.
    DynamicObjectPtr duplicateShared() const override;
    void copy(BaseDynamicObject const& other) override;

    /// Stores the description of the open file (path, access, geometry, offset), not its pixels.
    BoolResult write(BaseOArchive& archive) const override;
    /// Opens the file that the archive describes. A record of a newer version is thrown as
    /// VELMOSerializationException. On a failure the accessor has no file.
    BoolResult read(BaseIArchive& archive) override;

    /// True. Throws VELMOImageException as long as no file is open.
    bool hasBinary8BitsStorage() const override;
    /// Makes the file long enough for `geometry` and places the planes anew from byte 0 on, without a header.
    /// The file never shrinks; the byte at the new end of the planes becomes 0.
    BoolResult resizeData(BaseImageGeometry const& geometry) override;
    /// Indexes of a plane that does not exist are thrown: VELMOImageException for `t`,
    /// VELMOImageFileException for `z` and `c`.
    BoolResult readRawData(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStartOffset, vlUInt64 nbPixels,
                           void* buffer) const override;
    /// As `readRawData`. The bytes are in the file when it returns.
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
