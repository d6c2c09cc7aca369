// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/ProjectCommand.h"

#include "commands/DroppedWarnings.h"
#include "commands/ImportHint.h"
#include "terminal/CheckedParsing.h"
#include "terminal/Progress.h"
#include "terminal/Terminal.h"

namespace velmo::tool {

namespace {

constexpr std::array<Choice<eProjectionAxis>, 3> g_axes = {
    {{"z", eProjectionAxis::Z}, {"t", eProjectionAxis::T}, {"c", eProjectionAxis::C}}};
constexpr std::array<Choice<eProjection>, 4> g_projections = {{{"max", eProjection::Maximum},
                                                               {"min", eProjection::Minimum},
                                                               {"mean", eProjection::Mean},
                                                               {"sum", eProjection::Sum}}};

/// A projection along Z has no size along Z.
image::GeometricCalibrationConstPtr toPlane(image::GeometricCalibrationConstPtr const& pCalibration) {
    if (!pCalibration || !pCalibration->is3d()) {
        return pCalibration;
    }
    return image::createGeometricCalibration2d(pCalibration->getPixelSizeX(), pCalibration->getPixelSizeY(),
                                               pCalibration->getUnit(), 0, 0, 0, 0, 0);
}

} // namespace

ProjectCommand::ProjectCommand(CommandLine& line)
    : Command(line, "project", "Project an image along Z, C or T: maximum, minimum, mean or sum",
              "  velmo-image project brain.tif brightest.tif --along z --by max\n"
              "  velmo-image project film.tif background.tif --along t --by mean --compression deflate\n"
              "  velmo-image project cells.tif total.raw --along c --by sum --overwrite\n"
              "  velmo-image project big.raw flat.tif --size 512,512,100 --type int16 --along z --by max") {
    getOptions().addArgument("INPUT", _inputFile, "File to read; - reads raw planes from standard input");
    _input.addTo(getOptions());
    _output.addTo(getOptions());
    _output.addCalibrationTagsTo(getOptions());
    _output.allowThreadsForRaw();
    getOptions().addRequiredOption("--along", _axis, "z|t|c: the axis that the output does not have");
    getOptions().addRequiredOption("--by", _projection,
                                   "max|min|mean|sum: what becomes of the pixels along the axis; max and min "
                                   "keep the pixel type, means are real32, sums are uint32 or int32 if they "
                                   "fit, otherwise real32");
}

eProjectionAxis ProjectCommand::getAxis() const {
    return parseChoice("--along", _axis, g_axes);
}

eProjection ProjectCommand::getProjection() const {
    return parseChoice("--by", _projection, g_projections);
}

image::ImagePtr ProjectCommand::project(InputImage const& input) const {
    warnOfCopy(_inputFile, input, _output.isTiff());
    Progress progress(input.pImage->getGeometry().getNbPixels(), _output.isQuiet());
    image::ImagePtr pProjection = projectImage(PixelReader(toSource(input), progress), getAxis(),
                                               getProjection(), _output.getThreads().getNbThreads());
    auto const pCalibration = input.pImage->getGeometricCalibrationConstPtr();
    pProjection->setGeometricCalibration(getAxis() == eProjectionAxis::Z ? toPlane(pCalibration)
                                                                         : pCalibration);
    pProjection->setUserPropertiesStr(input.pImage->getUserPropertiesStr());
    return pProjection;
}

eExitStatus ProjectCommand::run() const {
    _output.requireFit();
    getAxis();
    getProjection();
    InputDescription const description = _input.describe({_inputFile}, _output.isQuiet());
    _output.requireApartFrom(_inputFile, "the input");
    _output.requireWritable();
    eFileFormat const format = _input.getFormat(_inputFile);
    image::ImagePtr const pProjection = withImportHint(
        _inputFile, format, [&] { return project(openInput(_inputFile, format, description)); });
    _output.save({pProjection, false, false});
    return eES_Done;
}

} // namespace velmo::tool
