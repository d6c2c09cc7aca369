// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOSerialization/CopyableObject.h"

#include "VELMOUtil/LogMessageFormater.h"
#include "VELMOUtil/VELMOUtilLog.h"

namespace velmo {

void raiseCopyFromOtherClass(std::string const& className, std::string const& otherClassName) {
    raiseGuarded(VELMO_HERE, g_velmoUtilRaise, [&](LogMessageFormater& formater) {
        formater[eVELMOUtilErrors::eVUE_CopyFromOtherClass] % className % otherClassName;
    });
}

} // namespace velmo
