// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOUtil/LastError.h"

#include <cerrno>
#include <system_error>

namespace velmo {

std::string getLastError() {
    return std::system_category().message(errno);
}

} // namespace velmo
