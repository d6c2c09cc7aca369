// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOBaseProcessing/ProcessorDispatchPolicy.h"
#include "VELMOUtil/BoolResult.h"

#include <memory>
#include <optional>
#include <string>

namespace velmo::processor {

/// How a run is waited for.
enum eSynchroType : vlUInt64 { eST_Synchronous = 0 };

/// How the rules of attributes are applied.
enum eProcessorRulePolicy : vlUInt64 { ePRP_Strict = 0 };

/// How a run ended: status 0 for success, else a message.
///
/// A failed run that nobody asks about is logged: once, at WARN, when the action and all copies of the result
/// are gone, or have come to another run. Asking is to call an operation of the result, or to ask the
/// processor for an image that the run did not make.
class VELMO_HOST_EXPORT ActionResult {
  public:
    /// Success has status 0 and no message. This result is of no run, and is not logged.
    ActionResult(vlUInt64 status, std::string message);
    /// @{
    /// As the action returned them. The text lives as long as the result or a copy of it.
    vlUInt64 getStatus() const;
    std::string const& getMessage() const;
    /// @}
    /// True for status 0, else false with the message and the ids of its messages.
    BoolResult toBoolResult() const;

  private:
    friend class BaseAction;
    struct Outcome;
    explicit ActionResult(std::shared_ptr<Outcome> pOutcome);

    std::shared_ptr<Outcome> _pOutcome; ///< shared by copies
};

/// Something that can be run. For one thread at a time.
class VELMO_HOST_EXPORT BaseAction {
  public:
    virtual ~BaseAction();
    BaseAction(BaseAction const&) = delete;
    BaseAction& operator=(BaseAction const&) = delete;

    /// Returns when the action has ended. A failure is returned with its text, and logged unless somebody
    /// asks about it; what the action throws comes out here.
    [[nodiscard]] ActionResult run(eSynchroType synchroType);

  protected:
    BaseAction() = default;
    /// How the last run ended; empty before the first one, and after one that was left by an exception.
    std::optional<ActionResult> const& getLastResult() const { return _lastResult; }
    /// As before the first run.
    void forgetLastResult() { _lastResult.reset(); }
    /// In messages.
    virtual std::string getProcessorName() const = 0;

  private:
    virtual BoolResult runDerived() = 0;

    std::optional<ActionResult> _lastResult;
};

/// An action with attributes. `init`, then the attributes' `set`, then `run`.
class VELMO_HOST_EXPORT BaseProcessor : public BaseAction {
  public:
    /// Forgets all attributes and the last run, and makes the processor accept values.
    BoolResult init(eProcessorRulePolicy rulePolicy);
    /// For the runs from now on; the calling thread alone unless it is set.
    void restrictDispatchPolicy(ProcessorDispatchPolicy const& policy) { _policy = policy; }

  protected:
    /// What `restrictDispatchPolicy` was given.
    ProcessorDispatchPolicy const& getDispatchPolicy() const { return _policy; }
    /// Throws VELMOBaseProcessingException before `init`.
    void requireInit(std::string const& attribute) const;
    /// Throws VELMOBaseProcessingException: the attribute has no value where one is needed.
    [[noreturn]] void raiseValueMissing(std::string const& attribute) const;
    /// Throws VELMOBaseProcessingException, with the text of the failure, unless the last run was a success.
    void requireResult(std::string const& attribute) const;

  private:
    virtual void resetAttributes() = 0;

    bool _bInit = false;
    ProcessorDispatchPolicy _policy;
};

} // namespace velmo::processor
