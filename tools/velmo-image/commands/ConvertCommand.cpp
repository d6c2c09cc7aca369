// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/ConvertCommand.h"

#include "commands/DroppedWarnings.h"
#include "commands/ImportHint.h"
#include "input/InputWarnings.h"
#include "terminal/Terminal.h"

namespace velmo::tool {

ConvertCommand::ConvertCommand(CommandLine& line)
    : Command(line, "convert", "Convert an image file to TIFF or raw",
              "  velmo-image convert brain.raw brain.tif --size 181,217,181 --type uint8 --compression lzw\n"
              "  velmo-image convert frames.tif frames.raw --directories t\n"
              "  velmo-image convert cells.im6 cells.tif --calibration-tags\n"
              "  velmo-image convert big.raw little.raw --size 512,512,100 --type int16 --byte-order big\n"
              "  velmo-image convert scan.bin planes.raw --size 256,256,64 --type uint16 --offset 348\n"
              "  velmo-image convert planes.raw scan.bin --size 256,256,64 --type uint16 --header scan.hdr\n"
              "  velmo-image convert - brain.tif --size 181,217,181 --type uint8") {
    getOptions().addArgument("INPUT", _inputFile, "File to read; - reads raw planes from standard input");
    _input.addTo(getOptions());
    _output.addTo(getOptions());
    _output.addCalibrationTagsTo(getOptions());
}

eExitStatus ConvertCommand::run() const {
    _output.requireFit();
    InputDescription description = _input.describe({_inputFile});
    description.bQuiet = _output.isQuiet();
    _output.requireHeaderApartFrom(_inputFile, "the input");
    _output.requireWritable();
    eFileFormat const format = _input.getFormat(_inputFile);
    auto const convert = [&] {
        InputImage const input = openInput(_inputFile, format, description);
        printWarnings(_inputFile, findWarnings(input));
        if (format == eFileFormat::Tiff) {
            printWarnings(_inputFile, findFlattenedWarnings(_inputFile));
            printWarnings(_inputFile, findDroppedWarnings({_inputFile}, _output.isTiff()));
        }
        _output.save(toSource(input));
    };
    if (format == eFileFormat::Tiff) {
        withImportHint(_inputFile, convert);
    } else {
        convert();
    }
    return eES_Done;
}

} // namespace velmo::tool
