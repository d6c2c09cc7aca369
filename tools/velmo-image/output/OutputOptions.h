// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "input/FileFormat.h"
#include "input/ObservedAccessor.h"
#include "output/TiffTags.h"
#include "terminal/CommandOptions.h"

#include <VELMOImageFile/TiffImageFileOptions.h>
#include <functional>

namespace velmo::tool {

/// Files to write and the image of each, which is created when its file is written.
struct OutputImages {
    std::vector<boost::filesystem::path> files;
    std::function<ObservedSource(std::size_t)> createSource; ///< of the file of an index
    vlUInt64 nbPixels;                                       ///< of all images
};

/// An image and the file to which it is written.
struct OutputImage {
    boost::filesystem::path file;
    ObservedSource source;
};

/// The output file of a command, and the options that say how an image is written to it.
class OutputOptions {
  public:
    /// Adds the argument OUTPUT as well. The options write into this object, which must outlive the parsing.
    void addTo(CommandOptions& options);

    /// For TIFF files of a folder: adds the argument FOLDER, which `getFile` then is, and their options.
    void addFolderTo(CommandOptions& options);
    /// Adds --calibration-tags.
    void addCalibrationTagsTo(CommandOptions& options);
    /// Adds --imagej; after --calibration-tags, which it excludes.
    void addImageJTo(CommandOptions& options);

    /// --threads applies to raw outputs too, for commands that work on the input with several threads.
    void allowThreadsForRaw() { _bThreadsForRaw = true; }

    std::string const& getFile() const { return _file; }
    /// Whether --quiet is given.
    bool isQuiet() const { return _bQuiet; }
    /// Throws WrongUse where the format cannot be written, the extension is that of a picture and no format
    /// is given, an option does not apply to the format, or the header is the output.
    void requireFit() const;
    /// Throws for a file to read, which `what` names: WorkFailure where it is the output, WrongUse where it
    /// is the header.
    void requireApartFrom(boost::filesystem::path const& input, std::string const& what) const;
    void requireHeaderApartFrom(boost::filesystem::path const& input, std::string const& what) const;
    /// Of --threads. Throws WrongUse for a number that is not possible.
    processor::ProcessorDispatchPolicy getThreads() const;
    /// Throws WorkFailure where `save` would refuse the file, before any work is done.
    void requireWritable() const;
    /// Writes the image plane by plane, with a progress bar, by `writeOutput`, or by `writeStream` to the
    /// standard output or a pipe; an interrupt stops it.
    void save(ObservedSource const& source) const;
    /// The same for images whose files are named by the caller; a failure leaves none of them.
    void saveAll(std::vector<OutputImage> const& images) const;
    /// The same for any number of files: only the image of the file that is being written exists. All images
    /// have the calibration of the first one.
    void saveAll(OutputImages const& images) const;
    bool isOverwriteAllowed() const { return _bOverwrite; }
    /// Whether the output is a TIFF file.
    bool isTiff() const;

  private:
    using Writer = std::function<void(boost::filesystem::path const&)>;

    eFileFormat getFormat() const;
    /// Adds the options --threads, --overwrite and --quiet.
    void addRunOptionsTo(CommandOptions& options);
    void addCompressionTo(CommandOptions& options);
    void requireFitOfStream(eFileFormat format) const;
    /// Empty without --calibration-tags and --imagej. Prints a warning about what the tags cannot hold.
    TiffTagEdits getTagEdits(image::BaseImage const& image) const;
    image::file::eTiffCompression getCompression() const;
    /// Writes the image under the name that it is called with.
    Writer createWriter(image::DiskImagePtr const& pImage, TiffTagEdits const& edits) const;

    std::string _file;
    std::string _format;
    std::string _compression;
    std::string _threads;
    std::string _headerFile;
    CommandOption _calibrationTagsOption;
    bool _bCalibrationTags = false;
    bool _bImageJ = false;
    bool _bOverwrite = false;
    bool _bQuiet = false;
    bool _bThreadsForRaw = false;
};

} // namespace velmo::tool
