// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Import.h"

#include "Calls.h"
#include "Files.h"
#include "Text.h"

#include <ImportTiff.h>
#include <algorithm>
#include <optional>
#include <pybind11/stl.h>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace velmo::python {

namespace py = pybind11;
using importer::ImportOptions;

namespace {

struct OptionName {
    std::string_view option;
    std::string_view argument;
};

/// The options of the command in texts of the import, and the arguments of Python. A longer one is before one
/// with which it begins.
constexpr OptionName g_optionNames[] = {{"--lossy", "lossy=True"},
                                        {"--to-rgb", "to_rgb=True"},
                                        {"--min-is-black", "min_is_black=True"},
                                        {"--palette rgb", "palette='rgb'"},
                                        {"--series ", "series="},
                                        {"--page A:B", "pages=range(A, B + 1)"},
                                        {"--page", "pages"},
                                        {"--axes", "axes"}};

/// The text with arguments of Python instead of options. What is between quotes, such as the name of a file,
/// stays.
std::string nameArguments(std::string const& text) {
    std::string named;
    bool bQuoted = false;
    for (std::size_t position = 0; position < text.size();) {
        auto const* const pName =
            std::find_if(std::begin(g_optionNames), std::end(g_optionNames), [&](OptionName const& name) {
                return !bQuoted && text.compare(position, name.option.size(), name.option) == 0;
            });
        if (pName != std::end(g_optionNames)) {
            named += pName->argument;
            position += pName->option.size();
        } else {
            bQuoted = bQuoted != (text[position] == '"');
            named += text[position++];
        }
    }
    return named;
}

std::string describeFailure(std::string const& path, importer::ImportException const& failure) {
    bool const bNamesOption = !failure.getOption().empty() && failure.getSeries().empty();
    return "Cannot import \"" + path + "\": " + nameArguments(failure.what()) +
           (bNamesOption ? "; " + nameArguments(failure.getOption()) + " imports it" : std::string()) +
           importer::describeSeries(failure.getSeries());
}

/// Runs an import of the file `path` without the interpreter lock.
template <class Run>
auto runImport(std::string const& path, Run const& run) {
    return runOnFile(path, [&] {
        try {
            return run();
        } catch (importer::ImportException const& failure) {
            throw BaseException(describeFailure(path, failure), failure.getFunction().c_str(),
                                failure.getFile().c_str(), failure.getLine());
        }
    });
}

ImportOptions makeOptions(std::optional<vlUInt64> const& series,
                          std::optional<std::pair<vlUInt64, vlUInt64>> const& pages,
                          std::vector<std::pair<char, std::optional<vlUInt64>>> const& axes,
                          bool bPaletteToRgb, bool bToRgb, bool bMinIsBlack, bool bLossy) {
    ImportOptions options;
    options.series = series;
    if (pages) {
        options.pages = {pages->first, pages->second};
    }
    for (auto const& [name, size] : axes) {
        options.axes.push_back({name, size});
    }
    options.bPaletteToRgb = bPaletteToRgb;
    options.bToRgb = bToRgb;
    options.bMinIsBlack = bMinIsBlack;
    options.bLossy = bLossy;
    return options;
}

py::list listChanges(std::vector<importer::ImportChange> const& changes) {
    py::list list;
    for (importer::ImportChange const& change : changes) {
        list.append(py::make_tuple(toPython(change.kind), toPython(nameArguments(change.text))));
    }
    return list;
}

py::tuple loadForeign(std::string const& path, ImportOptions options, unsigned int nbThreads) {
    options.nbThreads = nbThreads;
    auto const imported = runImport(path, [&] { return importer::importTiffImage(path, options); });
    py::tuple const loaded = toArray(imported.pImage, path);
    return py::make_tuple(loaded[0], loaded[1], listChanges(imported.report.changes));
}

py::tuple importTiff(std::string const& input, std::string const& output, ImportOptions options,
                     std::string const& compression, unsigned int nbThreads) {
    options.nbThreads = nbThreads;
    auto const writeOptions = toWriteOptions(compression, nbThreads);
    auto const report =
        runImport(input, [&] { return importer::importTiff(input, output, options, writeOptions); });
    py::list outputs;
    for (boost::filesystem::path const& path : report.outputs) {
        outputs.append(toPython(path.string()));
    }
    return py::make_tuple(listChanges(report.changes), outputs);
}

std::optional<std::string> findImportArguments(std::string const& path) {
    auto const options = runOnFile(path, [&] {
        auto found = importer::findImportOptions(path);
        return found && importer::needsImport(path) ? found : std::nullopt;
    });
    return options ? std::optional(nameArguments(*options)) : std::nullopt;
}

} // namespace

void bindImport(py::module_& module) {
    py::class_<ImportOptions>(module, "ImportOptions", "What to import, and which changes are allowed.")
        .def(py::init(&makeOptions), py::arg("series"), py::arg("pages"), py::arg("axes"),
             py::arg("palette_to_rgb"), py::arg("to_rgb"), py::arg("min_is_black"), py::arg("lossy"));
    module.def("load_foreign", &loadForeign, py::arg("path"), py::arg("options"), py::arg("threads"),
               "Imports a file: an array that owns its memory, the description and the changes.");
    module.def("import_tiff", &importTiff, py::arg("input"), py::arg("output"), py::arg("options"),
               py::arg("compression"), py::arg("threads"),
               "Imports a file into TIFF files; returns the changes and the files.");
    module.def("find_import_arguments", &findImportArguments, py::arg("path"),
               "The arguments with which a file that the library cannot read can be imported, each after a "
               "space; None for any other file.");
}

} // namespace velmo::python
