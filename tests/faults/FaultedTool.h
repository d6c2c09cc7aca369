// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "FaultShim.h"
#include "TemporaryFolder.h"
#include "ToolProcess.h"

#include <cstdlib>
#include <memory>

namespace velmo::test {

/// A variable of the environment of what is started while it lives.
class EnvironmentVariable {
  public:
    EnvironmentVariable(char const* name, std::string const& value) : _name(name) {
        setenv(name, value.c_str(), 1);
    }
    ~EnvironmentVariable() { unsetenv(_name); }
    EnvironmentVariable(EnvironmentVariable const&) = delete;
    EnvironmentVariable& operator=(EnvironmentVariable const&) = delete;

  private:
    char const* _name;
};

/// Runs of the tool in which a call of the system has a fault.
class FaultedTool {
  public:
    std::unique_ptr<ToolProcess> start(Arguments const& arguments, unsigned int calls, long at,
                                       eFaultMode mode) const {
        EnvironmentVariable const preload("LD_PRELOAD", VELMO_FAULT_SHIM);
        EnvironmentVariable const faults("VELMO_FAULTS", std::to_string(calls) + ' ' + std::to_string(at) +
                                                             ' ' + std::to_string(mode));
        EnvironmentVariable const count("VELMO_FAULTS_COUNT", (_counts / "count").string());
        return std::make_unique<ToolProcess>(arguments);
    }

    /// Of the run that ended last.
    long getCount() const { return std::stol(readFile(_counts / "count")); }

  private:
    TemporaryFolder _counts;
};

} // namespace velmo::test
