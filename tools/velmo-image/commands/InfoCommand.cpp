// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/InfoCommand.h"

#include "FileExercise.h"
#include "commands/DroppedWarnings.h"
#include "commands/FileDescription.h"
#include "commands/FileTable.h"
#include "commands/ImportHint.h"
#include "input/InputWarnings.h"
#include "terminal/Interrupt.h"
#include "terminal/Progress.h"
#include "terminal/Terminal.h"

#include <VELMOBase/ParallelRun.h>
#include <algorithm>
#include <boost/algorithm/string/join.hpp>

namespace velmo::tool {

namespace {

/// The share of a file in the progress bar.
constexpr vlUInt64 g_unitsOfFile = vlUInt64{1} << 20;

/// Counts the planes of a file that are read, and at the end of its life the rest of its share.
class FileProgress {
  public:
    explicit FileProgress(Progress& progress) : _progress(progress) {}
    ~FileProgress() { _progress.add(_nbLeft); }
    FileProgress(FileProgress const&) = delete;
    FileProgress& operator=(FileProgress const&) = delete;

    /// One of so many.
    void addPlane(vlUInt64 nbPlanes) {
        vlUInt64 const nbUnits = std::min(_nbLeft, g_unitsOfFile / std::max<vlUInt64>(1, nbPlanes));
        _nbLeft -= nbUnits;
        _progress.add(nbUnits);
    }

  private:
    Progress& _progress;
    vlUInt64 _nbLeft = g_unitsOfFile;
};

/// What cannot be read, one line each; empty where every tried plane can be read.
std::string findDamage(std::string const& file, InputImage const& input, FileProgress& progress) {
    ExerciseLimits limits;
    vlUInt64 const nbPlanes = std::min(limits.nbPlanes, input.pImage->getGeometry().getNbPlans());
    limits.beforePlane = [&] {
        throwIfInterrupted();
        progress.addPlane(2 * nbPlanes); // each is read a second time
    };
    std::vector<std::string> const damage =
        describeDamage(exerciseFile(*input.pImage->getAccessor(), limits));
    return damage.empty() ? std::string() : quoted(file) + ": " + boost::algorithm::join(damage, "\n");
}

} // namespace

InfoCommand::InfoCommand(CommandLine& line)
    : Command(line, "info", "Show what image files contain",
              "  velmo-image info --check brain.tif cells.tif\n"
              "  velmo-image info --table brain.tif cells.tif frames.im6\n"
              "  velmo-image info brain.raw --size 181,217,181 --type uint8\n"
              "  velmo-image info --json --check frames.raw --size 640,480,1,3 --type uint8 --offset 512") {
    getOptions().addArguments("FILE", _files,
                              "Files to describe; - describes raw planes from standard input");
    CommandOption const json = getOptions().addFlag("--json", _bJson, "Print a JSON document");
    getOptions()
        .addFlag("--table", _bTable, "Print a table with one line for each file; not with --json")
        .exclude(json);
    getOptions().addFlag(
        "--check", _bCheck,
        "Read the first and the last planes, fail if one cannot be read, and warn about unusual properties");
    _input.addTo(getOptions());
    _work.addTo(getOptions(), "files that are read at the same time");
}

FileDescription InfoCommand::describe(std::string const& file, InputDescription const& input,
                                      Progress& progress) const {
    throwIfInterrupted();
    FileProgress fileProgress(progress);
    eFileFormat const format = _input.getFormat(file);
    FileDescription description = {file, getFormatName(format), nullptr, false, {}, {}};
    try {
        InputImage const image = openInput(file, format, input);
        description.pImage = image.pImage;
        description.bSwapBytes = image.bSwapBytes;
        description.warnings = _bCheck ? findWarnings(image) : findTileWarnings(image);
        if (!_bCheck && !description.warnings.empty()) {
            description.warnings.front() += suggestImport(file, "; to import it: ");
        }
        if (format == eFileFormat::Tiff) {
            std::vector<std::string> const flattened = findFlattenedWarnings(file);
            description.warnings.insert(description.warnings.end(), flattened.begin(), flattened.end());
        }
        if (_bCheck && format == eFileFormat::Tiff) {
            std::vector<std::string> const dropped = findDroppedWarnings({file}, true);
            description.warnings.insert(description.warnings.end(), dropped.begin(), dropped.end());
        }
        if (_bCheck) {
            description.error = findDamage(file, image, fileProgress);
        }
    } catch (BaseException const& failure) {
        description.error = getFullText(failure);
    } catch (WorkFailure const& failure) {
        description.error = failure.what();
    }
    if (!description.error.empty()) {
        description.error += format == eFileFormat::Tiff ? suggestImport(file) : std::string();
    }
    return description;
}

std::unique_ptr<InfoReport> InfoCommand::createReport() const {
    return _bJson ? createJsonReport() : _bTable ? createTableReport() : createTextReport();
}

eExitStatus InfoCommand::run() const {
    vlUInt64 const nbThreads = _work.getNbThreads();
    InputDescription const input = _input.describe(_files, true); // the bar of all files is shown
    std::unique_ptr<InfoReport> const pReport = createReport();
    eExitStatus status = eES_Done;
    {
        Progress progress(_files.size() * g_unitsOfFile, _work.isQuiet());
        auto const describeFile = [&](std::uint64_t /*thread*/, std::uint64_t index) {
            return describe(_files[index], input, progress);
        };
        runInOrder(nbThreads, _files.size(), describeFile,
                   [&](std::uint64_t /*index*/, FileDescription const& description) {
                       std::string const text = pReport->add(description);
                       progress.pauseFor([&] {
                           if (!description.error.empty()) {
                               status = eES_Failed;
                               printMessage(description.error);
                           }
                           printOutput(text);
                       });
                       return true;
                   });
    }
    printOutput(pReport->finish());
    return status;
}

} // namespace velmo::tool
