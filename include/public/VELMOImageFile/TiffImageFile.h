// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/ImageAccessor.h>
#include <VELMOImage/ImageGeometry.h>
#include <VELMOImageFile/Export.h>
#include <VELMOImageFile/TiffImageFileTypes.h>
#include <functional>
#include <memory>

using TIFF = struct tiff;

namespace velmo::image::file {

class TiffHandles;
enum class eTiffPolicy : unsigned char;

/// Accessor of a TIFF file.
///
/// The following files can be opened. Colours: grey, or RGB or RGBA with interleaved samples. Samples: signed
/// and unsigned integers of 8, 16 and 32 bits, 32-bit floating point, and 1 bit (for reading only). Layout:
/// strips, with any compression that libtiff decodes to such samples. All directories of a file must have the
/// same sizes and colours; their pixel types may differ. If the only directory of a file has the description
/// of an ImageJ stack, it represents all planes of the stack.
///
/// Threads. `readRawData` and `writeRawData` may be called from any number of threads; on one accessor they
/// run one after the other, because a libtiff handle has one current directory. (Reads of an image that was
/// opened by a call with options run in parallel.) Creating, opening, clearing, `resizeData` and `read` need
/// exclusive use.
///
/// Errors are returned as a failed BoolResult whose text contains the path; its last line is the reason. Some
/// errors close the file. Every later access then fails with "Failed to open tiff image file".
///
/// This class behaves like the plain calls of TiffImageFileUtils.h: some reads succeed without all pixels of
/// the file, and each of them logs a warning. An image that was opened by a call with options has an accessor
/// of a derived class, whose reads return the pixels of the file or an error.
///
/// Examples: examples/write_record.cpp and read_record.cpp restore an accessor in another process.
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

    /// Opens a file. If this library wrote the file, `userProperties` receives its user properties, which may
    /// be empty; otherwise it is unchanged. After an error the accessor has no file.
    BoolResult openFile(boost::filesystem::path const& filePath, eImageAccessMode const& accessMode,
                        eTiffDirectoryMode const& directoryMode, eTiffBufferMode const& bufferMode,
                        std::string& userProperties);

    /// The same for reading only, and sets `hasSharedRemoteAccess`, which archives keep.
    BoolResult openSharedRemoteFile(boost::filesystem::path const& filePath,
                                    eTiffDirectoryMode const& directoryMode,
                                    eTiffBufferMode const& bufferMode, std::string& userProperties);

    /// Creates an uncompressed file with all planes of `imageGeometry`; all pixels are zero. An existing file
    /// is overwritten. The first access must be a write: a read before it fails and closes the file. After an
    /// error the accessor has no file, and an incomplete file may remain on disk. A geometry that cannot be
    /// stored is an error that leaves an existing file unchanged.
    BoolResult createFile(boost::filesystem::path const& filePath, BaseImageGeometry const& imageGeometry,
                          GeometricCalibrationConstPtr const& pGeometricCalibration);

    /// @{
    /// Same as the static functions above.
    std::string const& getClassName() const override;
    BaseDynamicObject* createNew() const override;
    DynamicObjectPtr createShared() const override;
    /// @}
    /// False, since an accessor owns an open file. `duplicate`, `duplicateShared` and `copy` throw
    /// VELMOUtilException. To copy an accessor or to send it to another process, use an archive.
    bool hasCopySupport() const override;
    BaseDynamicObject* duplicate() const override;
    /// Throws like `duplicate`.
    DynamicObjectPtr duplicateShared() const override;
    void copy(BaseDynamicObject const& other) override;

    /// Stores the description of the open file (path, access, modes, geometry), not its pixels.
    BoolResult write(BaseOArchive& archive) const override;
    /// Opens the file that the archive describes, with the geometry that the file has now. If the file is
    /// missing and the record has the access mode read and write, the file is created with zeros, and a
    /// warning is logged. A record of a newer version is thrown as VELMOSerializationException. After an
    /// error the accessor has no file.
    BoolResult read(BaseIArchive& archive) override;

    /// True. Throws VELMOImageException if no file is open.
    bool hasBinary8BitsStorage() const override;
    /// Replaces the file, in every access mode, by a new one for `imageGeometry`, whose pixels are zero. The
    /// former pixels are lost.
    BoolResult resizeData(BaseImageGeometry const& imageGeometry) override;
    /// Reads `nbPixels` pixels of a plane, row by row, from pixel `pixelStartOffset` on: the samples of
    /// channel `c`, or one byte of 0 or 1 for each 1-bit sample. A grey strip that cannot be decoded is an
    /// error. The following reads succeed and log a warning:
    /// - RGB and RGBA: pixels of a strip that cannot be decoded are zero.
    /// - Single-directory ImageJ stack: pixels are not converted from the byte order of the file.
    /// - Single-directory ImageJ stack: pixels that are missing at the end of the file are zero.
    /// - Single-directory ImageJ stack: a read of a part of a plane reads from a wrong place.
    /// - 1-bit samples: a run that starts at column 256 or later is read from that column modulo 256.
    /// - Directory numbers are taken modulo 65,536.
    BoolResult readRawData(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStartOffset, vlUInt64 nbPixels,
                           void* buffer) const override;
    /// Writes pixels of a plane; the arguments are those of `readRawData`. The other pixels keep their
    /// values. The pixels are in the file on return. In a compressed file a strip that grows moves to the end
    /// of the file, and its old space is not reused: many small writes make the file larger. A write to a
    /// directory of 1-bit samples is an error. A damaged file of this library may announce the pixel type
    /// eIBT_None; a write to it throws VELMOImageFileException.
    BoolResult writeRawData(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStartOffset, vlUInt64 nbPixels,
                            void const* buffer) override;
    void clearDerived() override;

  protected:
    /// An accessor without a file. The policy determines whether a file that does not contain what it
    /// announces is an error. The public constructor uses the policy of the plain calls.
    explicit TiffImageFile(eTiffPolicy policy);
    /// Sets the policy of all later operations. Must not be called while a file is open.
    void setPolicy(eTiffPolicy policy) { _policy = policy; }
    /// The policy of all operations.
    eTiffPolicy getPolicy() const { return _policy; }
    /// Calls a function that reads, with a handle that no other thread uses meanwhile. The function sets the
    /// handle to null if it closes it. An exception of the function becomes a failed result.
    BoolResult withHandle(std::function<BoolResult(TIFF*& pTiff)> const& read) const;

  private:
    BoolResult openFileInternal(boost::filesystem::path const& filePath, eImageAccessMode const& accessMode,
                                eTiffDirectoryMode const& directoryMode, eTiffBufferMode const& bufferMode,
                                std::string& userProperties, bool bSharedRemote);
    BoolResult createFileInternal(boost::filesystem::path const& filePath,
                                  BaseImageGeometry const& imageGeometry,
                                  GeometricCalibrationConstPtr const& pGeometricCalibration);
    BoolResult openAgain();

    void takeHandle(TIFF* pTiff, eImageAccessMode accessMode);

    std::unique_ptr<TiffHandles> _pHandles;
    eTiffPolicy _policy;
    eTiffDirectoryMode _tiffDirectoryMode = eTDM_Volume;
    eTiffBufferMode _tiffBufferMode = eTBM_Default;
};

} // namespace velmo::image::file
