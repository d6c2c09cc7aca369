// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "CommandLine.h"

#include "PixelWork.h"

#include <CLI/CLI.hpp>
#include <VELMOImageFile/PixelTypeNames.h>
#include <iostream>
#include <map>
#include <optional>

namespace velmo::mpi_tool {

using namespace image;
using namespace image::file;

namespace {

constexpr int g_wrongUse = 2;

struct RawOptions {
    std::vector<vlUInt64> size;
    std::string type;
};

ImageGeometryPtr makeGeometry(RawOptions const& options) {
    auto const type = findPixelType(options.type);
    if (!type) {
        throw CLI::ValidationError("--type must be a pixel type such as uint16, not \"" + options.type +
                                   "\"");
    }
    std::vector<vlUInt64> size = options.size;
    if (size.size() < 2 || size.size() > 5 || std::count(size.begin(), size.end(), 0U) != 0) {
        throw CLI::ValidationError("--size must be X,Y[,Z[,C[,T]]]: two to five sizes above 0");
    }
    bool const bVolume = size.size() > 2;
    size.resize(5, 1);
    VolumeGeometry volume;
    ColorGeometry color;
    TemporalGeometry temporal;
    if (bVolume) {
        volume.init3d(size[2]);
    }
    if (size[3] != 1) {
        color.initUser(size[3]);
    }
    if (size[4] != 1) {
        temporal.initSequence(size[4]);
    }
    return geometry(*type, size[0], size[1], volume, color, temporal);
}

void addOptions(CLI::App& app, CommandLine& line, RawOptions& raw) {
    app.add_option("INPUT", line.input, "TIFF (.tif, .tiff), Im6 (.im6) or, with --size, raw file")
        ->required();
    app.add_option("OUTPUT", line.output,
                   "TIFF (.tif, .tiff) or raw (.raw) file; without it nothing is written");
    auto* const pSize = app.add_option("--size", raw.size, "X,Y[,Z[,C[,T]]]: sizes of a raw input")
                            ->delimiter(',')
                            ->allow_extra_args(false);
    auto* const pType = app.add_option("--type", raw.type, "Pixel type of a raw input, such as uint16");
    pSize->needs(pType);
    pType->needs(pSize);
    app.add_option("--offset", line.offset, "Bytes before the first plane of a raw input")->needs(pSize);
    app.add_option("--apply", line.applied,
                   "invert, threshold=VALUE or scale=FACTOR[,OFFSET]; repeat it for several functions")
        ->allow_extra_args(false) // what follows is a file
        ->take_all();
    app.add_flag("--statistics", line.bStatistics, "Print minimum, maximum and mean of each volume");
    app.add_option("--compression", line.compression, "none, lzw or deflate: compression of a TIFF output")
        ->transform(CLI::CheckedTransformer(std::map<std::string, eTiffCompression>{{"none", eTC_None},
                                                                                    {"lzw", eTC_Lzw},
                                                                                    {"deflate", eTC_Deflate}},
                                            CLI::ignore_case));
}

void complete(CommandLine& line, RawOptions const& raw) {
    for (std::string const& work : line.applied) {
        std::string reason;
        if (!isPixelWork(work, reason)) {
            throw CLI::ValidationError(reason);
        }
    }
    if (!raw.size.empty()) {
        line.pRaw = makeGeometry(raw);
    }
}

} // namespace

ParsedLine parseCommandLine(int argc, char** argv) {
    ParsedLine parsed;
    RawOptions raw;
    CLI::App app(
        "Loads an image over all ranks of an MPI job, works on its planes where they are, and saves it.\n"
        "Start it with mpirun -n RANKS velmo-image-mpi ...",
        "velmo-image-mpi");
    addOptions(app, parsed.line, raw);
    try {
        app.parse(argc, argv);
        complete(parsed.line, raw);
        parsed.bRun = true;
    } catch (CLI::CallForHelp const&) {
        std::cout << app.help();
    } catch (std::exception const& exception) {
        std::cerr << "velmo-image-mpi: " << exception.what() << "\n";
        parsed.status = g_wrongUse;
    }
    return parsed;
}

} // namespace velmo::mpi_tool
