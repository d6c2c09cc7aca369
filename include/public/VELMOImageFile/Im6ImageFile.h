// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/ImageAccessor.h>
#include <VELMOImageFile/Export.h>
#include <memory>

namespace velmo::image::file {

class PlaneFile;

/// Accessor of an Im6 file, which says itself what is in it. Nothing is ever written.
///
/// The file holds a header of 116 bytes, then the planes without padding: t outermost, then c, then z; rows
/// from first to last; pixels little-endian, binary ones as one byte each. Three blocks follow, the first of
/// them a text; where that holds the word "Calibration" a calibration record comes last. A header of one
/// channel is grey, of any other number RGB.
///
/// Threads. `readRawData` may run on any number of threads at once: each thread has a stream of its own,
/// opened at its first access and kept as long as the accessor has the file open, and no lock is held while
/// bytes move. Opening, clearing and `read` need exclusive use.
///
/// Failures. The file's own are returned as a false BoolResult whose text names the path; a file that is no
/// Im6 file is thrown as VELMOImageException. A stream that failed is not mended: every later access on that
/// thread fails at its seek, until the file is opened anew.
class VELMO_IMAGE_FILE_EXPORT Im6ImageFile : public BaseDiskImageAccessor {
  public:
    /// An accessor without a file.
    Im6ImageFile();
    /// Closes the file on all threads.
    ~Im6ImageFile() override;

    /// Of the class in archives: the newest record that `read` takes.
    static unsigned int getVersion();
    /// The name under which archives and the object factory know the class.
    static std::string const& getTypeName();
    /// @{
    /// A new accessor without a file, for the object factory; the caller owns it.
    static BaseDynamicObject* createNewObject();
    static DynamicObjectPtr createSharedObject();
    /// @}

    /// Opens a file with the geometry and, if it has one, the calibration that it tells. A file that is
    /// shorter than what it tells is refused, one that is longer is not; but one that ends within the planes
    /// or the text that is to follow them is open, and its reads tell what is missing. A file whose header,
    /// text or calibration record the system refuses to read is a failure. On a failure the accessor has no
    /// file.
    BoolResult openFile(boost::filesystem::path const& path, eImageAccessMode const& accessMode);

    /// The same with `hasSharedRemoteAccess` set, which an archive keeps.
    BoolResult openSharedRemoteFile(boost::filesystem::path const& path, eImageAccessMode const& accessMode);

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

    /// Stores the description of the open file (path and access), not its pixels.
    BoolResult write(BaseOArchive& archive) const override;
    /// Opens the file that the archive names, with the geometry that the file has now. A record of a newer
    /// version is thrown as VELMOSerializationException. On a failure the accessor has no file.
    BoolResult read(BaseIArchive& archive) override;

    /// True. Throws VELMOImageException as long as no file is open.
    bool hasBinary8BitsStorage() const override;
    /// Does nothing, and succeeds.
    BoolResult resizeData(BaseImageGeometry const& geometry) override;
    /// Indexes of a plane that does not exist are thrown: VELMOImageException for `t`,
    /// VELMOImageFileException for `z` and `c`.
    BoolResult readRawData(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStartOffset, vlUInt64 nbPixels,
                           void* buffer) const override;
    /// Does nothing, and succeeds, whatever the access mode.
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
