// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "ImportTiff.h"

#include "Descriptions.h"
#include "ImportedAccessor.h"
#include "Refusal.h"

#include <VELMOBase/ReplacedFile.h>
#include <VELMOImage/ImageFactory.h>
#include <VELMOImage/ImageGeometry.h>
#include <VELMOImageFile/TiffImageFileUtils.h>
#include <VELMOImageFile/VELMOImageFileException.h>
#include <VELMOUtil/GuardedRaise.h>
#include <algorithm>
#include <boost/algorithm/string/replace.hpp>

namespace velmo::importer {

namespace {

namespace fs = boost::filesystem;

/// Files of this library need no import and have no choices.
void requireNoChoice(ImportOptions const& options) {
    if (options.series || options.pages || !options.axes.empty() || options.bMinIsBlack) {
        refuse("the file was written by this library: it is copied as it is, without options that choose or "
               "change pixels");
    }
}

BoolResult copyPlanes(image::BaseImage const& source, image::BaseImage& target) {
    image::BaseImageGeometry const& geometry = source.getGeometry();
    vlUInt64 const nbPixels = geometry.getPlanNbPixels();
    BoolResult result = success();
    for (vlUInt64 number = 0; number < geometry.getNbPlans() && result; ++number) {
        image::PlanIndexes const plane = geometry.getPlanIndexes(number);
        result = source.readPixels(plane, 0, nbPixels, target.accessPlan(plane.z, plane.c, plane.t));
    }
    return result;
}

void require(SystemResult const& result, std::string const& what, fs::path const& path) {
    if (!result) {
        refuse("cannot " + what + " \"" + path.string() + "\": " + result.getMessage());
    }
}

using image::file::VELMOImageFileException;

/// The error of a save under a temporary name, with the name of the output instead.
VELMOImageFileException nameOutput(VELMOImageFileException const& failure, fs::path const& temporary,
                                   fs::path const& output) {
    VELMOImageFileException named(
        boost::replace_all_copy(std::string(failure.what()), temporary.string(), output.string()),
        failure.getFunction().c_str(), failure.getFile().c_str(), failure.getLine());
    named.setMessageIds(failure.getMessageIds());
    return named;
}

void savePart(image::ImageConstPtr const& pImage, ReplacedFile const& file, fs::path const& output,
              image::file::TiffWriteOptions const& options) {
    try {
        image::file::saveTiffImageFile(file.getPath(), pImage, options);
    } catch (VELMOImageFileException const& failure) {
        throw nameOutput(failure, file.getPath(), output);
    }
}

/// "0-4, 7".
std::string toRanges(std::vector<vlUInt64> const& numbers) {
    std::string text;
    for (std::size_t index = 0; index < numbers.size();) {
        std::size_t last = index;
        while (last + 1 < numbers.size() && numbers[last + 1] == numbers[last] + 1) {
            ++last;
        }
        text += (text.empty() ? "" : ", ") + std::to_string(numbers[index]);
        text += last == index ? "" : '-' + std::to_string(numbers[last]);
        index = last + 1;
    }
    return text;
}

} // namespace

ImportedTiff::ImportedTiff(fs::path const& file, ImportOptions const& options) {
    if (isOwnFile(file)) {
        requireNoChoice(options);
        _pImage = image::file::openTiffImageFile(file, image::file::TiffReadOptions());
        return;
    }
    _pSource = std::make_shared<ImportSource>(planImport(file, options), options);
    _pImage = createImage(_pSource, getWhole(_pSource->getGeometry()));
}

ImportedTiff::~ImportedTiff() = default;
ImportedTiff::ImportedTiff(ImportedTiff&&) noexcept = default;
ImportedTiff& ImportedTiff::operator=(ImportedTiff&&) noexcept = default;

image::DiskImagePtr ImportedTiff::extract(ImagePart const& part) const {
    bool const bWhole =
        part.nbZ == _pImage->getGeometry().getSizeZ() && part.nbT == _pImage->getGeometry().getSizeT();
    return bWhole || !_pSource ? _pImage : createImage(_pSource, part);
}

std::vector<ImportChange> ImportedTiff::getChanges() const {
    return _pSource ? _pSource->getChanges() : std::vector<ImportChange>();
}

ImportedImage importTiffImage(fs::path const& input, ImportOptions const& options) {
    ImportedTiff const imported(input, options);
    image::DiskImagePtr const& pSource = imported.getImage();
    ImportedImage result;
    BoolResult done =
        image::ImageFactory::getInstance().createDefaultImage(pSource->getGeometry(), result.pImage);
    if (done) {
        done = copyPlanes(*pSource, *result.pImage);
    }
    if (!done) {
        refuse(done.getMessage());
    }
    result.pImage->setGeometricCalibration(pSource->getGeometricCalibrationConstPtr());
    result.pImage->setUserPropertiesStr(pSource->getUserPropertiesStr());
    result.report.changes = imported.getChanges();
    return result;
}

ImportReport importTiff(fs::path const& input, fs::path const& output, ImportOptions const& options,
                        image::file::TiffWriteOptions const& writeOptions) {
    ImportedTiff const imported(input, options);
    std::vector<OutputPart> const parts = divideOutput(output, imported.getImage()->getGeometry());
    image::file::TiffWriteOptions directly = writeOptions;
    directly.bReplaceWhenWhole = false; // the paths are temporary ones
    std::vector<std::unique_ptr<ReplacedFile>> files;
    ImportReport report;
    for (OutputPart const& part : parts) {
        if (imported.getImage()->isStoredIn(part.path)) {
            refuse("cannot write \"" + part.path.string() + "\": it is the input");
        }
        files.push_back(std::make_unique<ReplacedFile>(part.path));
        require(files.back()->create(), "create", part.path);
        savePart(imported.extract(part.part), *files.back(), part.path, directly);
        report.outputs.push_back(part.path);
    }
    for (std::unique_ptr<ReplacedFile> const& pFile : files) {
        require(pFile->commit(), "write", output);
    }
    report.changes = imported.getChanges();
    return report;
}

std::optional<std::string> findFlattenedAxes(fs::path const& file) {
    try {
        auto const pFile = std::make_shared<InputFile const>(file);
        TiffHandle handle(pFile);
        auto const description = handle.getTag<char const*>(TIFFTAG_IMAGEDESCRIPTION);
        if (isOwnDirectory(handle) || !description) {
            return std::nullopt;
        }
        bool const bDescribed = parseStackDescription(*description) ||
                                std::string(*description).find("<OME") != std::string::npos;
        if (!bDescribed) {
            return std::nullopt;
        }
        ImportPlan const plan = planImport(file, {});
        image::BaseImageGeometry const& geometry = *plan.pGeometry;
        if (geometry.getSizeT() == 1 && geometry.getSizeC() == plan.samples) {
            return std::nullopt;
        }
        return "Z " + std::to_string(geometry.getSizeZ()) + ", C " + std::to_string(geometry.getSizeC()) +
               ", T " + std::to_string(geometry.getSizeT());
    } catch (BaseException const&) {
        return std::nullopt;
    }
}

bool needsImport(fs::path const& file) {
    UnloggedRaises const unlogged;
    try {
        if (image::file::describeTiffFile(file).nbTiled != 0) {
            return true;
        }
        image::file::openTiffImageFile(file, image::file::TiffReadOptions());
        return false;
    } catch (BaseException const&) {
        return true;
    }
}

std::optional<std::string> findImportOptions(fs::path const& file) {
    struct Remedy {
        char const* option;
        void (*apply)(ImportOptions&);
    };
    constexpr Remedy remedies[] = {{"--lossy", [](ImportOptions& options) { options.bLossy = true; }},
                                   {"--to-rgb", [](ImportOptions& options) { options.bToRgb = true; }},
                                   {"--series 0", [](ImportOptions& options) { options.series = 0; }}};
    ImportOptions options;
    std::string text;
    for (std::size_t tried = 0; tried <= std::size(remedies); ++tried) {
        try {
            static_cast<void>(planImport(file, options));
            return text;
        } catch (ImportException const& failure) {
            auto const* const pRemedy =
                std::find_if(std::begin(remedies), std::end(remedies),
                             [&](Remedy const& remedy) { return failure.getOption() == remedy.option; });
            if (pRemedy == std::end(remedies)) {
                return std::nullopt;
            }
            pRemedy->apply(options);
            text += std::string(" ") + pRemedy->option;
        } catch (BaseException const&) {
            return std::nullopt;
        }
    }
    return std::nullopt;
}

std::string describeSeries(std::vector<ImportSeries> const& series) {
    std::string text;
    for (ImportSeries const& one : series) {
        text += "\n  series " + std::to_string(one.number) + ": " + one.pixels;
        if (!one.directories.empty()) {
            text += "; " + std::to_string(one.directories.size()) +
                    (one.directories.size() == 1 ? " page: directory " : " pages: directories ") +
                    toRanges(one.directories);
        }
    }
    return text;
}

} // namespace velmo::importer
