// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "commands/DroppedWarnings.h"

#include "commands/ImportHint.h"
#include "input/InputWarnings.h"
#include "input/StreamedInput.h"
#include "terminal/Interrupt.h"
#include "terminal/Terminal.h"

#include <DroppedParts.h>
#include <algorithm>
#include <boost/algorithm/string/join.hpp>
#include <utility>

namespace velmo::tool {

namespace {

/// A name, and in how many files it is. In the order of their first files.
using Counts = std::vector<std::pair<std::string, std::size_t>>;

void count(std::string const& name, Counts& counts) {
    auto const found =
        std::find_if(counts.begin(), counts.end(), [&](auto const& entry) { return entry.first == name; });
    if (found == counts.end()) {
        counts.emplace_back(name, 1);
    } else {
        ++found->second;
    }
}

} // namespace

std::vector<std::string> findDroppedWarnings(std::vector<boost::filesystem::path> const& files,
                                             bool bTiffOutput) {
    PromptInterrupts const prompt;
    Counts counts;
    for (boost::filesystem::path const& file : files) {
        for (importer::DroppedPart const& part : importer::findDroppedParts(toInputPath(file))) {
            if (bTiffOutput || part.bGivesMeaning) {
                count(part.name, counts);
            }
        }
    }
    std::vector<std::string> names;
    for (auto const& [name, nbFiles] : counts) {
        names.push_back(nbFiles == files.size() ? name
                                                : name + " (" + std::to_string(nbFiles) + " of " +
                                                      std::to_string(files.size()) + " files)");
    }
    if (names.empty()) {
        return {};
    }
    return {"a copy lacks: " + boost::algorithm::join(names, "; ")};
}

void warnOfCopy(std::string const& file, InputImage const& input, bool bTiffOutput) {
    printWarnings(file, findWarnings(input));
    if (input.format == eFileFormat::Tiff) {
        printWarnings(file, findFlattenedWarnings(file));
        printWarnings(file, findDroppedWarnings({file}, bTiffOutput));
    }
}

} // namespace velmo::tool
