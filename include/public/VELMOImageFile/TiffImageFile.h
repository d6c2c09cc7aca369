// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/ImageAccessor.h>
#include <VELMOImage/ImageGeometry.h>
#include <VELMOImageFile/Export.h>
#include <VELMOImageFile/TiffImageFileTypes.h>
#include <boost/thread/mutex.hpp>

using TIFF = struct tiff;

namespace velmo::image::file {

enum class eTiffPolicy : unsigned char;

/// Accessor of a TIFF file.
///
/// These files can be opened: grey pixels, or RGB or RGBA pixels with their samples side by side; signed and
/// unsigned integers of 8, 16 and 32 bits, 32-bit floating point, and 1 bit, which can only be read; in
/// strips, with any compression that libtiff decodes to such pixels. All directories of a file must have the
/// same sizes and colours; their pixel types may differ. A single directory with the description of an ImageJ
/// stack stands for all planes of the stack.
///
/// Threads. `readRawData` and `writeRawData` may be called from any number of threads; on one accessor they
/// run one after the other, because a libtiff handle has one current directory. Creating, opening, clearing,
/// `resizeData` and `read` need exclusive use.
///
/// Errors are returned as a failed BoolResult whose text names the path; the last line is the reason. After
/// an error that closed the file every later access fails, and its text says so.
///
/// This class behaves as the plain calls of TiffImageFileUtils.h: some reads succeed without all pixels of
/// the file, and each of them logs a warning. An image that was opened by a call with options has an accessor
/// of a derived class, whose reads return the pixels of the file or an error.
///
/// Examples: examples/write_record.cpp and read_record.cpp rebuild an accessor in another process.
class VELMO_IMAGE_FILE_EXPORT TiffImageFile : public BaseDiskImageAccessor {
  public:
    /// An accessor without a file.
    TiffImageFile();
    /// Closes the file.
    ~TiffImageFile() override;

    /// Version of the class in archives: the newest record that `read` accepts.
    static unsigned int getVersion();
    /// Name of the class in archives and in the object factory.
    static std::string const& getTypeName();
    /// @{
    /// A new accessor without a file, for the object factory; the caller owns it.
    static BaseDynamicObject* createNewObject();
    static DynamicObjectPtr createSharedObject();
    /// @}

    /// Opens a file. `userProperties` becomes the text that a file of this module holds, empty if it holds
    /// none; for any other file it is left as it is. After an error the accessor has no file.
    BoolResult openFile(boost::filesystem::path const& filePath, eImageAccessMode const& accessMode,
                        eTiffDirectoryMode const& directoryMode, eTiffBufferMode const& bufferMode,
                        std::string& userProperties);

    /// The same for reading only, and sets `hasSharedRemoteAccess`, which archives keep.
    BoolResult openSharedRemoteFile(boost::filesystem::path const& filePath,
                                    eTiffDirectoryMode const& directoryMode,
                                    eTiffBufferMode const& bufferMode, std::string& userProperties);

    /// Creates an uncompressed file with all planes of `imageGeometry`, whose pixels are zero; an existing
    /// file is overwritten. The first access must be a write: a read before it fails and closes the file.
    /// After an error the accessor has no file, and an incomplete file may be left on disk. A geometry that
    /// cannot be stored is an error that leaves an existing file as it is.
    BoolResult createFile(boost::filesystem::path const& filePath, BaseImageGeometry const& imageGeometry,
                          GeometricCalibrationConstPtr const& pGeometricCalibration);

    /// @{
    /// As the static functions above.
    std::string const& getClassName() const override;
    BaseDynamicObject* createNew() const override;
    DynamicObjectPtr createShared() const override;
    /// @}
    /// False: an accessor owns an open file. `duplicate`, `duplicateShared` and `copy` throw
    /// VELMOUtilException. To rebuild an accessor elsewhere, write it to an archive.
    bool hasCopySupport() const override;
    BaseDynamicObject* duplicate() const override;
    /// Throws as `duplicate` does.
    DynamicObjectPtr duplicateShared() const override;
    void copy(BaseDynamicObject const& other) override;

    /// Stores the description of the open file (path, access, modes, geometry), not its pixels.
    BoolResult write(BaseOArchive& archive) const override;
    /// Opens the file that the archive describes, with the geometry that the file has now. If the file is
    /// missing and the record has the access mode read and write, the file is created in zeros, and a warning
    /// is logged. A record of a newer version is thrown as VELMOSerializationException. After an error the
    /// accessor has no file.
    BoolResult read(BaseIArchive& archive) override;

    /// True. Throws VELMOImageException if no file is open.
    bool hasBinary8BitsStorage() const override;
    /// Creates the file again for `imageGeometry`, in zeros: its pixels are lost, in every access mode.
    BoolResult resizeData(BaseImageGeometry const& imageGeometry) override;
    /// Reads `nbPixels` pixels of a plane from pixel `pixelStartOffset` on, row after row: the samples of
    /// channel `c`, or one byte of 0 or 1 for each packed bit. A grey strip that cannot be decoded is an
    /// error. These reads succeed and log a warning:
    /// - RGB and RGBA: pixels of a strip that cannot be decoded are zero.
    /// - The single directory of an ImageJ stack: pixels are the bytes of the file, in its byte order, and
    /// zero
    ///   behind the end of the file. Only reads of whole planes start at the right place.
    /// - Packed bits: a run that starts at column 256 or later starts at that column modulo 256.
    /// - Directory numbers are taken modulo 65,536.
    BoolResult readRawData(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStartOffset, vlUInt64 nbPixels,
                           void* buffer) const override;
    /// Writes pixels of a plane; arguments as `readRawData`. The other pixels keep their values. The pixels
    /// are in the file on return. In a compressed file a strip that becomes larger is written to the end of
    /// the file, and its old place is not used again: many small writes make a large file. A directory of
    /// packed bits cannot be written, which is an error. Pixels of no type, which a damaged file of this
    /// module may announce, are thrown as VELMOImageFileException.
    BoolResult writeRawData(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStartOffset, vlUInt64 nbPixels,
                            void const* buffer) override;
    void clearDerived() override;

  protected:
    /// An accessor without a file. The policy says whether a file that does not hold what it announces is an
    /// error; the public constructor uses that of the plain calls.
    explicit TiffImageFile(eTiffPolicy policy);
    /// Sets the policy of all later operations. Must not be called while a file is open.
    void setPolicy(eTiffPolicy policy) { _policy = policy; }
    /// The policy of all operations.
    eTiffPolicy getPolicy() const { return _policy; }

  private:
    BoolResult openFileInternal(boost::filesystem::path const& filePath, eImageAccessMode const& accessMode,
                                eTiffDirectoryMode const& directoryMode, eTiffBufferMode const& bufferMode,
                                std::string& userProperties, bool bSharedRemote);
    BoolResult createFileInternal(boost::filesystem::path const& filePath,
                                  BaseImageGeometry const& imageGeometry,
                                  GeometricCalibrationConstPtr const& pGeometricCalibration);
    BoolResult openAgain();

    mutable TIFF* _pTiff = nullptr; ///< owned; null without a file, and once a failure closed it
    eTiffPolicy _policy;
    eTiffDirectoryMode _tiffDirectoryMode = eTDM_Volume;
    eTiffBufferMode _tiffBufferMode = eTBM_Default;
    mutable boost::mutex _mutex; ///< held for the whole of each access to pixels
};

} // namespace velmo::image::file
