// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOBaseProcessing/ProcessorDispatchPolicy.h"
#include "VELMOUtil/BoolResult.h"

#include <string>

namespace velmo {
namespace processor {

/// How a run is waited for.
enum eSynchroType : vlUInt64 { eST_Synchronous = 0 };

/// How the rules of attributes are applied.
enum eProcessorRulePolicy : vlUInt64 { ePRP_Strict = 0 };

/// How a run ended: status 0 for success, else a message.
class ActionResult {
  public:
    /// Success has status 0 and no message.
    ActionResult(vlUInt64 status, std::string message) : _status(status), _message(std::move(message)) {}
    /// @{
    /// As the action returned them.
    vlUInt64 getStatus() const { return _status; }
    std::string const& getMessage() const { return _message; }
    /// @}

  private:
    vlUInt64 _status;
    std::string _message;
};

/// Something that can be run. For one thread at a time.
class VELMO_HOST_EXPORT BaseAction {
  public:
    virtual ~BaseAction();
    BaseAction(BaseAction const&) = delete;
    BaseAction& operator=(BaseAction const&) = delete;

    /// Returns when the action has ended. A failure is returned with its text; what the action throws comes
    /// out here.
    ActionResult run(eSynchroType synchroType);

  protected:
    BaseAction() = default;

  private:
    virtual BoolResult runDerived() = 0;
};

/// An action with attributes. `init`, then the attributes' `set`, then `run`.
class VELMO_HOST_EXPORT BaseProcessor : public BaseAction {
  public:
    /// Forgets all attributes and makes the processor accept values.
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

  private:
    virtual std::string getProcessorName() const = 0;
    virtual void resetAttributes() = 0;

    bool _bInit = false;
    ProcessorDispatchPolicy _policy;
};

} // namespace processor
} // namespace velmo
