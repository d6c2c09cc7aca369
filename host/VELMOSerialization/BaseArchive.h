// SPDX-FileCopyrightText: The VELMOImageFile authors
// SPDX-License-Identifier: Apache-2.0

#pragma once

#include "VELMOSerialization/BaseDynamicObject.h"
#include "VELMOUtil/Export.h"
#include "VELMOUtil/Types.h"

#include <map>
#include <string>

namespace velmo {

/// What both directions share: the class versions met so far, and how deep the sections are nested.
class VELMO_HOST_EXPORT BaseArchive {
  public:
    virtual ~BaseArchive();
    BaseArchive(BaseArchive const&) = delete;
    BaseArchive& operator=(BaseArchive const&) = delete;

    /// Whether the archive is text, in which an enumeration is its enumerator's name and not a number.
    virtual bool isTextual() const { return false; }

    /// A class's version stands once in each archive; these remember which were written or read.
    bool isClassVersionRegistred(std::string const& className) const;
    /// 0 for a class that is not registered.
    unsigned int getRegisterClassVersion(std::string const& className) const;
    /// A second version of a class replaces the first.
    void registerClassVersion(std::string const& className, unsigned int version);

    /// Opened and closed by ArchiveSectionManager. Throws VELMOSerializationException past 64 levels, which
    /// no object of the framework needs and a damaged archive could ask for.
    void openSection(std::string const& sectionName);
    /// The one that was opened last.
    void closeSection();

  protected:
    BaseArchive() = default;

  private:
    virtual void openSectionDerived(std::string const& sectionName) = 0;
    virtual void closeSectionDerived() = 0;

    std::map<std::string, unsigned int> _classVersions;
    unsigned int _depth = 0;
};

/// A named section for as long as it lives.
class ArchiveSectionManager {
  public:
    /// Opens the section; its destructor closes it.
    ArchiveSectionManager(BaseArchive& archive, std::string const& sectionName) : _archive(archive) {
        _archive.openSection(sectionName);
    }
    ~ArchiveSectionManager() { _archive.closeSection(); }
    ArchiveSectionManager(ArchiveSectionManager const&) = delete;
    ArchiveSectionManager& operator=(ArchiveSectionManager const&) = delete;

  private:
    BaseArchive& _archive;
};

/// A field's name and the value to write; refers to the value and does not own it.
template <class T>
class SerializationOItem {
  public:
    /// `pValue` must outlive the item.
    SerializationOItem(std::string name, T const* pValue) : _name(std::move(name)), _pValue(pValue) {}
    /// @{
    /// What the item was made of.
    std::string const& getName() const { return _name; }
    T const& getValue() const { return *_pValue; }
    /// @}

  private:
    std::string _name;
    T const* _pValue;
};

/// A field's name and where to read it to.
template <class T>
class SerializationIItem {
  public:
    /// `pValue` must outlive the item.
    SerializationIItem(std::string name, T* pValue) : _name(std::move(name)), _pValue(pValue) {}
    /// @{
    /// What the item was made of.
    std::string const& getName() const { return _name; }
    T& getValue() const { return *_pValue; }
    /// @}

  private:
    std::string _name;
    T* _pValue;
};

/// An item to write: `archive << oItem("name", value)`.
template <class T>
SerializationOItem<T> oItem(std::string name, T const& value) {
    return SerializationOItem<T>(std::move(name), &value);
}

/// An item to read: `archive >> iItem("name", value)`.
template <class T>
SerializationIItem<T> iItem(std::string name, T& value) {
    return SerializationIItem<T>(std::move(name), &value);
}

/// An archive that is written. A failing stream is thrown as VELMOSerializationException.
class VELMO_HOST_EXPORT BaseOArchive : public BaseArchive {
  public:
    /// @{
    /// Writes one value. An archive of bytes keeps no name; one of text does.
    virtual void writeItem(std::string const& name, int value) = 0;
    virtual void writeItem(std::string const& name, unsigned int value) = 0;
    virtual void writeItem(std::string const& name, unsigned long value) = 0;
    virtual void writeItem(std::string const& name, float value) = 0;
    virtual void writeItem(std::string const& name, std::string const& value) = 0;
    /// @}

