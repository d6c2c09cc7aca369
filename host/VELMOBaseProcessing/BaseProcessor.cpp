// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#include "VELMOBaseProcessing/BaseProcessor.h"

#include "VELMOBaseProcessing/VELMOBaseProcessingLog.h"
#include "VELMOUtil/Failures.h"

#include <atomic>

namespace velmo::processor {

struct ActionResult::Outcome {
    Outcome(vlUInt64 endStatus, std::string endMessage, MessageIds ids, std::string name)
        : status(endStatus), message(std::move(endMessage)), messageIds(std::move(ids)),
          processor(std::move(name)) {}
    Outcome(Outcome const&) = delete;
    Outcome& operator=(Outcome const&) = delete;

    ~Outcome() {
        if (status == 0 || bAsked) {
            return;
        }
        try {
            warnMessage(VELMO_HERE, g_velmoBaseProcessingRaise, eProcessorMessage::ePM_RunFailed, processor,
                        message);
        } catch (...) {
            // Nobody is there who could take it.
        }
    }

    vlUInt64 status;
    std::string message;
    MessageIds messageIds;
    std::string processor;
    std::atomic<bool> bAsked{false};
};

ActionResult::ActionResult(vlUInt64 status, std::string message)
    : _pOutcome(std::make_shared<Outcome>(status, std::move(message), MessageIds(), std::string())) {
    _pOutcome->bAsked = true;
}

ActionResult::ActionResult(std::shared_ptr<Outcome> pOutcome) : _pOutcome(std::move(pOutcome)) {}

vlUInt64 ActionResult::getStatus() const {
    _pOutcome->bAsked = true;
    return _pOutcome->status;
}

std::string const& ActionResult::getMessage() const {
    _pOutcome->bAsked = true;
    return _pOutcome->message;
}

BoolResult ActionResult::toBoolResult() const {
    return getStatus() == 0 ? success() : failure(_pOutcome->message, _pOutcome->messageIds);
}

BaseAction::~BaseAction() = default;

ActionResult BaseAction::run(eSynchroType /*synchroType*/) {
    _lastResult.reset();
    BoolResult const result = runDerived();
    _lastResult = ActionResult(std::make_shared<ActionResult::Outcome>(
        result ? 0 : 1, result.getMessage(), result.getMessageIds(), getProcessorName()));
    return *_lastResult;
}

BoolResult BaseProcessor::init(eProcessorRulePolicy /*rulePolicy*/) {
    resetAttributes();
    forgetLastResult();
    _bInit = true;
    return success();
}

void BaseProcessor::requireInit(std::string const& attribute) const {
    if (!_bInit) {
        raiseMessage(VELMO_HERE, g_velmoBaseProcessingRaise, eProcessorMessage::ePM_NotInitialised,
                     getProcessorName(), attribute);
    }
}

void BaseProcessor::raiseValueMissing(std::string const& attribute) const {
    raiseMessage(VELMO_HERE, g_velmoBaseProcessingRaise, eProcessorMessage::ePM_ValueMissing,
                 getProcessorName(), attribute);
}

void BaseProcessor::requireResult(std::string const& attribute) const {
    std::optional<ActionResult> const& result = getLastResult();
    if (result && result->getStatus() == 0) {
        return;
    }
    raiseMessage(VELMO_HERE, g_velmoBaseProcessingRaise, eProcessorMessage::ePM_NoResult, attribute,
                 getProcessorName(),
                 failure(result ? '\n' + result->getMessage() : std::string(),
                         result ? result->toBoolResult().getMessageIds() : MessageIds()));
}

} // namespace velmo::processor
