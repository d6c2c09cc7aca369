// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <CLI/CLI.hpp>

namespace velmo::tool {

/// The text of --help, which fits into 80 columns where its words allow it.
class HelpFormatter : public CLI::Formatter {
  public:
    std::string make_option_opts(CLI::Option const* pOption) const override;
    std::string make_option_desc(CLI::Option const* pOption) const override;
};

} // namespace velmo::tool
