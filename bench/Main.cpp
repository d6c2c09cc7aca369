// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "ChildProcess.h"
#include "Report.h"
#include "Suite.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <boost/filesystem/operations.hpp>
#include <csignal>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <vector>

namespace velmo::bench {

namespace {

char const* const g_help =
    "velmo_bench [--folder DIR] [--pairs N] [--quick] [--require] [--markdown FILE] [OPTION...]\n"
    "\n"
    "Measures the module and velmo-image, each beside plain system calls, libtiff or its programs on the "
    "same\n"
    "bytes.\n"
    "  --folder DIR     folder for the files, 4 GB (default: $TMPDIR, else /tmp); they are removed at the "
    "end\n"
    "  --pairs N        measurements of each figure (default: 9)\n"
    "  --quick          tests that the benchmarks run: a fiftieth of the work, one pair, no limits\n"
    "  --require        exit status 1 if a figure exceeds its limit, or none was measured\n"
    "  --markdown FILE  also writes the machine and the table as Markdown\n"
    "The exit status is also 1 if a benchmark ends with an error.\n"
    "Other options are those of Google Benchmark (--benchmark_list_tests, --benchmark_out=FILE ...).\n"
    "\n"
    "Example: velmo_bench --require --benchmark_filter='load|save'\n";

struct Options {
    boost::filesystem::path folder = boost::filesystem::temp_directory_path();
    RunOptions run;
    std::string markdown;
    bool bRequire = false;
    bool bHelp = false;
    std::vector<char*> others; ///< for Google Benchmark
};

vlUInt64 toNbPairs(std::string const& text) {
    vlUInt64 const nbPairs = std::strtoull(text.c_str(), nullptr, 10);
    if (nbPairs == 0 || nbPairs > 1000 || text != std::to_string(nbPairs)) {
        throw std::invalid_argument("--pairs takes a number from 1 to 1000, not '" + text + "'");
    }
    return nbPairs;
}

/// The value of "--name value" or "--name=value". Moves `index` to the last word of the option. Null for
/// another option.
char const* getValue(std::string const& name, std::vector<char*> const& words, std::size_t& index) {
    std::string const word = words[index];
    if (word.compare(0, name.size() + 1, name + '=') == 0) {
        return words[index] + name.size() + 1;
    }
    if (word != name) {
        return nullptr;
    }
    if (index + 1 == words.size()) {
        throw std::invalid_argument(name + " takes a value");
    }
    return words[++index];
}

Options readOptions(std::vector<char*> const& words) {
    Options options;
    options.others.push_back(words.front());
    for (std::size_t index = 1; index < words.size(); ++index) {
        std::string const word = words[index];
        if (char const* const folder = getValue("--folder", words, index)) {
            options.folder = folder;
        } else if (char const* const nbPairs = getValue("--pairs", words, index)) {
            options.run.nbPairs = toNbPairs(nbPairs);
        } else if (char const* const markdown = getValue("--markdown", words, index)) {
            options.markdown = markdown;
        } else if (word == "--quick") {
            options.run = {1, true};
            options.bRequire = true;
        } else if (word == "--require") {
            options.bRequire = true;
        } else if (word == "--help") {
            options.bHelp = true;
        } else {
            options.others.push_back(words[index]);
        }
    }
    return options;
}

/// From now on an interrupt removes the files before it ends the program. Must be called before any thread
/// starts.
void removeOnInterrupt(boost::filesystem::path const& folder) {
    sigset_t signals;
    sigemptyset(&signals);
    sigaddset(&signals, SIGINT);
    sigaddset(&signals, SIGTERM);
    pthread_sigmask(SIG_BLOCK, &signals, nullptr);
    std::thread([signals, folder] {
        int signal = 0;
        sigwait(&signals, &signal);
        boost::system::error_code ignored;
        boost::filesystem::remove_all(folder, ignored);
        std::_Exit(128 + signal);
    }).detach();
}

/// How the figures of this run are obtained. Other programs that run at its start make them worthless.
std::string describe(RunOptions const& run) {
    if (run.bQuick) {
        return "One pair of a fiftieth of the work: these figures say nothing about speed.";
    }
    double load = 0;
    getloadavg(&load, 1);
    std::ostringstream text;
    text << "Medians of " << run.nbPairs
         << " pairs; of the ratio also the quartiles. Load average before the run: " << std::fixed
         << std::setprecision(2) << load << '.';
    return text.str();
}

void report(Suite const& suite, Options const& options, std::string const& note) {
    Table const table = toTable(suite.getFigures());
    std::cout << '\n' << note << '\n';
    print(std::cout, table);
    if (!options.markdown.empty()) {
        std::ofstream file(options.markdown);
        printMarkdown(file, table, note);
        require(static_cast<bool>(file.flush()), "Failed to write " + options.markdown);
    }
}

/// Returns the exit status.
int runBenchmarks(Options const& options) {
    BenchData data(options.folder);
    removeOnInterrupt(data.getFolder());
    Suite suite(data, options.run);
    std::string const note = describe(options.run);
    addLoadBenchmarks(suite);
    addCopyBenchmarks(suite);
    addThreadsBenchmarks(suite);
    addOpenBenchmarks(suite);
    addSaveBenchmarks(suite);
    addTiffLoadBenchmarks(suite);
    addTiffSaveBenchmarks(suite);
    addTiffPlanesBenchmarks(suite);
    addTiffFilesBenchmarks(suite);
    addToolBenchmarks(suite);
    addMemoryBenchmarks(suite);
    addIm6Benchmarks(suite);
    addPatternBenchmarks(suite);
    addResampleBenchmarks(suite);
#if defined(VELMO_MPI)
    addMpiBenchmarks(suite);
#endif
    benchmark::RunSpecifiedBenchmarks();
    if (!suite.getFigures().empty()) {
        report(suite, options, note);
    }
    bool const bGood =
        !suite.getFigures().empty() && std::all_of(suite.getFigures().begin(), suite.getFigures().end(),
                                                   [](Figure const& figure) { return figure.holds(); });
    return suite.getNbFailed() == 0 && (bGood || !options.bRequire) ? 0 : 1;
}

int run(std::vector<char*> const& words) {
    Options options = readOptions(words);
    if (options.bHelp) {
        std::cout << g_help;
        return 0;
    }
    int nbOthers = static_cast<int>(options.others.size());
    benchmark::Initialize(&nbOthers, options.others.data());
    if (benchmark::ReportUnrecognizedArguments(nbOthers, options.others.data())) {
        return 2;
    }
    return runBenchmarks(options);
}

} // namespace

} // namespace velmo::bench

int main(int nbWords, char** words) {
    try {
        if (nbWords > 2 && std::string(words[1]) == velmo::bench::g_workOption) {
            return velmo::bench::runWork(words[2], velmo::bench::Words(words + 3, words + nbWords));
        }
        return velmo::bench::run(std::vector<char*>(words, words + nbWords));
    } catch (std::exception const& exception) {
        std::cerr << "velmo_bench: " << exception.what() << '\n';
        return 2;
    }
}
