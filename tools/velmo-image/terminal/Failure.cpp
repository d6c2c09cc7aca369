// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "terminal/Failure.h"

#include <cstring>

namespace velmo::tool {

std::string quoted(std::string const& text) {
    return '"' + text + '"';
}

void failAt(char const* what, boost::filesystem::path const& path, int error) {
    throw WorkFailure(std::string("cannot ") + what + ' ' + quoted(path.string()) + ": " +
                      std::strerror(error));
}

std::string getFullText(BaseException const& failure) {
    std::string text = failure.what();
    for (BaseException const* pCause = failure.getCause(); pCause != nullptr; pCause = pCause->getCause()) {
        text += std::string("\n") + pCause->what();
    }
    return text;
}

} // namespace velmo::tool
