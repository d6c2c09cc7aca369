// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOSerialization/CopyableObject.h"

#include "VELMOUtil/Failures.h"
#include "VELMOUtil/VELMOUtilLog.h"

namespace velmo {

void raiseCopyFromOtherClass(std::string const& className, std::string const& otherClassName) {
    raiseMessage(VELMO_HERE, g_velmoUtilRaise, eVELMOUtilErrors::eVUE_CopyFromOtherClass, className,
                 otherClassName);
}

} // namespace velmo
