// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "FaultedCalls.h"

#include "Processes.h"

#include <boost/filesystem/operations.hpp>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <unistd.h>

namespace velmo::test {

namespace fs = boost::filesystem;

namespace {

struct ArmedFaults {
    explicit ArmedFaults(Faults const& faults) { velmoArmFaults(faults.calls, faults.at, faults.mode); }
    ~ArmedFaults() { velmoDisarmFaults(); }
    ArmedFaults(ArmedFaults const&) = delete;
    ArmedFaults& operator=(ArmedFaults const&) = delete;
};

/// In a child whose standard streams are silent.
std::string describeInChild(std::function<std::string()> const& describe) {
    return inChild([&] {
        rlimit const noCore = {0, 0};
        setrlimit(RLIMIT_CORE, &noCore);
        int const silence = open("/dev/null", O_WRONLY);
        dup2(silence, STDOUT_FILENO);
        dup2(silence, STDERR_FILENO);
        close(silence);
        return describe();
    });
}

template <class Describe>
Tally tally(long nbCalls, Faults faults, Describe const& describe) {
    Tally outcomes;
    for (faults.at = 1; faults.at <= nbCalls; ++faults.at) {
        outcomes[describe(faults)].push_back(faults.at);
    }
    return outcomes;
}

} // namespace

FaultSample withFaults(FaultSample const& sample, Faults const& faults) {
    FaultSample faulted = sample;
    faulted.save = [save = sample.save, faults](fs::path const& path) {
        ArmedFaults const armed(faults);
        save(path);
    };
    faulted.load = [load = sample.load, faults](fs::path const& path) {
        ArmedFaults const armed(faults);
        return load(path);
    };
    return faulted;
}

long countCalls(unsigned int calls, std::function<void()> const& action) {
    return std::stol(describeInChild([&] {
        velmoArmFaults(calls, 0, eFM_Count);
        action();
        return std::to_string(velmoDisarmFaults());
    }));
}

std::string saveInChild(FaultSample const& sample, fs::path const& path, Faults const& faults) {
    return describeInChild([&] {
        fs::remove(path);
        std::string const outcome = describeSave(withFaults(sample, faults), path);
        return outcome == "done" ? describeLoad(sample, path) : outcome;
    });
}

std::string loadInChild(FaultSample const& sample, fs::path const& path, Faults const& faults) {
    return describeInChild([&] { return describeLoad(withFaults(sample, faults), path); });
}

Tally tallySaves(FaultSample const& sample, fs::path const& path, Faults const& faults) {
    return tally(countCalls(faults.calls, [&] { sample.save(path); }), faults,
                 [&](Faults const& at) { return saveInChild(sample, path, at); });
}

Tally tallyLoads(FaultSample const& sample, fs::path const& path, Faults const& faults) {
    return tally(countCalls(faults.calls, [&] { sample.load(path); }), faults,
                 [&](Faults const& at) { return loadInChild(sample, path, at); });
}

void expectOnly(Tally const& tally, std::set<std::string> const& allowed) {
    EXPECT_FALSE(tally.empty()) << "there was no call";
    for (auto const& [outcome, calls] : tally) {
        EXPECT_TRUE(allowed.count(outcome) != 0)
            << outcome << ", " << calls.size() << " times, at call " << testing::PrintToString(calls);
    }
}

} // namespace velmo::test
