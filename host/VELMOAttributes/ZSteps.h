// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOBaseData/DataItem.h"
#include "VELMOSerialization/CopyableObject.h"

#include <boost/shared_ptr.hpp>

namespace velmo::imaproc::attr {

/// The steps between the planes of a custom Z stack, in the order of the planes: one for each two neighbours.
class VELMO_HOST_EXPORT ZSteps : public CopyableObject<ZSteps, BaseDataItemNode> {
  public:
    /// The name under which archives and the object factory know the class.
    static std::string const& getTypeName();

    /// @{
    /// Owned by the object. Any value is kept; who resamples asks for positive ones.
    std::vector<float> const& getSteps() const { return _steps.getValues(); }
    std::vector<float>& accessSteps() { return _steps.accessValues(); }
    /// @}

    /// @{
    /// Their number, then each, in the order of the planes.
    BoolResult write(BaseOArchive& archive) const override;
    BoolResult read(BaseIArchive& archive) override;
    /// @}

  private:
    DataItemLeafColl<float> _steps;
};

/// @{
/// Shared steps; the second form does not change them.
using ZStepsPtr = boost::shared_ptr<ZSteps>;
using ZStepsConstPtr = boost::shared_ptr<ZSteps const>;
/// @}

} // namespace velmo::imaproc::attr
