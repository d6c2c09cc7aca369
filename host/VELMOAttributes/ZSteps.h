// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOBaseData/DataItem.h"
#include "VELMOSerialization/CopyableObject.h"

#include <boost/shared_ptr.hpp>

namespace velmo::imaproc::attr {

/// The steps between the planes of a custom Z stack, in the order of planes: one fewer than planes.
class VELMO_HOST_EXPORT ZSteps : public CopyableObject<ZSteps, BaseDataItemNode> {
  public:
    /// Name of the class in archives and in the object factory.
    static std::string const& getTypeName();

    /// @{
    /// The steps; the object owns them. Values are not checked here.
    std::vector<float> const& getSteps() const { return _steps.getValues(); }
    std::vector<float>& accessSteps() { return _steps.accessValues(); }
    /// @}

    /// @{
    /// Store and restore the number of steps and each step, in the order of planes.
    BoolResult write(BaseOArchive& archive) const override;
    BoolResult read(BaseIArchive& archive) override;
    /// @}

  private:
    DataItemLeafColl<float> _steps;
};

/// @{
/// Shared steps; the second form is read-only.
using ZStepsPtr = boost::shared_ptr<ZSteps>;
using ZStepsConstPtr = boost::shared_ptr<ZSteps const>;
/// @}

} // namespace velmo::imaproc::attr
