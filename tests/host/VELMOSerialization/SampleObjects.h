// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include <VELMOSerialization/BaseArchive.h>
#include <VELMOSerialization/CopyableObject.h>

#include <string>
#include <vector>

namespace velmo::test {

/// One item of each kind and an object, which may be another record.
class Record : public CopyableObject<Record, BaseSerializationObject> {
  public:
    static std::string const& getTypeName();
    BoolResult write(BaseOArchive& archive) const override;
    BoolResult read(BaseIArchive& archive) override;

    int number = 0;
    unsigned int count = 0;
    unsigned long size = 0;
    float ratio = 0;
    std::string text;
    DynamicObjectPtr pChild;
};

/// An object that holds the next one and nothing else.
class Chain : public CopyableObject<Chain, BaseSerializationObject> {
  public:
    static std::string const& getTypeName();
    BoolResult write(BaseOArchive& archive) const override;
    BoolResult read(BaseIArchive& archive) override;

    DynamicObjectPtr pNext;
};

/// Neither writes nor reads: both fail with "not today".
class Refusing : public CopyableObject<Refusing, BaseSerializationObject> {
  public:
    static std::string const& getTypeName();
    BoolResult write(BaseOArchive& archive) const override;
    BoolResult read(BaseIArchive& archive) override;
};

/// Known to the factory; no archive can hold it.
class NoArchiveObject : public CopyableObject<NoArchiveObject, BaseDynamicObject> {
  public:
    static std::string const& getTypeName();
};

/// A record, with values in all its items, that holds a second one, which holds nothing.
boost::shared_ptr<Record> makeNestedRecord();
void expectNestedRecord(DynamicObjectPtr const& pObject);

/// Floats whose bits are easily lost: signed zeros, infinities, NaNs, the least and the greatest.
std::vector<float> getHardFloats();
unsigned int bitsOf(float value);
float floatOf(unsigned int bits);

} // namespace velmo::test
