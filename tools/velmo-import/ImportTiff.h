// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOImage/DiskImage.h>
#include <VELMOImageFile/TiffImageFileOptions.h>
#include <VELMOUtil/BaseException.h>
#include <boost/filesystem/path.hpp>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

/// Reads TIFF files that the module rejects: tiles, channels in planes of their own, other numbers of bits,
/// any number of channels, hyperstacks, pyramids. No state of the process is used; calls on different objects
/// may run at once.
namespace velmo::importer {

/// Pages `first` to `last`, both included, from 0.
struct PageRange {
    vlUInt64 first;
    vlUInt64 last;
};

/// An axis along which the pages of a file follow each other.
struct PageAxis {
    char name;                    ///< 'z', 'c' or 't'
    std::optional<vlUInt64> size; ///< empty: follows from the number of pages
};

/// What to import, and which changes of pixels are allowed.
struct ImportOptions {
    /// Colours of a palette instead of the indexes.
    bool bPaletteToRgb = false;
    /// 64-bit floating point is rounded to 32 bits. Without it such files are rejected.
    bool bLossy = false;
    /// Pixels whose minimum is white are turned.
    bool bMinIsBlack = false;
    /// CMYK, Lab and LogLuv become RGB of 8 bits.
    bool bToRgb = false;
    /// The number of the series; empty: the only one.
    std::optional<vlUInt64> series;
    /// Directories of the file, counted with those that are skipped, or planes of a single-directory stack.
    /// Descriptions of axes are ignored then.
    std::optional<PageRange> pages;
    /// The axes of the pages, the fastest first; empty: those that the file describes, else Z.
    std::vector<PageAxis> axes;
    /// Number of threads that decode; 0: one for each processor.
    vlUInt64 nbThreads = 0;
    /// If set, it is asked between pieces of a plane, from any thread. The read fails once it returns true.
    std::function<bool()> isStopped;
};

/// A difference between the file and the image, or a part of the file that is not in the image.
struct ImportChange {
    std::string kind; ///< a word for programs, such as "tiles" or "bits"
    std::string text; ///< one sentence
};

/// Pages of one size and one kind of pixels.
struct ImportSeries {
    vlUInt64 number;
    std::vector<vlUInt64> directories; ///< ascending
    std::string pixels;                ///< such as "512 x 512, uint16, grey"
};

/// A file or a part of it that is not imported. The text is one line for each fact. What the caller can do is
/// in the last lines.
class ImportException : public BaseException {
  public:
    /// `option` and `series` are those of the accessors below; `function`, `file` and `line` are the place.
    ImportException(std::string const& message, std::string option, std::vector<ImportSeries> series,
                    char const* function, char const* file, unsigned int line)
        : BaseException(message, function, file, line), _option(std::move(option)),
          _series(std::move(series)) {}

    /// The option that would allow the import, such as "--lossy"; empty if there is none.
    std::string const& getOption() const { return _option; }
    /// The series of the file if none was chosen; otherwise empty.
    std::vector<ImportSeries> const& getSeries() const { return _series; }

  private:
    std::string _option;
    std::vector<ImportSeries> _series;
};

/// A consecutive part of the planes of an image.
struct ImagePart {
    vlUInt64 firstZ;
    vlUInt64 nbZ;
    vlUInt64 firstT;
    vlUInt64 nbT;
};

class ImportSource;

/// A TIFF file that is open for the import.
class ImportedTiff {
  public:
    /// Reads the directories, but no pixels. Throws ImportException for a file that cannot be imported with
    /// these options.
    ImportedTiff(boost::filesystem::path const& file, ImportOptions const& options);
    ~ImportedTiff();
    ImportedTiff(ImportedTiff&&) noexcept;
    ImportedTiff& operator=(ImportedTiff&&) noexcept;
    ImportedTiff(ImportedTiff const&) = delete;
    ImportedTiff& operator=(ImportedTiff const&) = delete;

    /// The image. Each read decodes from the file; it is made for reads of whole planes, each once, in the
    /// order t, c, z with z fastest, and holds at most the other channels of one page. It co-owns the open
    /// file. Reads fail with a text that names the directory and the tile or strip.
    image::DiskImagePtr const& getImage() const { return _pImage; }
    /// The planes of a part as an image.
    image::DiskImagePtr extract(ImagePart const& part) const;

    /// All changes. Those that only the pixels show, such as the greatest error of a rounding, are complete
    /// after all planes have been read.
    std::vector<ImportChange> getChanges() const;

  private:
    std::shared_ptr<ImportSource> _pSource; ///< null for a file of this library
    image::DiskImagePtr _pImage;
};

/// What an import did.
struct ImportReport {
    std::vector<ImportChange> changes;
    /// The files that were written, in the order of their parts; empty for an image in memory.
    std::vector<boost::filesystem::path> outputs;
};

/// An image in memory and how it differs from its file.
struct ImportedImage {
    image::ImagePtr pImage;
    ImportReport report;
};

/// Imports a file into memory. Throws ImportException for a file that cannot be imported, and
/// VELMOImageException if there is no memory for the image.
ImportedImage importTiffImage(boost::filesystem::path const& input, ImportOptions const& options = {});

/// Imports a file into a TIFF file, plane by plane. With more planes than a TIFF file of the module can hold,
/// several files are written: their names have numbers before the extension. All of them are written under
/// temporary names and renamed together; a failure leaves no new file and does not change old ones.
/// An existing file is replaced. `writeOptions.bReplaceWhenWhole` is ignored.
///
/// Throws ImportException, and VELMOImageFileException for a file that cannot be written.
ImportReport importTiff(boost::filesystem::path const& input, boost::filesystem::path const& output,
                        ImportOptions const& options = {},
                        image::file::TiffWriteOptions const& writeOptions = {});

/// A part of an image and the file that holds it.
struct OutputPart {
    boost::filesystem::path path;
    ImagePart part;
};

/// The TIFF files that hold an image of this geometry: `output` alone, or several files with numbers before
/// the extension, cut along T if there are time steps, otherwise along Z. Throws ImportException if a time
/// step of a sequence has more planes than a file can hold.
std::vector<OutputPart> divideOutput(boost::filesystem::path const& output,
                                     image::BaseImageGeometry const& geometry);

/// The names of the files of `divideOutput` as a pattern of `velmo-image stack`, without the folder.
std::string getPartPattern(boost::filesystem::path const& output);

/// The axes of a hyperstack whose planes the module reads along one axis, such as "Z 5, C 2, T 3". Empty for
/// other files and for files that cannot be imported.
std::optional<std::string> findFlattenedAxes(boost::filesystem::path const& file);

/// Whether the module cannot open the file, or cannot read tiles in it. Logs no error.
bool needsImport(boost::filesystem::path const& file);

/// The options with which a file can be imported, such as "" or " --lossy"; empty if it cannot be imported.
/// Reads the directories, but no pixels.
std::optional<std::string> findImportOptions(boost::filesystem::path const& file);

/// A line for each series, each after a line break: its number, its pixels and its directories.
std::string describeSeries(std::vector<ImportSeries> const& series);

} // namespace velmo::importer
