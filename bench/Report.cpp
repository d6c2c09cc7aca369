// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Report.h"

#include "LowerBound.h"

#include <algorithm>
#include <ctime>
#include <fstream>
#include <iomanip>
#include <ostream>
#include <sys/utsname.h>
#include <tiffio.h>

namespace velmo::bench {

namespace {

/// The rest of the first line of a file that begins with `start`.
std::string findLine(std::string const& file, std::string const& start) {
    std::ifstream lines(file);
    for (std::string line; std::getline(lines, line);) {
        if (line.compare(0, start.size(), start) == 0) {
            return line.substr(std::min(line.size(), line.find_first_not_of(" \t:", start.size())));
        }
    }
    return "unknown";
}

std::string getKernel() {
    utsname names{};
    return uname(&names) == 0 ? std::string(names.sysname) + ' ' + names.release : "unknown";
}

/// The first line of libtiff's text: "LIBTIFF, Version 4.5.0".
std::string getLibtiffVersion() {
    std::string const text = TIFFGetVersion();
    std::string const line = text.substr(0, text.find('\n'));
    return line.substr(line.rfind(' ') + 1);
}

} // namespace

void print(std::ostream& out, Table const& table) {
    Table::value_type const& columns = table.front();
    for (auto const& line : table) {
        for (std::size_t column = 0; column < columns.size(); ++column) {
            std::size_t width = 0;
            for (auto const& other : table) {
                width = std::max(width, other[column].size());
            }
            out << (column == 0 ? "" : " | ") << (column < 2 ? std::left : std::right)
                << std::setw(static_cast<int>(width)) << line[column];
        }
        out << '\n';
    }
}

void printMarkdown(std::ostream& out, Table const& table, std::string const& note) {
    std::time_t const now = std::time(nullptr);
    out << note << " Date: " << std::put_time(std::gmtime(&now), "%Y-%m-%d") << ".\n\n"
        << "| machine | |\n|---|---|\n"
        << "| processor | " << findLine("/proc/cpuinfo", "model name") << " |\n"
        << "| processors, threads of a call by default | " << countProcessors() << " |\n"
        << "| memory | " << findLine("/proc/meminfo", "MemTotal") << " |\n"
        << "| kernel | " << getKernel() << " |\n"
        << "| huge pages | " << findLine("/sys/kernel/mm/transparent_hugepage/enabled", "") << " |\n"
        << "| libtiff | " << getLibtiffVersion() << " |\n\n";
    for (std::size_t line = 0; line < table.size(); ++line) {
        for (std::string const& cell : table[line]) {
            out << "| " << cell << ' ';
        }
        out << (line == 0 ? "|\n|---|---|--:|--:|--:|--:|--:|---|\n" : "|\n");
    }
}

} // namespace velmo::bench