    /// The object with its class name; a null pointer is kept as such. Throws VELMOSerializationException for
    /// an object that is no BaseSerializationObject or whose `write` fails.
    virtual void writeObject(std::string const& name,
                             boost::shared_ptr<BaseDynamicObject const> const& pObject);
};

/// An archive that is read. Every failure is thrown as VELMOSerializationException: a stream that ends too
/// early, a length greater than what is left, an item that is no value of its type.
class VELMO_HOST_EXPORT BaseIArchive : public BaseArchive {
  public:
    /// @{
    /// Reads the next value, which must have been written as that type; an archive of text compares the
    /// name. A failure leaves `value` as it was.
    virtual void readItem(std::string const& name, int& value) = 0;
    virtual void readItem(std::string const& name, unsigned int& value) = 0;
    virtual void readItem(std::string const& name, unsigned long& value) = 0;
    virtual void readItem(std::string const& name, float& value) = 0;
    virtual void readItem(std::string const& name, std::string& value) = 0;
    /// @}

    /// A new object of the stored class, read from the archive; null where a null pointer was written. Throws
    /// for a class that the factory does not know, and for an object that refuses what it reads.
    virtual DynamicObjectPtr readObject(std::string const& name);
};

/// Raises VELMOSerializationException: the archive holds an object of another class.
[[noreturn]] VELMO_HOST_EXPORT void raiseUnexpectedClass(std::string const& className,
                                                         std::string const& name);

/// An object of the archive that must be a `T`; may be null.
template <class T>
boost::shared_ptr<T> readObjectOf(BaseIArchive& archive, std::string const& name) {
    DynamicObjectPtr const pObject = archive.readObject(name);
    auto pTyped = boost::dynamic_pointer_cast<T>(pObject);
    if (pObject && !pTyped) {
        raiseUnexpectedClass(pObject->getClassName(), name);
    }
    return pTyped;
}

/// @{
/// Writes the item and returns the archive.
inline BaseOArchive& operator<<(BaseOArchive& archive, SerializationOItem<int> const& item) {
    archive.writeItem(item.getName(), item.getValue());
    return archive;
}
inline BaseOArchive& operator<<(BaseOArchive& archive, SerializationOItem<unsigned int> const& item) {
    archive.writeItem(item.getName(), item.getValue());
    return archive;
}
inline BaseOArchive& operator<<(BaseOArchive& archive, SerializationOItem<unsigned long> const& item) {
    archive.writeItem(item.getName(), item.getValue());
    return archive;
}
inline BaseOArchive& operator<<(BaseOArchive& archive, SerializationOItem<float> const& item) {
    archive.writeItem(item.getName(), item.getValue());
    return archive;
}
inline BaseOArchive& operator<<(BaseOArchive& archive, SerializationOItem<std::string> const& item) {
    archive.writeItem(item.getName(), item.getValue());
    return archive;
}
/// @}

/// @{
/// Reads the item, which must be the next one, and returns the archive.
inline BaseIArchive& operator>>(BaseIArchive& archive, SerializationIItem<int> const& item) {
    archive.readItem(item.getName(), item.getValue());
    return archive;
}
inline BaseIArchive& operator>>(BaseIArchive& archive, SerializationIItem<unsigned int> const& item) {
    archive.readItem(item.getName(), item.getValue());
    return archive;
}
inline BaseIArchive& operator>>(BaseIArchive& archive, SerializationIItem<unsigned long> const& item) {
    archive.readItem(item.getName(), item.getValue());
    return archive;
}
inline BaseIArchive& operator>>(BaseIArchive& archive, SerializationIItem<float> const& item) {
    archive.readItem(item.getName(), item.getValue());
    return archive;
}
inline BaseIArchive& operator>>(BaseIArchive& archive, SerializationIItem<std::string> const& item) {
    archive.readItem(item.getName(), item.getValue());
    return archive;
}
/// @}

} // namespace velmo
