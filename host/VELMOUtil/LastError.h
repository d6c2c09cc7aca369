// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOUtil/Export.h"

#include <string>

namespace velmo {

/// The text of the last system error of this thread (`errno`), such as "No space left on device".
VELMO_HOST_EXPORT std::string getLastError();

} // namespace velmo
