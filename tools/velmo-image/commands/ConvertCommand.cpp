// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/ConvertCommand.h"

#include "commands/DroppedWarnings.h"
#include "commands/ImportHint.h"
#include "terminal/Terminal.h"

namespace velmo::tool {

ConvertCommand::ConvertCommand(CommandLine& line)
    : Command(line, "convert", "Convert an image file to TIFF or raw",
              "  velmo-image convert brain.raw brain.tif --size 181,217,181 --type uint8 --compression lzw\n"
              "  velmo-image convert frames.tif frames.raw --directories t\n"
              "  velmo-image convert cells.im6 cells.tif --imagej\n"
              "  velmo-image convert brain.tif middle.tif --z 60:119 --region 20,20,128,160\n"
              "  velmo-image convert height.tif height8.tif --to-type uint8 --range 0,2.5\n"
              "  velmo-image convert scan.tif scan-um.tif --pixel-size 0.5,0.5,2 --unit um\n"
              "  velmo-image convert big.raw little.raw --size 512,512,100 --type int16 --byte-order big\n"
              "  velmo-image convert scan.bin planes.raw --size 256,256,64 --type uint16 --offset 348\n"
              "  velmo-image convert planes.raw scan.bin --size 256,256,64 --type uint16 --header scan.hdr\n"
              "  velmo-image convert - brain.tif --size 181,217,181 --type uint8") {
    getOptions().addArgument("INPUT", _inputFile, "File to read; - reads raw planes from standard input");
    _input.addTo(getOptions());
    _edit.addTo(getOptions());
    _output.addTo(getOptions());
    _output.addCalibrationTagsTo(getOptions());
    _output.addImageJTo(getOptions());
}

eExitStatus ConvertCommand::run() const {
    _output.requireFit();
    _edit.requireFit();
    InputDescription const description = _input.describe({_inputFile}, _output.isQuiet());
    if (_edit.isGiven()) {
        _output.requireApartFrom(_inputFile, "the input");
    }
    _output.requireHeaderApartFrom(_inputFile, "the input");
    _output.requireWritable();
    eFileFormat const format = _input.getFormat(_inputFile);
    withImportHint(_inputFile, format, [&] {
        InputImage const input = openInput(_inputFile, format, description);
        warnOfCopy(_inputFile, input, _output.isTiff());
        _output.save(_edit.apply(toSource(input), _inputFile));
        if (std::string const changes = _edit.describeChanges(); !changes.empty()) {
            printWarnings(_output.getFile(), {changes});
        }
    });
    return eES_Done;
}

} // namespace velmo::tool
