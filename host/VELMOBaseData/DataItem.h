// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOSerialization/BaseArchive.h"
#include "VELMOSerialization/BaseSerializationObject.h"

#include <vector>

namespace velmo {

/// A value of one or more items that a processor takes and an archive carries.
class VELMO_HOST_EXPORT BaseDataItemNode : public BaseSerializationObject {};

/// Values of one type, in their order; in an archive their number and then each.
template <class T>
class DataItemLeafColl {
  public:
    /// @{
    /// Owned by the object.
    std::vector<T> const& getValues() const { return _values; }
    std::vector<T>& accessValues() { return _values; }
    /// @}

    /// Their number, then each. A failing stream is thrown as VELMOSerializationException.
    void write(BaseOArchive& archive) const {
        archive << oItem("nbValues", vlUInt64{_values.size()});
        for (T const& value : _values) {
            archive << oItem("value", value);
        }
    }

    /// Throws VELMOSerializationException, and changes nothing, where the archive holds fewer.
    void read(BaseIArchive& archive) {
        vlUInt64 nbValues = 0;
        archive >> iItem("nbValues", nbValues);
        std::vector<T> values;
        for (vlUInt64 index = 0; index < nbValues; ++index) {
            T value = {};
            archive >> iItem("value", value);
            values.push_back(value);
        }
        _values = std::move(values);
    }

  private:
    std::vector<T> _values;
};

} // namespace velmo
