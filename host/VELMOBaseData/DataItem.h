// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOSerialization/BaseArchive.h"
#include "VELMOSerialization/BaseSerializationObject.h"

#include <vector>

namespace velmo {

/// Base class of lists of values that processors take as attributes and archives store.
class VELMO_HOST_EXPORT BaseDataItemNode : public BaseSerializationObject {};

/// A list of values of one type.
template <class T>
class DataItemLeafColl {
  public:
    /// @{
    /// The values; the object owns them.
    std::vector<T> const& getValues() const { return _values; }
    std::vector<T>& accessValues() { return _values; }
    /// @}

    /// Writes the number of values, then each value. Throws VELMOSerializationException if the stream fails.
    void write(BaseOArchive& archive) const {
        archive << oItem("nbValues", vlUInt64{_values.size()});
        for (T const& value : _values) {
            archive << oItem("value", value);
        }
    }

    /// Throws VELMOSerializationException if the archive ends early; the values are then unchanged.
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
