// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "terminal/HelpFormatter.h"

#include <sstream>

namespace velmo::tool {

namespace {

constexpr std::size_t g_nbColumns = 80;

/// Lines of whole words, as long as there is room for.
std::string wrap(std::string const& text, std::size_t length) {
    std::istringstream stream(text);
    std::string wrapped;
    std::size_t column = 0;
    for (std::string word; stream >> word; column += word.size()) {
        if (column != 0 && column + 1 + word.size() > length) {
            wrapped += '\n';
            column = 0;
        } else if (column != 0) {
            wrapped += ' ';
            ++column;
        }
        wrapped += word;
    }
    return wrapped;
}

} // namespace

std::string HelpFormatter::make_option_opts(CLI::Option const* pOption) const {
    if (pOption->get_positional() || pOption->get_items_expected_max() == 0) {
        return {};
    }
    return pOption->get_required() ? " VALUE (required)" : " VALUE";
}

std::string HelpFormatter::make_option_desc(CLI::Option const* pOption) const {
    return wrap(CLI::Formatter::make_option_desc(pOption), g_nbColumns - get_column_width());
}

} // namespace velmo::tool
