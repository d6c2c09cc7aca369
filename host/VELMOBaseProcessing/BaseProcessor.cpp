// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOBaseProcessing/BaseProcessor.h"

#include "VELMOBaseProcessing/VELMOBaseProcessingLog.h"
#include "VELMOUtil/LogMessageFormater.h"

namespace velmo {
namespace processor {

BaseAction::~BaseAction() = default;

ActionResult BaseAction::run(eSynchroType /*synchroType*/) {
    BoolResult const result = runDerived();
    return ActionResult(result ? 0 : 1, result.getMessage());
}

BoolResult BaseProcessor::init(eProcessorRulePolicy /*rulePolicy*/) {
    resetAttributes();
    _bInit = true;
    return success();
}

void BaseProcessor::requireInit(std::string const& attribute) const {
    if (!_bInit) {
        raiseGuarded(VELMO_HERE, g_velmoBaseProcessingRaise, [&](LogMessageFormater& formater) {
            formater[eProcessorMessage::ePM_NotInitialised] % getProcessorName() % attribute;
        });
    }
}

void BaseProcessor::raiseValueMissing(std::string const& attribute) const {
    raiseGuarded(VELMO_HERE, g_velmoBaseProcessingRaise, [&](LogMessageFormater& formater) {
        formater[eProcessorMessage::ePM_ValueMissing] % getProcessorName() % attribute;
    });
}

} // namespace processor
} // namespace velmo
