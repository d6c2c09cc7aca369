// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/ImageAccessor.h>
#include <VELMOImageFile/Export.h>
#include <VELMOImageFile/TiffImageFileTypes.h>
#include <boost/thread/mutex.hpp>

using TIFF = struct tiff;

namespace velmo::image::file {

enum class eTiffPolicy : unsigned char;

/// Accessor of a TIFF file.
///
/// Opens grey, RGB and RGBA pixels side by side, of 8, 16 and 32 bits (integers with and without sign, floats
/// of 32 bits) and, for reading alone, of 1 bit; in strips, with every codec of libtiff that decodes to such
/// pixels. Directories of one file have the same sizes and colours; their buffer types may differ. The single
/// directory of an ImageJ stack stands for all its planes.
///
/// Threads. A TIFF handle stands on one directory, so accesses to one accessor run one after the other;
/// different accessors run at once. Creating, opening, clearing, `resizeData` and `read` need exclusive use.
///
/// Errors are returned as a false BoolResult whose text names the path; its last line is the reason. Where an
/// error closes the file, every later access is an error whose text says so.
///
/// This class behaves as the plain calls of TiffImageFileUtils.h: some reads succeed without all pixels of
/// the file, and each such read logs a warning. An image that a call with options opened has an accessor of
/// a derived class, which gives the pixels of the file or an error.
///
/// examples/write_record.cpp and read_record.cpp take an accessor to another process.
class VELMO_IMAGE_FILE_EXPORT TiffImageFile : public BaseDiskImageAccessor {
  public:
    /// An accessor without a file.
    TiffImageFile();
    /// Closes the file.
    ~TiffImageFile() override;

    /// Of the class in archives: the newest record that `read` takes.
    static unsigned int getVersion();
    /// The name under which archives and the object factory know the class.
    static std::string const& getTypeName();
    /// @{
    /// A new accessor without a file, for the object factory; the caller owns it.
    static BaseDynamicObject* createNewObject();
    static DynamicObjectPtr createSharedObject();
    /// @}

    /// Opens a file; `userProperties` receives the text that a file of this module holds, or becomes empty
    /// where it holds none, and is left alone by any other file. On a failure the accessor has no file.
    BoolResult openFile(boost::filesystem::path const& filePath, eImageAccessMode const& accessMode,
                        eTiffDirectoryMode const& directoryMode, eTiffBufferMode const& bufferMode,
                        std::string& userProperties);

    /// The same for reading only, with `hasSharedRemoteAccess` set, which an archive keeps.
    BoolResult openSharedRemoteFile(boost::filesystem::path const& filePath,
                                    eTiffDirectoryMode const& directoryMode,
                                    eTiffBufferMode const& bufferMode, std::string& userProperties);

    /// Creates a file, or replaces an existing one, with every plane of `imageGeometry` in zeros and without
    /// compression. The first access must be a write; a read before it fails and closes the file. After an
    /// error the accessor has no file, and what was created stays; a geometry that cannot be stored leaves an
    /// existing file as it is.
    BoolResult createFile(boost::filesystem::path const& filePath, BaseImageGeometry const& imageGeometry,
                          GeometricCalibrationConstPtr const& pGeometricCalibration);

    /// @{
    /// As the static operations above.
    std::string const& getClassName() const override;
    BaseDynamicObject* createNew() const override;
    DynamicObjectPtr createShared() const override;
    /// @}
    /// False: an accessor owns an open file. The copying operations throw VELMOUtilException; an archive
    /// carries an accessor.
    bool hasCopySupport() const override;
    BaseDynamicObject* duplicate() const override;
    /// Throws as `duplicate` does.
    DynamicObjectPtr duplicateShared() const override;
    void copy(BaseDynamicObject const& other) override;

    /// Stores the description of the open file (path, access, modes, geometry), not its pixels.
    BoolResult write(BaseOArchive& archive) const override;
    /// Opens the file that the archive describes, whose own geometry then counts. Where the record says read
    /// and write, a missing file is created in zeros, with a warning in the log. A record of a newer version
    /// is thrown as VELMOSerializationException. After an error the accessor has no file.
    BoolResult read(BaseIArchive& archive) override;

    /// True. Throws VELMOImageException as long as no file is open.
    bool hasBinary8BitsStorage() const override;
    /// Makes the file anew for `imageGeometry`, in zeros: its pixels are gone, whatever the access mode.
    BoolResult resizeData(BaseImageGeometry const& imageGeometry) override;
    /// One channel of each pixel; packed bits as one byte of 0 or 1 each. A strip of a single channel that
    /// cannot be decoded is an error. These reads succeed and log a warning:
    /// - Channels side by side: what of a strip cannot be decoded is zero.
    /// - The single directory of an ImageJ stack: pixels are bytes as in the file, without a change of their
    ///   byte order, and zero behind the end of the file; only reads of whole planes start at their place.
    /// - Packed bits: a run that starts at column 256 or later starts at the remainder of that column by 256.
    /// - Directory numbers are taken modulo 65,536.
    BoolResult readRawData(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStartOffset, vlUInt64 nbPixels,
                           void* buffer) const override;
    /// The pixels around the run keep their values. Everything is in the file when it returns. In a
    /// compressed file a strip that grows is written again at the end, and its old place is lost: many small
    /// writes make a large file. A directory of packed bits cannot be written, which is an error. Pixels of
    /// no type, which a damaged file of this module may announce, are thrown as VELMOImageFileException.
    BoolResult writeRawData(vlUInt64 z, vlUInt64 c, vlUInt64 t, vlUInt64 pixelStartOffset, vlUInt64 nbPixels,
                            void const* buffer) override;
    void clearDerived() override;

  protected:
    /// An accessor without a file. The policy says what the operations do where a file does not hold what it
    /// announces; the public constructor takes that of the plain calls.
    explicit TiffImageFile(eTiffPolicy policy);
    /// Sets the policy of all later operations; not while a file is open.
    void setPolicy(eTiffPolicy policy) { _policy = policy; }
    /// The policy of the operations.
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
