// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOBaseProcessing/ProcessorDispatchPolicy.h"
#include "VELMOUtil/BoolResult.h"

#include <memory>
#include <optional>
#include <string>

namespace velmo::processor {

/// How the caller waits for a run.
enum eSynchroType : vlUInt64 { eST_Synchronous = 0 };

/// How rules of attributes are applied.
enum eProcessorRulePolicy : vlUInt64 { ePRP_Strict = 0 };

/// Result of a run: status 0 for success, otherwise a message.
///
/// A failed run whose result is ignored is logged once at WARN, when the action and all copies of the result
/// are destroyed or hold the result of another run. A result counts as used when one of its operations is
/// called, or when the processor is asked for an image that the run did not create.
class VELMO_HOST_EXPORT ActionResult {
  public:
    /// Success has status 0 and no message. A result made here belongs to no run and is not logged.
    ActionResult(vlUInt64 status, std::string message);
    /// @{
    /// Status and message of the action. The text is valid as long as the result or a copy of it.
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

/// Something that can be run. Not thread-safe.
class VELMO_HOST_EXPORT BaseAction {
  public:
    virtual ~BaseAction();
    BaseAction(BaseAction const&) = delete;
    BaseAction& operator=(BaseAction const&) = delete;

    /// Runs the action and returns when it has ended. An error is returned with its text, and logged if the
    /// caller ignores it. Exceptions of the action are passed on.
    [[nodiscard]] ActionResult run(eSynchroType synchroType);

  protected:
    BaseAction() = default;
    /// Result of the last run; empty before the first run and after a run that threw.
    std::optional<ActionResult> const& getLastResult() const { return _lastResult; }
    /// Resets the last result.
    void forgetLastResult() { _lastResult.reset(); }
    /// Name in messages.
    virtual std::string getProcessorName() const = 0;

  private:
    virtual BoolResult runDerived() = 0;

    std::optional<ActionResult> _lastResult;
};

/// An action with attributes. Call `init`, then `set` for each attribute, then `run`.
class VELMO_HOST_EXPORT BaseProcessor : public BaseAction {
  public:
    /// Resets all attributes and the last result. Required before `set`.
    BoolResult init(eProcessorRulePolicy rulePolicy);
    /// Applies to all later runs. By default a run uses only the calling thread.
    void restrictDispatchPolicy(ProcessorDispatchPolicy const& policy) { _policy = policy; }

  protected:
    /// The current policy.
    ProcessorDispatchPolicy const& getDispatchPolicy() const { return _policy; }
    /// Throws VELMOBaseProcessingException before `init`.
    void requireInit(std::string const& attribute) const;
    /// Throws VELMOBaseProcessingException: a required attribute has no value.
    [[noreturn]] void raiseValueMissing(std::string const& attribute) const;
    /// Throws VELMOBaseProcessingException with the text of the error unless the last run succeeded.
    void requireResult(std::string const& attribute) const;

  private:
    virtual void resetAttributes() = 0;

    bool _bInit = false;
    ProcessorDispatchPolicy _policy;
};

} // namespace velmo::processor
