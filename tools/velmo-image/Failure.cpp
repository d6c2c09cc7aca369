// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "Failure.h"

namespace velmo {
namespace tool {

std::string quoted(std::string const& text) {
    return '"' + text + '"';
}

std::string getFullText(BaseException const& failure) {
    std::string text = failure.what();
    for (BaseException const* pCause = failure.getCause(); pCause != nullptr; pCause = pCause->getCause()) {
        text += std::string("\n") + pCause->what();
    }
    return text;
}

} // namespace tool
} // namespace velmo
